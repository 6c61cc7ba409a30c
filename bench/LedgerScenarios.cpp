#include "bench/LedgerScenarios.h"

namespace bench {

namespace {

constexpr uint16_t handle = 3;

void drainMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    }
}

/// Those exports that have an alias with the same arguments, under the plain names or under the aliases'.
class AliasedExports {
  public:
    AliasedExports(const BenchLibrary &library, const std::string &suffix) {
#define EXPORT(name) name##Function = library.get<decltype(name)>((#name + suffix).c_str())
        EXPORT(KalRegisterApp);
        EXPORT(KalUnregisterApp);
        EXPORT(KalOpen);
        EXPORT(KalClose);
        EXPORT(KalStartDoc);
        EXPORT(KalWrite);
        EXPORT(KalEndDoc);
        EXPORT(KalEnumPrinters);
        EXPORT(KalEnumSpecificPort);
        EXPORT(KalEnumByUNC);
        EXPORT(KalCaptureAlerts);
        EXPORT(KalReleaseAlerts);
        EXPORT(KalQueryAlerts);
        EXPORT(KalSendBidi);
#undef EXPORT
    }

    void open() const {
        KalOpenFunction(0, handle, 0);
    }
    void close() const {
        KalCloseFunction(0, handle);
    }
    void startDoc() const {
        KalStartDocFunction(handle, 0, "document");
    }
    void endDoc() const {
        KalEndDocFunction(handle, 0);
    }
    void write() const {
        static const char data[4096] = {};
        uint32_t count = sizeof data;
        KalWriteFunction(0, handle, 0, data, &count);
    }
    void enumPrinters() const {
        KalEnumPrintersFunction(0, NETTYPEUSB, nullptr);
    }
    void enumSpecificPort() const {
        KalEnumSpecificPortFunction(0, 0xFFF, "USB001", nullptr);
    }
    void enumByUNC() const {
        KalEnumByUNCFunction(0, 0xFFF, "USB001", nullptr);
    }
    void capture(HWND window) const {
        const uint32_t mask = 1;
        KalCaptureAlertsFunction(0, handle, &mask, window);
    }
    void release() const {
        KalReleaseAlertsFunction(0, handle);
    }
    void queryAlerts() const {
        uint8_t buffer[64];
        uint16_t size = sizeof buffer;
        KalQueryAlertsFunction(0, 0, 0, 0, buffer, &size);
    }
    void sendBidi() const {
        uint8_t response[64];
        uint32_t size = sizeof response;
        KalSendBidiFunction(0, handle, 0, 1, response, &size, nullptr, 0);
    }
    void registerApp() const {
        KalRegisterAppFunction(0);
    }
    void unregisterApp() const {
        KalUnregisterAppFunction(0);
    }

  private:
    decltype(KalRegisterApp) *KalRegisterAppFunction;
    decltype(KalUnregisterApp) *KalUnregisterAppFunction;
    decltype(KalOpen) *KalOpenFunction;
    decltype(KalClose) *KalCloseFunction;
    decltype(KalStartDoc) *KalStartDocFunction;
    decltype(KalWrite) *KalWriteFunction;
    decltype(KalEndDoc) *KalEndDocFunction;
    decltype(KalEnumPrinters) *KalEnumPrintersFunction;
    decltype(KalEnumSpecificPort) *KalEnumSpecificPortFunction;
    decltype(KalEnumByUNC) *KalEnumByUNCFunction;
    decltype(KalCaptureAlerts) *KalCaptureAlertsFunction;
    decltype(KalReleaseAlerts) *KalReleaseAlertsFunction;
    decltype(KalQueryAlerts) *KalQueryAlertsFunction;
    decltype(KalSendBidi) *KalSendBidiFunction;
};

void deliverAlert() {
    // From offset 10 on an extended alert of type 2 (warnings).
    static const uint8_t alert[24] = {0xA5, 0, 21, 0, 0xF0, 0x73, 0, 0, 0, 0, 2};
    BenchLibrary::alertCallback()(handle, alert, sizeof alert);
}

