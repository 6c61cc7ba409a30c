#include "tests/support/ExportScenarios.h"

#include "api/kal.h"
#include "tests/support/StagedLibrary.h"

#include <set>

namespace kal::test {

namespace {

constexpr uint16_t handle = 3;

std::string text(int64_t number) {
    return std::to_string(number);
}

std::string text(const uint8_t *bytes, size_t count) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string all;
    for (size_t index = 0; index < count; ++index)
        all.append(1, digits[bytes[index] >> 4]).append(1, digits[bytes[index] & 0xF]);
    return all;
}

/// Removes the posted messages from the queue and returns them as text.
std::string takeMessages() {
    std::string all;
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
        if (message.message >= WM_USER)
            all += " message=" + text(message.message) + "/" + text(static_cast<int64_t>(message.wParam)) + "/" +
                   text(message.lParam);
    return all;
}

std::string deliverAlert(const ScenarioSurroundings &surroundings) {
    // The bytes from offset 10 mean an extended alert of type 2 (warnings).
    static const uint8_t alert[24] = {0xA5, 0, 21, 0, 0xF0, 0x73, 0, 0, 0, 0, 2};
    return text(surroundings.alertCallback()(handle, alert, sizeof alert)) + takeMessages();
}

std::string deliverNotification(const ScenarioSurroundings &surroundings, uint32_t notification) {
    const uint32_t endOfJobFlag = 1;
    const uint32_t code = surroundings.notificationCallback()(handle, ORX_NOTIFICATION_CATEGORY_PRINTER, notification,
                                                              &endOfJobFlag, nullptr, nullptr);
    return text(code) + takeMessages();
}

std::string found;

void noteFound(const PortInfoRecord *printer) {
    found += std::string(" found=") + printer->portName + "/" + text(printer->deviceClass);
}

/// Makes the scenarios for the exports of one library.
class Maker {
  public:
    explicit Maker(const ScenarioSurroundings &surroundings) : surroundings_(surroundings) {}

    std::vector<ExportScenario> make() {
        addOpenAndClose();
        addPrintJob();
        addJobModes();
        addEnumeration();
        addAlerts();
        addPrinterStatus();
        addBidi();
        addRegistration();
        addLegacy();
        return std::move(scenarios_);
    }

  private:
    template <class Function>
    Function *get(const char *name) const {
        return exported<Function>(surroundings_.library, name);
    }

    using Step = std::function<void()>;
    using Call = std::function<std::string()>;

    void add(const std::string &name, std::vector<std::string> exports, Call call) {
        scenarios_.push_back({name, std::move(exports), std::move(call)});
    }
    void add(const std::string &name, std::vector<std::string> exports, Call call, Step before, Step after) {
        scenarios_.push_back({name, std::move(exports), std::move(call), std::move(before), std::move(after)});
    }
    /// Adds a scenario with a started job.
    void addStarted(const std::string &name, std::vector<std::string> exports, Call call) {
        add(name, std::move(exports), std::move(call), openAndStart(), tidy());
    }
    /// Adds a scenario with an open printer.
    void addOpened(const std::string &name, std::vector<std::string> exports, Call call) {
        add(name, std::move(exports), std::move(call), open(), tidy());
    }

#define EXPORT(name) (get<decltype(name)>(#name))
    Step open() const {
        return [function = EXPORT(KalOpen)] { function(0, handle, 0); };
    }
    Step openTwice() const {
        return [each = open()] { each(), each(); };
    }
    Step capture() const {
        return [function = EXPORT(KalCaptureAlerts), window = surroundings_.window] {
            const uint32_t mask = 1;
            function(0, handle, &mask, window);
        };
    }
    /// Starting a job also resets the traced byte count.
    Step openAndStart() const {
        return [first = open(), second = EXPORT(KalStartDoc)] {
            first();
            second(handle, 0, "document");
        };
    }
    Step openAndCapture() const {
        return [first = open(), second = capture()] { first(), second(); };
    }
    Step notify() const {
        return [function = EXPORT(KalSetJobControlMode)] { function(0, handle, 2); };
    }
    /// Releases and closes the handle until the library does not know it.
    Step tidy() const {
        return [release = EXPORT(KalReleaseAlerts), close = EXPORT(KalClose)] {
            for (int count = 0; count < 8 && release(0, handle) == KAL_OKAY; ++count) {
            }
            for (int count = 0; count < 8 && close(0, handle) != DEVERR_INVHANDLE; ++count) {
            }
            takeMessages();
        };
    }

