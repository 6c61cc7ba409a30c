// std::thread of the test programs as a thread of Windows: one that Linux's library starts by itself has none of what
// Windows keeps for a thread, and its first call of Windows would end the program. These two members take the place of
// the library's own.

#include <windows.h>

#include <memory>
#include <system_error>
#include <thread>

namespace {

DWORD WINAPI runThread(void *argument) {
    const std::unique_ptr<std::thread::_State> state(static_cast<std::thread::_State *>(argument));
    state->_M_run();
    return 0;
}

} // namespace

void std::thread::_M_start_thread(_State_ptr state, void (*)()) {
    HANDLE const handle = CreateThread(nullptr, 0, runThread, state.get(), 0, nullptr);
    if (handle == nullptr) {
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
    static_cast<void>(state.release());
    _M_id = id(reinterpret_cast<native_handle_type>(handle));
}

void std::thread::join() {
    HANDLE const handle = reinterpret_cast<HANDLE>(_M_id._M_thread);
    WaitForSingleObject(handle, INFINITE);
    CloseHandle(handle);
    _M_id = id();
}
