#include "tools/printers/Session.h"

#include "tools/text/ResultNames.h"
#include "tools/text/Text.h"

namespace tool {

void require(std::string_view operation, int32_t result) {
    if (result != KAL_OKAY) {
        throw CommandFailure(std::string(operation) + " answered " + describeResult(result));
    }
}

Registration::Registration(const std::string &server) {
    constexpr int32_t registered = 1;
    if (server.empty()) {
        KalRegisterApp(0);
    } else if (const int32_t result = KalRegisterWithRpcServer(toNarrow(server).c_str()); result != registered) {
        throw CommandFailure("KalRegisterWithRpcServer(" + server + ") answered " + describeResult(result));
    }
}

OpenPrinter::OpenPrinter(uint16_t handle) : handle_(handle) {
    require("KalOpen", KalOpen(0, handle, 0));
}

Capture::Capture(uint16_t handle, uint32_t alertMask, HWND window) : handle_(handle) {
    constexpr uint32_t startNotifications = 2;
    require("KalCaptureAlerts", KalCaptureAlerts(0, handle, &alertMask, window));
    if (const int32_t result = KalSetJobControlMode(0, handle, startNotifications); result != KAL_OKAY) {
        KalReleaseAlerts(0, handle);
        require("KalSetJobControlMode", result);
    }
}

} // namespace tool