void addAliased(std::vector<Scenario> &all, const BenchLibrary &library, const std::string &suffix, HWND window) {
    const AliasedExports plain(library, "");
    const AliasedExports called(library, suffix);
    const auto open = [=] { plain.open(); };
    const auto close = [=] { plain.close(); };
    const auto named = [&](const char *name, const char *circumstances = "") { return name + suffix + circumstances; };
    const std::vector<Scenario> scenarios = {
        {named("KalOpen", ", first of the process"), [=] { called.open(); }, [] {}, close},
        {named("KalOpen", ", again"), [=] { called.open(); }, open, [=] { plain.close(), plain.close(); }},
        {named("KalClose", ", last"), [=] { called.close(); }, open},
        {named("KalClose", ", not last"), [=] { called.close(); }, [=] { plain.open(), plain.open(); }, close},
        {named("KalClose", ", unknown handle"), [=] { called.close(); }},
        {named("KalStartDoc"), [=] { called.startDoc(); }, open, close},
        {named("KalWrite"), [=] { called.write(); }, open, close},
        {named("KalEndDoc"), [=] { called.endDoc(); }, open, close},
        {named("KalEnumPrinters", ", one printer"), [=] { called.enumPrinters(); }, open, close},
        {named("KalEnumSpecificPort"), [=] { called.enumSpecificPort(); }, open, close},
        {named("KalEnumByUNC"), [=] { called.enumByUNC(); }, open, close},
        {named("KalCaptureAlerts"), [=] { called.capture(window); }, open, [=] { plain.release(), plain.close(); }},
        {named("KalReleaseAlerts"), [=] { called.release(); },
         [=] { plain.open(), plain.open(), plain.capture(window); }, close},
        {named("KalQueryAlerts"), [=] { called.queryAlerts(); },
         [=] { plain.open(), plain.capture(window), deliverAlert(); },
         [=] { plain.release(), plain.close(), drainMessages(); }},
        {named("KalSendBidi"), [=] { called.sendBidi(); }, open, close},
        {named("KalSendBidi", ", nothing open"), [=] { called.sendBidi(); }},
        {named("KalRegisterApp", ", not first"), [=] { called.registerApp(); }, [] {}, [=] { plain.unregisterApp(); }},
        {named("KalUnregisterApp", ", not last"), [=] { called.unregisterApp(); }, [=] { plain.registerApp(); }},
    };
    all.insert(all.end(), scenarios.begin(), scenarios.end());
}

