#include "tests/tool/ToolFixture.h"

#include "tests/support/PrivateMachine.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include <windows.h>

#include <tlhelp32.h>

namespace kal::test {

namespace {

namespace fs = std::filesystem;

constexpr DWORD longestRun = 120'000;

/// The address of a module in another process, which may differ from the address here; null if it is not loaded there.
HMODULE moduleIn(DWORD process, const char *name) {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, process);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return nullptr;
    }
    HMODULE found = nullptr;
    MODULEENTRY32 module = {};
    module.dwSize = sizeof module;
    for (BOOL more = Module32First(snapshot, &module); more != FALSE && found == nullptr;
         more = Module32Next(snapshot, &module)) {
        found = lstrcmpiA(module.szModule, name) == 0 ? module.hModule : nullptr;
    }
    CloseHandle(snapshot);
    return found;
}

/// Keeps the desktop between the programs' windows. Making it for each program takes time, and while it is being
/// removed, a new window may fail.
void holdDesktop() {
    static const HWND window = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    static_cast<void>(window);
}

HANDLE createInheritable(const fs::path &file) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, CREATE_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

std::string settingsKey() {
    std::string key = PrivateMachine::localRoot();
    while (key.ends_with('\\')) {
        key.pop_back();
    }
    return key;
}

} // namespace

std::vector<nlohmann::json> ToolRun::jsonLines() const {
    std::vector<nlohmann::json> objects;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        objects.push_back(nlohmann::json::parse(line));
    }
    return objects;
}

RunningTool::RunningTool(const fs::path &program, const std::string &arguments, const fs::path &outputFolder)
    : outputFile_(outputFolder / "output.txt"), errorFile_(outputFolder / "error.txt") {
    fs::create_directories(outputFolder);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = createInheritable(outputFile_);
    startup.hStdError = createInheritable(errorFile_);
    const std::string narrow = "\"" + program.string() + "\" " + arguments;
    std::wstring command(narrow.begin(), narrow.end());
    const BOOL started = CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        outputFolder.c_str(), &startup, &process_);
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    if (!started) {
        throw std::runtime_error(program.string() + " does not start");
    }
    CloseHandle(process_.hThread);
}

RunningTool::~RunningTool() {
    if (WaitForSingleObject(process_.hProcess, 0) == WAIT_TIMEOUT) {
        TerminateProcess(process_.hProcess, 99);
        WaitForSingleObject(process_.hProcess, longestRun);
    }
    CloseHandle(process_.hProcess);
}

std::string RunningTool::output() const {
    return readFile(outputFile_);
}

bool RunningTool::waitForOutput(const std::string &text) const {
    return eventually([&] { return output().find(text) != std::string::npos; });
}

bool RunningTool::interrupt() const {
    // On Ctrl-C, a console starts a thread in the program that runs this function. The test has no console.
    const HMODULE ours = GetModuleHandleA("kernelbase.dll");
    const auto routine = reinterpret_cast<uintptr_t>(GetProcAddress(ours, "CtrlRoutine"));
    const auto theirs = reinterpret_cast<uintptr_t>(moduleIn(process_.dwProcessId, "kernelbase.dll"));
    if (routine == 0 || theirs == 0) {
        return false;
    }
    const uintptr_t address = routine - reinterpret_cast<uintptr_t>(ours) + theirs;
    const HANDLE thread =
        CreateRemoteThread(process_.hProcess, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(address),
                           reinterpret_cast<void *>(static_cast<uintptr_t>(CTRL_C_EVENT)), 0, nullptr);
    if (thread != nullptr) {
        CloseHandle(thread);
    }
    return thread != nullptr;
}

ToolRun RunningTool::finish() {
    ToolRun run;
    if (WaitForSingleObject(process_.hProcess, longestRun) != WAIT_OBJECT_0) {
        ADD_FAILURE() << "kal.exe did not end";
        return run;
    }
    DWORD status = 0;
    GetExitCodeProcess(process_.hProcess, &status);
    run.status = static_cast<int>(status);
    run.output = readFile(outputFile_);
    run.error = readFile(errorFile_);
    return run;
}

ToolTest::ToolTest() {
    holdDesktop();
    SetEnvironmentVariableW(L"KAL_SIMULATOR_SPOOL", (folder / "spool").c_str());
    SetEnvironmentVariableW(L"KAL_SIMULATOR_CONFIG", nullptr);
}

void ToolTest::configure(const std::string &json) {
    folder.write("comc.json", json);
    SetEnvironmentVariableW(L"KAL_SIMULATOR_CONFIG", (folder / "comc.json").c_str());
}

ToolRun ToolTest::kal(const std::string &arguments) {
    return start(arguments)->finish();
}

std::unique_ptr<RunningTool> ToolTest::start(const std::string &arguments) {
    return std::make_unique<RunningTool>(programFolder() / "kal.exe", arguments,
                                         folder / ("run" + std::to_string(++runs_)));
}

std::string ToolTest::file(const std::string &name, const std::string &bytes) {
    return "\"" + folder.write(name, bytes) + "\"";
}

std::vector<std::string> ToolTest::spoolEntries() const {
    std::vector<std::string> names;
    std::error_code missing;
    for (const auto &entry : fs::directory_iterator(folder / "spool", missing)) {
        if (const std::string name = entry.path().filename().string();
            name.starts_with("job-") && name != "job-number") {
            names.push_back(name);
        }
    }
    std::ranges::sort(names);
    return names;
}

std::vector<std::string> ToolTest::spooledJobs() const {
    std::vector<std::string> jobs;
    for (const std::string &name : spoolEntries()) {
        if (name.ends_with(".prn")) {
            jobs.push_back(readFile(folder / "spool" / name));
        }
    }
    return jobs;
}

LogToolTest::LogToolTest() {
    char previous[MAX_PATH] = {};
    GetEnvironmentVariableA("ALLUSERSPROFILE", previous, MAX_PATH);
    previousAllUsers_ = previous;
    fs::create_directories(folder / "all-users");
    SetEnvironmentVariableW(L"ALLUSERSPROFILE", (folder / "all-users").c_str());
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, settingsKey().c_str());
}

LogToolTest::~LogToolTest() {
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, settingsKey().c_str());
    SetEnvironmentVariableA("ALLUSERSPROFILE", previousAllUsers_.c_str());
}

void LogToolTest::createSettingsKey() {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, settingsKey().c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                              nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

std::filesystem::path LogToolTest::logFile() const {
    return folder / "all-users" / "kalc.log";
}

std::string documentOf(size_t size) {
    std::string document(size, '\0');
    uint32_t state = 12345;
    for (char &byte : document) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return document;
}

} // namespace kal::test