    template <class Function>
    static Call callOpen(Function *function) {
        return [=] { return text(function(0, handle, 0)); };
    }
    template <class Function>
    static Call callWithHandle(Function *function) {
        return [=] { return text(function(0, handle)); };
    }

    void addOpenAndClose() {
        add(
            "KalOpen, first of the process", {"KalOpen"}, callOpen(EXPORT(KalOpen)), [] {}, tidy());
        add("KalOpen, again", {"KalOpen"}, callOpen(EXPORT(KalOpen)), open(), tidy());
        add("KalOpenLM", {"KalOpenLM", "KalOpen"}, callOpen(EXPORT(KalOpenLM)), open(), tidy());
        addOpened("KalClose, last", {"KalClose"}, callWithHandle(EXPORT(KalClose)));
        add("KalClose, not last", {"KalClose"}, callWithHandle(EXPORT(KalClose)), openTwice(), tidy());
        add("KalClose of an unknown handle", {"KalClose"}, callWithHandle(EXPORT(KalClose)));
        addOpened("KalCloseLM", {"KalCloseLM", "KalClose"}, callWithHandle(EXPORT(KalCloseLM)));
    }

    template <class Function>
    static Call callStartDoc(Function *function) {
        return [=] { return text(function(handle, 0, "document")); };
    }
    template <class Function, class... Last>
    static Call callWrite(Function *function, Last... last) {
        return [=] {
            static const char data[4096] = {};
            uint32_t count = sizeof data;
            const int32_t result = function(0, handle, 0, data, &count, last...);
            return text(result) + " count=" + text(count);
        };
    }
    template <class Function>
    static Call callEndDoc(Function *function) {
        return [=] { return text(function(handle, 0)); };
    }

    void addPrintJob() {
        addOpened("KalStartDoc", {"KalStartDoc"}, callStartDoc(EXPORT(KalStartDoc)));
        addOpened("KalStartDocLM", {"KalStartDocLM", "KalStartDoc"}, callStartDoc(EXPORT(KalStartDocLM)));
        addOpened("KalStartDoc, a port type that does not fit", {"KalStartDoc"},
                  [function = EXPORT(KalStartDoc)] { return text(function(handle, 3, "document")); });
        addStarted("KalWrite", {"KalWrite"}, callWrite(EXPORT(KalWrite)));
        addStarted("KalWriteLM", {"KalWriteLM", "KalWrite"}, callWrite(EXPORT(KalWriteLM)));
        addStarted("KalWrite without data", {"KalWrite"}, [function = EXPORT(KalWrite)] {
            uint32_t count = 1;
            return text(function(0, handle, 0, nullptr, &count));
        });
        addStarted("KalWriteOverlapped", {"KalWriteOverlapped", "KalWrite"}, callWrite(EXPORT(KalWriteOverlapped), 0u));
        addStarted("KalEndDoc", {"KalEndDoc"}, callEndDoc(EXPORT(KalEndDoc)));
        addStarted("KalEndDocLM", {"KalEndDocLM", "KalEndDoc"}, callEndDoc(EXPORT(KalEndDocLM)));
        addStarted("KalCancelJob", {"KalCancelJob"}, callWithHandle(EXPORT(KalCancelJob)));
    }

    void addJobModes() {
        addOpened("KalSetEndOfJobMode", {"KalSetEndOfJobMode"},
                  [function = EXPORT(KalSetEndOfJobMode)] { return text(function(0, handle, 0, 0, 5)); });
        addOpened("KalSetJobCancelMode", {"KalSetJobCancelMode"},
                  [function = EXPORT(KalSetJobCancelMode)] { return text(function(0, handle, 1)); });
        const auto control = [function = EXPORT(KalSetJobControlMode)](uint32_t mode) -> Call {
            return [=] { return text(function(0, handle, mode)); };
        };
        addOpened("KalSetJobControlMode, start", {"KalSetJobControlMode"}, control(2));
        add(
            "KalSetJobControlMode, stop", {"KalSetJobControlMode"}, control(1),
            [first = open(), second = notify()] { first(), second(); }, tidy());
        addOpened("KalSetJobControlMode, the refused mode", {"KalSetJobControlMode"}, control(128));
        addOpened("KalSetJobStringPrinter", {"KalSetJobStringPrinter"},
                  [function = EXPORT(KalSetJobStringPrinter)] { return text(function(0, handle, "key", "value")); });
    }