void addPlain(std::vector<Scenario> &all, const BenchLibrary &library, HWND window) {
#define EXPORT(name) auto *const name##Function = library.get<decltype(name)>(#name)
    EXPORT(KalWriteOverlapped);
    EXPORT(KalCancelJob);
    EXPORT(KalSetEndOfJobMode);
    EXPORT(KalSetJobCancelMode);
    EXPORT(KalSetJobControlMode);
    EXPORT(KalSetJobStringPrinter);
    EXPORT(KalGetCache);
    EXPORT(KalQueryPrinterStatus);
    EXPORT(KalSetClientName);
    EXPORT(KalRegisterWithRpcServer);
    EXPORT(KalPrepareRhoaForUninstall);
    EXPORT(Initialize);
    EXPORT(Uninitialize);
#undef EXPORT
    const AliasedExports plain(library, "");
    const auto open = [=] { plain.open(); };
    const auto close = [=] { plain.close(); };
    const auto notify = [=] { KalSetJobControlModeFunction(0, handle, 2); };
    const auto stopNotifying = [=] { KalSetJobControlModeFunction(0, handle, 1); };
    const std::vector<Scenario> scenarios = {
        {"KalWriteOverlapped",
         [=] {
             static const char data[4096] = {};
             uint32_t count = sizeof data;
             KalWriteOverlappedFunction(0, handle, 0, data, &count, 0);
         },
         open, close},
        {"KalCancelJob", [=] { KalCancelJobFunction(0, handle); }, open, close},
        {"KalSetEndOfJobMode", [=] { KalSetEndOfJobModeFunction(0, handle, 0, 0, 5); }, open, close},
        {"KalSetJobCancelMode", [=] { KalSetJobCancelModeFunction(0, handle, 1); }, open, close},
        {"KalSetJobControlMode, start", notify, open, [=] { stopNotifying(), plain.close(); }},
        {"KalSetJobControlMode, stop", stopNotifying, [=] { plain.open(), notify(); }, close},
        {"KalSetJobStringPrinter", [=] { KalSetJobStringPrinterFunction(0, handle, "key", "value"); }, open, close},
        {"KalGetCache",
         [=] {
             uint8_t buffer[64];
             uint32_t length = 0;
             KalGetCacheFunction(0, handle, buffer, sizeof buffer, &length);
         },
         open, close},
        {"KalQueryPrinterStatus",
         [=] {
             KalPrinterStatusRecord record;
             uint32_t needed = 0;
             KalQueryPrinterStatusFunction(0, handle, 0, &record, sizeof record, &needed);
         },
         open, close},
        {"KalSetClientName", [=] { KalSetClientNameFunction("name"); }},
        {"KalRegisterApp, first", [=] { plain.registerApp(); }, [=] { plain.unregisterApp(); }},
        {"KalUnregisterApp, last", [=] { plain.unregisterApp(); }, [] {}, [=] { plain.registerApp(); }},
        {"KalRegisterWithRpcServer, not first", [=] { KalRegisterWithRpcServerFunction(""); }, [] {},
         [=] { plain.unregisterApp(); }},
        {"KalRegisterWithRpcServer, first", [=] { KalRegisterWithRpcServerFunction(""); },
         [=] { plain.unregisterApp(); }},
        {"KalPrepareRhoaForUninstall", [=] { KalPrepareRhoaForUninstallFunction(); }},
        {"Initialize", [=] { InitializeFunction(); }},
        {"Uninitialize", [=] { UninitializeFunction(); }},
        {"alert to message, its id come round again", deliverAlert,
         [=] {
             plain.capture(window);
             InitializeFunction();
             deliverAlert();
             InitializeFunction();
         },
         [=] { plain.release(), drainMessages(); }},
        {"notification to message",
         [] { BenchLibrary::notificationCallback()(handle, 1, 1, nullptr, nullptr, nullptr); },
         [=] { plain.capture(window), notify(); }, [=] { plain.release(), drainMessages(); }},
    };
    all.insert(all.end(), scenarios.begin(), scenarios.end());
}

/// The exports that read no argument.
void addUnread(std::vector<Scenario> &all, const BenchLibrary &library) {
#define LEGACY_ALIAS(type, exportName, tracedName, parameters, plainExport, arguments)
#define LEGACY_UNREAD(exportName)                                                                                      \
    all.push_back({#exportName, [function = library.get<int32_t()>(#exportName)] { function(); }});
#define LEGACY_UNSUPPORTED(exportName, tracedName) LEGACY_UNREAD(exportName)
#define LEGACY_FIXED(exportName, parameters, tracedResult, answer) LEGACY_UNREAD(exportName)
#define LEGACY_UNREAD_ALIAS(exportName, tracedName, plainExport) LEGACY_UNREAD(exportName)
#include "api/LegacyExports.inc"
#undef LEGACY_UNSUPPORTED
#undef LEGACY_FIXED
#undef LEGACY_ALIAS
#undef LEGACY_UNREAD_ALIAS
#undef LEGACY_UNREAD
}

} // namespace

std::vector<Scenario> ledgerScenarios(const BenchLibrary &library, HWND window) {
    std::vector<Scenario> all;
    addAliased(all, library, "", window);
    addAliased(all, library, "LM", window);
    addPlain(all, library, window);
    addUnread(all, library);
    return all;
}

} // namespace bench
