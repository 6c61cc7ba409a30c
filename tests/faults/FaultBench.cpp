#include "tests/faults/FaultBench.h"

#include "api/kal.h"
#include "platform/Exception.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <sstream>

namespace kal::test {

namespace {

constexpr char libraryName[] = "kafaults.dll";
constexpr DWORD longerThanSettingsHold = 10000;

/// Where the log goes when the all-users folder cannot be told.
std::string logInDriveRoot() {
    char directory[MAX_PATH] = {};
    GetWindowsDirectoryA(directory, sizeof directory);
    return std::string(directory, 3) + FaultBench::brandCode + ".log";
}

/// A line's text, without header and indentation.
std::string textOf(const std::string &line) {
    constexpr std::string_view component = "LegacyClient";
    const size_t start = line.find(component);
    if (start == std::string::npos)
        return "not a line: " + line;
    return line.substr(std::min(line.find_first_not_of(' ', start + component.size()), line.size()));
}

std::vector<std::string> linesOf(const std::string &bytes, const std::string &mark) {
    std::vector<std::string> texts;
    std::istringstream stream(bytes);
    for (std::string line; std::getline(stream, line);) {
        if (!line.ends_with('\r'))
            texts.push_back("torn: " + line);
        else
            texts.push_back(mark + textOf(line.substr(0, line.size() - 1)));
    }
    return texts;
}

void fill(const ServiceCall &call, size_t buffer, size_t length, const std::string &bytes) {
    std::memcpy(call.pointer<char>(buffer), bytes.data(), bytes.size());
    *call.pointer<uint32_t>(length) = static_cast<uint32_t>(bytes.size());
}

} // namespace

FaultBench::FaultBench() : window_(makeMessageWindow()) {
    service_.does("OrxGetClientId", [](const ServiceCall &call) {
        *call.pointer<uint32_t>(0) = 7;
        return 0u;
    });
    service_.stringProperty("Transport", "USB1");
    service_.stringProperty("Device", "BpdPrinter");
    service_.stringProperty("Portname", "USB001");
    service_.does("OrxEnumPrinters", [](const ServiceCall &call) {
        call.callback<uint32_t(uint32_t)>(3)(3);
        return 0u;
    });
    service_.does("OrxEnumSpecificPrinter", [](const ServiceCall &call) {
        *call.pointer<uint32_t>(2) = 3;
        return 0u;
    });
    service_.does("OrxGetCachePrinter", [](const ServiceCall &call) {
        fill(call, 2, 4, "\xA5" + std::string(19, 'c'));
        return 0u;
    });
    service_.does("OrxExchangeBidiPrinter", [](const ServiceCall &call) {
        fill(call, 4, 6, "\xA5" + std::string(23, 'b'));
        return 0u;
    });
    service_.does("OrxGetCurrentStatePrinter", [](const ServiceCall &call) {
        *call.pointer<uint32_t>(2) = ORX_PRINTER_PRINTING_AND_OKAY;
        return 0u;
    });
    service_.does("OrxRegisterForAlertsPrinter", [this](const ServiceCall &call) {
        alertCallback_ = call.callback<std::remove_pointer_t<OrxAlertCallback>>(3);
        return 0u;
    });
    service_.does("OrxRegisterForNotificationsPrinter", [this](const ServiceCall &call) {
        notificationCallback_ = call.callback<std::remove_pointer_t<OrxNotificationCallback>>(3);
        return 0u;
    });
    enter(LogState::on);
    load();
}

FaultBench::~FaultBench() {
    unload();
    DestroyWindow(window_);
}

void FaultBench::enter(LogState state) {
    if (state == LogState::keyMissing) {
        machine_.removeKey(brandCode);
    } else {
        machine_.setLogger("startLog", 1, brandCode);
        machine_.setLogger("Clocktime_In_Header", 0, brandCode);
    }
}

void FaultBench::load() {
    library_ = std::make_unique<StagedLibrary>(ComcFile::recording, libraryName);
    pinned_ = LoadLibraryA((library_->folder() / "comc.dll").string().c_str());
    network_ = std::make_unique<NetworkStandIn>(library_->module());
    watch_ = std::make_unique<ImportWatch>(library_->module());
    watch_->begin({});
    library_->function<decltype(KalRegisterApp)>("KalRegisterApp")(0); // makes a logger first of all
    watch_->end();
    watch_->learnAllocator();
    library_->function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
    scenarios_ = exportScenarios({library_->module(), window_, [this] { return alertCallback_; },
                                  [this] { return notificationCallback_; }, "OTHERHOST"});
    setUpExceptions();
}

/// The compiler's run time sets itself up at a thread's first exception, and keeps that, for itself or the next thread.
void FaultBench::setUpExceptions() {
    static_cast<void>(isRegistered()); // nobody is, which raises one on this thread
    const auto threaded = std::ranges::find(scenarios_, "KalOpen, first of the process", &ExportScenario::name);
    for (int nth = 1; nth == 1 || watch_->hasFailed(); ++nth) // some of these raise one on a worker thread
        run(*threaded, {Fault::memory, nth, false});
}

void FaultBench::unload() {
    network_.reset();
    library_.reset();
    watch_->forgetModule();
    FreeLibrary(pinned_);
}

Holdings FaultBench::renew() {
    unload();
    Holdings left = watch_->holdings();
    watch_.reset();
    load();
    return left;
}

bool FaultBench::isRegistered() const {
    try {
        library_->function<decltype(KalFlushMWOBuffer)>("KalFlushMWOBuffer")();
        return true;
    } catch (const Win32Exception &) {
        return false;
    }
}

std::string FaultBench::callCaught(const ExportScenario &scenario) const {
    try {
        return scenario.call();
    } catch (const std::bad_alloc &) {
        return "raises bad_alloc";
    } catch (const Win32Exception &exception) {
        return "raises " + exception.message() + " " + std::to_string(exception.code());
    } catch (...) {
        return "raises something else";
    }
}

Sight FaultBench::look(std::string outcome) const {
    auto log = linesOf(readFile(machine_.logFile(brandCode)), "");
    const auto elsewhere = linesOf(readFile(logInDriveRoot()), "in the drive's root: ");
    log.insert(log.end(), elsewhere.begin(), elsewhere.end());
    return {std::move(outcome), service_.sequence(), std::move(log)};
}

Sight FaultBench::run(const ExportScenario &scenario, const Fault &fault) {
    const auto forget = [&] {
        service_.forgetCalls();
        machine_.deleteLog(brandCode);
        DeleteFileA(logInDriveRoot().c_str());
    };
    if (scenario.needsRegistration)
        library_->function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
    scenario.before();
    forget();
    watch_->turnClock(longerThanSettingsHold);
    watch_->begin(fault);
    std::string outcome = callCaught(scenario);
    watch_->end();
    Sight sight = look(std::move(outcome));
    if (sight.outcome == "raises bad_alloc") {
        forget();
        std::string again = callCaught(scenario);
        again_ = look(std::move(again));
    }
    if (!scenario.needsRegistration && !isRegistered())
        sight.outcome += " unregistered";
    forget();
    scenario.after();
    DeleteFileA(logInDriveRoot().c_str());
    tidied_ = service_.sequence();
    if (scenario.needsRegistration)
        library_->function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
    return sight;
}

} // namespace kal::test