    template <class Function, class... Arguments>
    static Call callFinding(Function *function, Arguments... arguments) {
        return [=] {
            found.clear();
            const int32_t result = function(0, arguments..., noteFound);
            return text(result) + found;
        };
    }

    void addEnumeration() {
        constexpr uint32_t discovering = KAL_DISCOVER_FIRST | NETTYPEUSB;
        addOpened("KalEnumPrinters", {"KalEnumPrinters"}, callFinding(EXPORT(KalEnumPrinters), NETTYPEUSB));
        add("KalEnumPrinters, nothing open", {"KalEnumPrinters"}, callFinding(EXPORT(KalEnumPrinters), discovering));
        addOpened("KalEnumPrintersLM", {"KalEnumPrintersLM", "KalEnumPrinters"},
                  callFinding(EXPORT(KalEnumPrintersLM), NETTYPEUSB));
        constexpr uint32_t all = 0xFFF;
        const char *const port = "USB001";
        addOpened("KalEnumSpecificPort", {"KalEnumSpecificPort"}, callFinding(EXPORT(KalEnumSpecificPort), all, port));
        addOpened("KalEnumSpecificPort, no kind wanted", {"KalEnumSpecificPort"},
                  callFinding(EXPORT(KalEnumSpecificPort), 0u, port));
        addOpened("KalEnumSpecificPortLM", {"KalEnumSpecificPortLM", "KalEnumSpecificPort"},
                  callFinding(EXPORT(KalEnumSpecificPortLM), all, port));
        addOpened("KalEnumByUNC", {"KalEnumByUNC", "KalEnumSpecificPort"},
                  callFinding(EXPORT(KalEnumByUNC), all, port));
        addOpened("KalEnumByUNCLM", {"KalEnumByUNCLM", "KalEnumByUNC", "KalEnumSpecificPort"},
                  callFinding(EXPORT(KalEnumByUNCLM), all, port));
        addOpened("KalGetCache", {"KalGetCache"}, [function = EXPORT(KalGetCache)] {
            uint8_t buffer[64] = {};
            uint32_t length = 0;
            const int32_t result = function(0, handle, buffer, sizeof buffer, &length);
            return text(result) + " length=" + text(length);
        });
    }

    template <class Function>
    Call callCapture(Function *function) const {
        return [=, window = surroundings_.window] {
            const uint32_t mask = 1;
            return text(function(0, handle, &mask, window));
        };
    }
    template <class Function>
    static Call callQueryAlerts(Function *function, uint16_t room) {
        return [=] {
            uint8_t buffer[64] = {};
            uint16_t size = room;
            const int32_t result = function(0, 0, 0, 0, buffer, &size);
            return text(result) + " size=" + text(size) + " alert=" + text(buffer, 16);
        };
    }
    void addAlerts() {
        addOpened("KalCaptureAlerts, first of the handle", {"KalCaptureAlerts"}, callCapture(EXPORT(KalCaptureAlerts)));
        add("KalCaptureAlerts, again", {"KalCaptureAlerts"}, callCapture(EXPORT(KalCaptureAlerts)), openAndCapture(),
            tidy());
        addOpened("KalCaptureAlertsLM", {"KalCaptureAlertsLM", "KalCaptureAlerts"},
                  callCapture(EXPORT(KalCaptureAlertsLM)));
        const Step twiceAndCapture = [first = openTwice(), second = capture()] { first(), second(); };
        add("KalReleaseAlerts", {"KalReleaseAlerts"}, callWithHandle(EXPORT(KalReleaseAlerts)), twiceAndCapture,
            tidy());
        add(
            "KalReleaseAlerts, not the last", {"KalReleaseAlerts"}, callWithHandle(EXPORT(KalReleaseAlerts)),
            [first = twiceAndCapture, second = capture()] { first(), second(); }, tidy());
        add("KalReleaseAlertsLM", {"KalReleaseAlertsLM", "KalReleaseAlerts"},
            callWithHandle(EXPORT(KalReleaseAlertsLM)), twiceAndCapture, tidy());
        add("KalReleaseAlerts without a capture", {"KalReleaseAlerts"}, callWithHandle(EXPORT(KalReleaseAlerts)));

        const Step withFirstId = [first = openAndCapture(), second = EXPORT(Initialize)] { first(), second(); };
        const Call alert = [surroundings = surroundings_] { return deliverAlert(surroundings); };
        add("alert to message", {}, alert, withFirstId, tidy());
        const auto notification = [this](uint32_t which) -> Call {
            return [which, surroundings = surroundings_] { return deliverNotification(surroundings, which); };
        };
        const Step notified = [first = openAndCapture(), second = notify()] { first(), second(); };
        add("notification of a state to message", {}, notification(ORX_PRINTER_PRINTING_AND_OKAY), notified, tidy());
        add("notification of the end of a job to message", {}, notification(ORX_NOTIFICATION_TRUE_END_OF_JOB), notified,
            tidy());

        const Step stored = [first = withFirstId, second = alert] { first(), second(); };
        add("KalQueryAlerts", {"KalQueryAlerts"}, callQueryAlerts(EXPORT(KalQueryAlerts), 64), stored, tidy());
        add("KalQueryAlerts, too little room", {"KalQueryAlerts"}, callQueryAlerts(EXPORT(KalQueryAlerts), 3), stored,
            tidy());
        add("KalQueryAlertsLM", {"KalQueryAlertsLM", "KalQueryAlerts"}, callQueryAlerts(EXPORT(KalQueryAlertsLM), 64),
            stored, tidy());
    }

