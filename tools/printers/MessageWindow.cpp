#include "tools/printers/MessageWindow.h"

#include "tools/Invocation.h"
#include "tools/text/Text.h"

#include <algorithm>

namespace tool {

MessageWindow::MessageWindow()
    : window_(CreateWindowExA(0, "STATIC", "kal", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, GetModuleHandleA(nullptr),
                              nullptr)) {
    if (window_ == nullptr) {
        // Without an error code, the desktop is missing: it exists only while the session has windows.
        const DWORD code = GetLastError();
        throw CommandFailure(
            "no window for messages can be made: " +
            (code == ERROR_SUCCESS ? "this session has no desktop yet, try again" : systemErrorText(code)));
    }
}

std::optional<MSG> MessageWindow::next(Clock::time_point deadline, HANDLE stop) {
    for (;;) {
        MSG message;
        // Only messages of this window; other messages of the thread are not removed.
        if (PeekMessageA(&message, window_, 0, 0, PM_REMOVE)) {
            return message;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            return std::nullopt;
        }
        // At most a second, so that a wait of days does not overflow and a lost wake-up does little harm.
        const auto slice = static_cast<DWORD>(std::min<long long>(left, 1000));
        const DWORD woken = MsgWaitForMultipleObjectsEx(1, &stop, slice, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (woken == WAIT_OBJECT_0) {
            return std::nullopt;
        }
        // With MWMO_INPUTAVAILABLE, waiting messages of other windows would end each wait at once; dispatch them.
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.hwnd == window_) {
                return message;
            }
            DispatchMessageA(&message);
        }
    }
}

} // namespace tool
