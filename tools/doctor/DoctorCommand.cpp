#include "tools/CommandLine.h"

#include "comc/EntryPointIndex.h"
#include "tools/File.h"
#include "tools/Terminal.h"
#include "tools/doctor/DoctorReport.h"
#include "tools/doctor/ServiceLibrary.h"
#include "tools/log/LogLocation.h"
#include "tools/printers/Session.h"
#include "tools/text/JsonText.h"
#include "tools/text/Progress.h"
#include "tools/text/ResultNames.h"
#include "tools/text/Text.h"

#include <memory>
#include <optional>
#include <vector>

namespace tool {

namespace {

/// "1.2.3.4" from the file's version resource; nothing if there is none.
std::optional<std::string> fileVersion(const std::string &path) {
    const std::wstring widePath = toWide(path);
    std::vector<uint8_t> information(GetFileVersionInfoSizeW(widePath.c_str(), nullptr));
    VS_FIXEDFILEINFO *fixed = nullptr;
    UINT size = 0;
    if (information.empty() ||
        !GetFileVersionInfoW(widePath.c_str(), 0, static_cast<DWORD>(information.size()), information.data()) ||
        !VerQueryValueW(information.data(), L"\\", reinterpret_cast<void **>(&fixed), &size) || size < sizeof *fixed) {
        return std::nullopt;
    }
    const auto part = [](DWORD pair, int shift) { return std::to_string((pair >> shift) & 0xFFFF); };
    return part(fixed->dwFileVersionMS, 16) + "." + part(fixed->dwFileVersionMS, 0) + "." +
           part(fixed->dwFileVersionLS, 16) + "." + part(fixed->dwFileVersionLS, 0);
}

void examineLibrary(DoctorReport &report, const LogLocation &location) {
    report.ok("library", location.libraryPath + ", version " + fileVersion(location.libraryPath).value_or("unknown"));
    if (location.isBrandRecognised) {
        report.ok("brand", "\"" + location.brandCode + "\", recognised");
    } else {
        report.warn("brand", "\"" + location.brandCode + "\" belongs to no product line",
                    "give the library back its original file name");
    }
}

void examineSettings(DoctorReport &report, const LogLocation &location) {
    const std::string key = fullKeyName(location.settingsKey);
    const unsigned long opened = tryKey(location.settingsKey, settingsAccess);
    if (opened == ERROR_FILE_NOT_FOUND) {
        report.warn("settings key", key + " is missing: nothing is logged, errors neither",
                    "`kal log on` from an elevated prompt makes it");
    } else if (opened != ERROR_SUCCESS) {
        report.warn("settings key", key + " does not open: " + systemErrorText(opened),
                    "give this user the right to query, set and enumerate the key; without it nothing is logged");
    } else {
        report.ok("settings key", key);
        report.ok("logging", describeSelection(settingReader(location.loggerKey)));
    }
}

/// Tries to open or create the log as the library would, without leaving a file. @return 0 or the error code
unsigned long tryLogFile(const std::string &path) {
    const bool exists = GetFileAttributesW(toWide(path).c_str()) != INVALID_FILE_ATTRIBUTES;
    // If the log does not exist, tries another name: deleting the log could delete another program's first line.
    const std::string probe = exists ? path : path + ".probe";
    const HANDLE file =
        CreateFileW(toWide(probe).c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    exists ? OPEN_EXISTING : CREATE_ALWAYS,
                    exists ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    CloseHandle(file);
    return ERROR_SUCCESS;
}

void examineLogFile(DoctorReport &report, const LogLocation &location) {
    if (const unsigned long code = tryLogFile(location.logFile); code != ERROR_SUCCESS) {
        report.warn("log file", location.logFile + " cannot be written: " + systemErrorText(code),
                    "make it writable for this user, or delete it; the library drops its lines until then");
        return;
    }
    const auto size = fileSize(location.logFile);
    report.ok("log file", location.logFile + ", writable, " + (size ? byteText(*size) : "not there yet"));
}

void examineRegistration(DoctorReport &report, const Invocation &invocation) {
    const char *const remedy = "`kal log show` may show why; without a registration no call reaches the service";
    try {
        // The result says whether the registration works only if a server name is passed, even an empty one.
        const int32_t registered = KalRegisterWithRpcServer(toNarrow(invocation.server).c_str());
        if (registered != 1) {
            report.fail("registration", "KalRegisterWithRpcServer answered " + describeResult(registered), remedy);
            return;
        }
        // With mask 0 the service is not called, but the call fails without a binding.
        const int32_t enumerated = KalEnumPrinters(0, 0, nullptr);
        KalUnregisterApp(0);
        if (enumerated == KAL_OKAY) {
            report.ok("registration", "works");
        } else {
            report.fail("registration", "KalEnumPrinters answered " + describeResult(enumerated), remedy);
        }
    } catch (...) {
        // Without a registration the library throws an exception of its own.
        report.fail("registration", "the library raised an exception", remedy);
    }
}

void examineServiceStart(DoctorReport &report, const ServiceLibrary &service) {
    const uint32_t initialized = service.initialize();
    if (initialized != ERROR_SUCCESS) {
        report.fail("service", "OrxInitialize answered " + systemErrorText(initialized),
                    "start or repair the communication service");
        return;
    }
    report.ok("service", "OrxInitialize answered 0");
    uint32_t clientId = 0;
    const uint32_t identified = service.requestClientId(clientId);
    if (identified == ERROR_SUCCESS) {
        report.ok("client id", std::to_string(clientId));
    } else {
        report.fail("client id", "OrxGetClientId answered " + systemErrorText(identified),
                    "restart the communication service");
    }
    service.uninitialize();
}

void examineService(DoctorReport &report, const LogLocation &location) {
    const std::string path = std::string(folderOf(location.libraryPath)) + "comc.dll";
    if (!fileExists(path)) {
        report.fail("comc.dll", path + " is missing", "install the communication service's client library there");
        return;
    }
    const ServiceLibrary service(path);
    if (!service.isLoaded()) {
        report.fail("comc.dll", path + " does not load: " + systemErrorText(service.loadError()),
                    "replace it by the 64-bit library that belongs to the communication service");
        return;
    }
    report.ok("comc.dll", path + ", version " + fileVersion(path).value_or("unknown"));
    const auto missing = service.missingEntryPoints();
    if (missing.empty()) {
        report.ok("entry points", "all " + std::to_string(comc::entryPointCount) + " are there");
    } else {
        std::string names;
        for (const std::string_view name : missing) {
            names.append(names.empty() ? "" : ", ").append(name);
        }
        report.fail("entry points", "missing: " + names,
                    "update the communication service; calls that need a missing one fail");
    }
    examineServiceStart(report, service);
}

int examine(bool json, const Invocation &invocation) {
    DoctorReport report;
    const LogLocation location = locateLog();
    examineLibrary(report, location);
    examineSettings(report, location);
    examineLogFile(report, location);
    examineRegistration(report, invocation);
    examineService(report, location);
    printOut(json ? jsonText(report.json()) : report.text());
    return report.isAllWell() ? succeeded : failed;
}

} // namespace

void addDoctorCommand(CLI::App &program, Invocation &invocation) {
    auto *const command = program.add_subcommand("doctor", "Examine the installation and say what is wrong with it");
    const auto json = std::make_shared<bool>(false);
    addJson(*command, *json);
    command->footer("Examples:\n"
                    "  kal doctor\n"
                    "  kal doctor --json\n"
                    "\n"
                    "Exit status 0 only when every line is ok.");
    command->callback(
        [json, &invocation] { invocation.action = [json, &invocation] { return examine(*json, invocation); }; });
}

} // namespace tool