    void addPrinterStatus() {
        addOpened("KalQueryPrinterStatus", {"KalQueryPrinterStatus"}, [function = EXPORT(KalQueryPrinterStatus)] {
            KalPrinterStatusRecord record = {};
            uint32_t needed = 0;
            const int32_t result = function(0, handle, 0, &record, sizeof record, &needed);
            return text(result) + " needed=" + text(needed) + " printing=" + text(record.isPrinting);
        });
    }

    template <class Function>
    static Call callBidi(Function *function) {
        return [=] {
            uint8_t response[64] = {};
            uint32_t size = sizeof response;
            const int32_t result = function(0, handle, 0, 1, response, &size, nullptr, 0);
            return text(result) + " size=" + text(size) + " response=" + text(response, 16);
        };
    }

    void addBidi() {
        addOpened("KalSendBidi", {"KalSendBidi"}, callBidi(EXPORT(KalSendBidi)));
        addOpened("KalSendBidiLM", {"KalSendBidiLM", "KalSendBidi"}, callBidi(EXPORT(KalSendBidiLM)));
        add(
            "KalSendBidi, nothing open", {"KalSendBidi"}, callBidi(EXPORT(KalSendBidi)), [] {}, tidy());
    }

    /// Unregisters until no registration is left, without one call too many, which would wrap the count. It works in
    /// every state: without a registration, unless the last one was refused, an export that opens a trace throws.
    Step unregisterWholly() const {
        return [registerApp = EXPORT(KalRegisterApp), unregister = EXPORT(KalUnregisterApp),
                probe = EXPORT(KalFlushMWOBuffer)] {
            registerApp(0);
            try {
                for (;;) {
                    probe();
                    unregister(0);
                }
            } catch (...) {
            }
        };
    }

    void addUnregistered(const std::string &name, std::vector<std::string> exports, Call call, Step before) {
        scenarios_.push_back({name, std::move(exports), std::move(call), std::move(before), unregisterWholly(), false});
    }

