// A process whose last unregistration comes under the loader lock while a callback is inside.
//
//   detaching_client end    the process ends; unregistering.dll says by the exit code how long the unregistration took
//   detaching_client free   unregistering.dll is freed while the callback waits for the loader lock; exits with 0 when
//                           the unregistration gave up, the callback came to its end and a registration works again
#include "api/kal.h"
#include "tests/process/DetachReport.h"
#include "tests/support/RecordedService.h"

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <thread>

using namespace kal::test;

namespace {

using AlertCallback = uint32_t(uint32_t handle, const uint8_t *alert, uint32_t length);

constexpr uint8_t powerOnReset[12] = {0xA5, 0, 0, 0, 0xFF, 1};
constexpr uint16_t handle = 5;

HANDLE makeEvent() {
    return CreateEventA(nullptr, TRUE, FALSE, nullptr);
}

DetachReport report = {makeEvent(), 0};
const HANDLE isInside = makeEvent();

uint32_t readWhileUnregistering(const ServiceCall &call) {
    SetEvent(isInside);
    WaitForSingleObject(report.begins, INFINITE);
    LoadLibraryA("version.dll"); // waits for the loader lock
    std::strcpy(call.pointer<char>(3), "CpdPrinter");
    return 0;
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount < 2)
        return 100;
    auto &service = *new RecordedService; // outlives the end of the process
    service.does("OrxGetStringPrinter", readWhileUnregistering);
    const HMODULE module = LoadLibraryA("unregistering.dll");
    if (module == nullptr)
        return 101;
    reinterpret_cast<ReportTo *>(reinterpret_cast<void *>(GetProcAddress(module, "reportTo")))(&report);
    KalRegisterApp(0);
    const uint32_t mask = 1;
    if (KalCaptureAlerts(0, handle, &mask, nullptr) != KAL_OKAY)
        return 102;
    auto *const alert = service.lastCall("OrxRegisterForAlertsPrinter").callback<AlertCallback>(3);
    uint32_t answer = 7;
    std::thread printer([&] { answer = alert(handle, powerOnReset, sizeof powerOnReset); });
    WaitForSingleObject(isInside, INFINITE);
    if (std::string_view(arguments[1]) == "end")
        ExitProcess(0); // ends the printer's thread, and then unregisters
    FreeLibrary(module);
    printer.join();
    if (answer != 0 || report.milliseconds < atOnce)
        return 103;
    KalRegisterApp(0);
    const bool works = KalOpen(0, handle, 0) == KAL_OKAY;
    KalUnregisterApp(0);
    return works ? 0 : 104;
}
