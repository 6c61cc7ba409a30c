#include "tools/printers/MessageWindow.h"

#include "tools/Invocation.h"
#include "tools/text/Text.h"

#include <algorithm>

namespace tool {

MessageWindow::MessageWindow()
    : window_(CreateWindowExA(0, "STATIC", "kal", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, GetModuleHandleA(nullptr),
                              nullptr)) {
    if (window_ == nullptr) {
        // Without an error code it is the desktop that is missing: it goes and comes with a session's first window.
        const DWORD code = GetLastError();
        throw CommandFailure(
            "no window for messages can be made: " +
            (code == ERROR_SUCCESS ? "this session has no desktop yet, try again" : systemErrorText(code)));
    }
}

std::optional<MSG> MessageWindow::next(Clock::time_point deadline, HANDLE stop) {
    for (;;) {
        MSG message;
        // The window alone: whatever else the thread gets is not ours to take.
        if (PeekMessageA(&message, window_, 0, 0, PM_REMOVE)) {
            return message;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            return std::nullopt;
        }
        // In slices, so that a wait of days does not overflow and a lost wake-up costs a second.
        const auto slice = static_cast<DWORD>(std::min<long long>(left, 1000));
        const DWORD woken = MsgWaitForMultipleObjectsEx(1, &stop, slice, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (woken == WAIT_OBJECT_0) {
            return std::nullopt;
        }
        // MWMO_INPUTAVAILABLE answers at once while another window's messages wait: let them pass.
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.hwnd == window_) {
                return message;
            }
            DispatchMessageA(&message);
        }
    }
}

} // namespace tool