    void addRegistration() {
        const auto registerApp = EXPORT(KalRegisterApp);
        const auto unregisterApp = EXPORT(KalUnregisterApp);
        const auto registerWithServer = EXPORT(KalRegisterWithRpcServer);
        const Step registration = [=] { registerApp(0); };
        const Step unregistration = [=] { unregisterApp(0); };
        const Call registering = [=] { return text(registerApp(0)); };
        const Call unregistering = [=] {
            unregisterApp(0);
            return std::string();
        };
        addUnregistered("KalRegisterApp, first", {"KalRegisterApp"}, registering, [] {});
        add(
            "KalRegisterApp, not first", {"KalRegisterApp"}, registering, [] {}, unregistration);
        add(
            "KalRegisterAppLM", {"KalRegisterAppLM", "KalRegisterApp"},
            [function = EXPORT(KalRegisterAppLM)] { return text(function(0)); }, [] {}, unregistration);
        addUnregistered(
            "KalRegisterWithRpcServer, this machine", {"KalRegisterWithRpcServer"},
            [=] { return text(registerWithServer(nullptr)); }, [] {});
        addUnregistered(
            "KalRegisterWithRpcServer, another machine", {"KalRegisterWithRpcServer"},
            [=, server = surroundings_.serverName] { return text(registerWithServer(server.c_str())); }, [] {});
        addUnregistered("KalUnregisterApp, last", {"KalUnregisterApp"}, unregistering, registration);
        add("KalUnregisterApp, not last", {"KalUnregisterApp"}, unregistering, registration, [] {});
        add(
            "KalUnregisterAppLM", {"KalUnregisterAppLM", "KalUnregisterApp"},
            [function = EXPORT(KalUnregisterAppLM)] {
                function(0);
                return std::string();
            },
            registration, [] {});
        add("KalSetClientName", {"KalSetClientName"}, [function = EXPORT(KalSetClientName)] {
            function("name");
            return std::string();
        });
        // The service is on another machine, so each operation checks the server.
        scenarios_.push_back({"KalOpen at another machine",
                              {"KalOpen"},
                              callOpen(EXPORT(KalOpen)),
                              [=, server = surroundings_.serverName] { registerWithServer(server.c_str()); },
                              [first = tidy(), second = unregisterWholly()] { first(), second(); },
                              false});
        add("Initialize", {"Initialize"}, [function = EXPORT(Initialize)] { return text(function()); });
        add("Uninitialize", {"Uninitialize"}, [function = EXPORT(Uninitialize)] { return text(function()); });
    }

    /// Adds an export that does not read its arguments.
    void addPlain(const char *name, std::vector<std::string> exports) {
        add(name, std::move(exports), [function = get<int32_t()>(name)] { return text(function()); });
    }

    void addLegacy() {
        addPlain("KalFlushMWOBuffer", {"KalFlushMWOBuffer"});
        addPlain("KalUninstallORX", {"KalUninstallORX"});
        addPlain("KalStartRpcServer", {"KalStartRpcServer"});
        addPlain("KalEnumSpecific", {"KalEnumSpecific"});
        add("KalPrepareRhoaForUninstall", {"KalPrepareRhoaForUninstall"},
            [function = EXPORT(KalPrepareRhoaForUninstall)] {
                function();
                return std::string();
            });
        const size_t firstLegacy = scenarios_.size();
#define LEGACY_UNSUPPORTED(exportName, tracedName) addPlain(#exportName, {#exportName});
#define LEGACY_FIXED(exportName, parameters, tracedResult, answer)
#define LEGACY_ALIAS(type, exportName, tracedName, parameters, plainExport, arguments)
#define LEGACY_UNREAD_ALIAS(exportName, tracedName, plainExport) addPlain(#exportName, {#exportName, #plainExport});
#include "api/LegacyExports.inc"
#undef LEGACY_UNSUPPORTED
#undef LEGACY_FIXED
#undef LEGACY_ALIAS
#undef LEGACY_UNREAD_ALIAS
        std::set<size_t> forwards;
        for (size_t index = firstLegacy; index < scenarios_.size(); ++index)
            scenarios_[index].isLikeEarlierOne = !forwards.insert(scenarios_[index].exports.size()).second;
    }
#undef EXPORT

    ScenarioSurroundings surroundings_;
    std::vector<ExportScenario> scenarios_;
};

LRESULT CALLBACK ignoreMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return DefWindowProcA(window, message, wParam, lParam);
}

} // namespace

std::vector<ExportScenario> exportScenarios(const ScenarioSurroundings &surroundings) {
    return Maker(surroundings).make();
}

HWND makeMessageWindow() {
    constexpr char className[] = "kal-test-messages";
    WNDCLASSA type = {};
    type.lpfnWndProc = ignoreMessage;
    type.lpszClassName = className;
    RegisterClassA(&type);
    return CreateWindowExA(0, className, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}

} // namespace kal::test
