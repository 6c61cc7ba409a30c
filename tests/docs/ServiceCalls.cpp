#include "tests/docs/ServiceCalls.h"

#include "api/kal.h"

namespace kal::test {

namespace {

constexpr uint16_t handle = 5;

void ignorePrinter(const PortInfoRecord *) {}

} // namespace

std::vector<ServiceCallOfExport> serviceCalls(const StagedLibrary &library) {
#define EXPORT(name) library.function<decltype(name)>(#name)
    const auto open = [function = EXPORT(KalOpen)] { function(0, handle, 0); };
    const auto capture = [function = EXPORT(KalCaptureAlerts)] {
        const uint32_t mask = 1;
        return function(0, handle, &mask, nullptr);
    };
    const auto control = [function = EXPORT(KalSetJobControlMode)](uint32_t mode) {
        return [=] { return function(0, handle, mode); };
    };
    const auto startNotifications = control(2);
    const auto write = [function = EXPORT(KalWrite)] {
        uint32_t count = 1;
        return function(0, handle, 0, "x", &count);
    };
    const auto writeOverlapped = [function = EXPORT(KalWriteOverlapped)] {
        uint32_t count = 1;
        return function(0, handle, 0, "x", &count, 0);
    };
    const auto cache = [function = EXPORT(KalGetCache)] {
        uint8_t block[8] = {};
        uint32_t length = 0;
        return function(0, handle, block, sizeof block, &length);
    };
    const auto status = [function = EXPORT(KalQueryPrinterStatus)] {
        KalPrinterStatusRecord record;
        uint32_t needed = 0;
        return function(0, handle, 0, &record, sizeof record, &needed);
    };
    const auto bidi = [function = EXPORT(KalSendBidi)] {
        uint8_t response[8];
        uint32_t size = sizeof response;
        return function(0, handle, 0, 1, response, &size, nullptr, 0);
    };
    const auto nothing = [] {};
    return {
        {"KalOpen", "", {"OrxOpenPrinter"}, [=, f = EXPORT(KalOpen)] { return f(0, handle, 0); }, nothing},
        {"KalStartDoc", "", {"OrxStartJobPrinter"}, [f = EXPORT(KalStartDoc)] { return f(handle, 0, ""); }, open},
        {"KalEndDoc", "", {"OrxEndJobPrinter"}, [f = EXPORT(KalEndDoc)] { return f(handle, 0); }, open},
        {"KalClose", "", {"OrxClosePrinter"}, [f = EXPORT(KalClose)] { return f(0, handle); }, open},
        {"KalWrite", "", {"OrxWritePrinter"}, write, open},
        {"KalWriteOverlapped", "", {"OrxWritePrinter"}, writeOverlapped, open},
        {"KalCancelJob", "", {"OrxCancelJobPrinter"}, [f = EXPORT(KalCancelJob)] { return f(0, handle); }, open},
        {"KalSetJobCancelMode",
         "",
         {"OrxSetByteArrayPrinter"},
         [f = EXPORT(KalSetJobCancelMode)] { return f(0, handle, 1); },
         nothing},
        {"KalGetCache", "", {"OrxGetCachePrinter"}, cache, nothing},
        {"KalQueryPrinterStatus", "", {"OrxGetCurrentStatePrinter"}, status, nothing},
        {"KalSendBidi", "", {"OrxExchangeBidiPrinter"}, bidi, nothing},
        {"KalSendBidi", "the open", {"OrxOpenPrinter"}, bidi, nothing},
        {"KalCaptureAlerts", "the open", {"OrxOpenPrinter"}, capture, nothing},
        {"KalCaptureAlerts", "the alerts", {"OrxRegisterForAlertsPrinter"}, capture, nothing},
        {"KalReleaseAlerts",
         "the end of alerts and notifications, the close",
         {"OrxUnregisterForAlertsPrinter", "OrxUnregisterForNotificationsPrinter", "OrxClosePrinter"},
         [f = EXPORT(KalReleaseAlerts)] { return f(0, handle); },
         [=] { capture(); }},
        {"KalSetJobControlMode", "the open", {"OrxOpenPrinter"}, startNotifications, nothing},
        {"KalSetJobControlMode", "", {"OrxRegisterForNotificationsPrinter"}, startNotifications, nothing},
        {"KalSetJobControlMode",
         "",
         {"OrxUnregisterForNotificationsPrinter"},
         control(1),
         [=] { startNotifications(); }},
        {"KalSetEndOfJobMode",
         "the time",
         {"OrxSetJobStringPrinter"},
         [f = EXPORT(KalSetEndOfJobMode)] { return f(0, handle, 0, 0, 5); },
         nothing},
        {"KalSetJobStringPrinter",
         "the string",
         {"OrxSetJobStringPrinter"},
         [f = EXPORT(KalSetJobStringPrinter)] { return f(0, handle, "key", "value"); },
         nothing},
        {"KalEnumPrinters",
         "discovery and printers",
         {"OrxDiscovery", "OrxEnumPrinters"},
         [f = EXPORT(KalEnumPrinters)] { return f(0, KAL_DISCOVER_FIRST | NETTYPEUSB, ignorePrinter); },
         nothing},
        {"KalEnumSpecificPort",
         "the printer",
         {"OrxEnumSpecificPrinter"},
         [f = EXPORT(KalEnumSpecificPort)] { return f(0, 0xFFF, "USB001", ignorePrinter); },
         nothing},
    };
#undef EXPORT
}

AnsweringService::AnsweringService() : sleep_(library.module(), [](DWORD) {}) {
    library.function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
    service.stringProperty("Transport", "USB1");
    service.stringProperty("Device", "BpdPrinter");
    service.stringProperty("Portname", "USB001");
}

AnsweringService::~AnsweringService() {
    library.function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
}

int32_t AnsweringService::resultOf(const ServiceCallOfExport &call, uint32_t code) {
    call.before();
    for (const std::string &entryPoint : call.entryPoints)
        service.answers(entryPoint, code);
    const int32_t result = call.call();
    for (const std::string &entryPoint : call.entryPoints)
        service.answers(entryPoint, 0);
    while (library.function<decltype(KalReleaseAlerts)>("KalReleaseAlerts")(0, handle) == KAL_OKAY) {
    }
    while (library.function<decltype(KalClose)>("KalClose")(0, handle) == KAL_OKAY) {
    }
    service.forgetCalls();
    return result;
}

} // namespace kal::test
