#include "tests/examples/ProgramUnderTest.h"

#include <algorithm>
#include <stdexcept>

namespace kal::test {

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> filesOf(const fs::path &folder, const char *extension) {
    std::vector<fs::path> files;
    std::error_code missing;
    for (const auto &entry : fs::directory_iterator(folder, missing)) {
        if (entry.path().extension() == extension) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

VirtualPrinters::VirtualPrinters(const std::string &configuration) {
    const std::string file = folder_.write("comc.json", configuration);
    SetEnvironmentVariableA("KAL_SIMULATOR_CONFIG", file.c_str());
    SetEnvironmentVariableW(L"KAL_SIMULATOR_SPOOL", (folder_ / "spool").c_str());
}

VirtualPrinters::~VirtualPrinters() {
    SetEnvironmentVariableA("KAL_SIMULATOR_CONFIG", nullptr);
    SetEnvironmentVariableA("KAL_SIMULATOR_SPOOL", nullptr);
}

std::vector<std::string> VirtualPrinters::documents() const {
    std::vector<std::string> documents;
    for (const auto &file : filesOf(folder_ / "spool", ".prn")) {
        documents.push_back(readFile(file));
    }
    return documents;
}

size_t VirtualPrinters::unfinishedJobs() const {
    return filesOf(folder_ / "spool", ".part").size();
}

size_t VirtualPrinters::calls(const std::string &entryPoint) const {
    const std::string log = readFile(folder_ / "spool/simulator.log");
    const std::string line = "] " + entryPoint + " answers ";
    size_t count = 0;
    for (auto position = log.find(line); position != std::string::npos; position = log.find(line, position + 1)) {
        ++count;
    }
    return count;
}

ProgramUnderTest::ProgramUnderTest(const fs::path &folder, const std::wstring &commandLine)
    : errorFile_(folder_ / "errors.txt") {
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    const HANDLE errors = CreateFileW(errorFile_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inheritable, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = errors;
    startup.hStdError = errors;
    std::wstring command = L"\"" + folder.wstring() + L"\\" + commandLine;
    command.insert(command.find(L".exe") + 4, L"\"");
    const BOOL isStarted = CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, folder.c_str(),
                                          &startup, &process_);
    CloseHandle(errors);
    if (!isStarted) {
        throw std::runtime_error("the program cannot be started, error " + std::to_string(GetLastError()));
    }
}

ProgramUnderTest::~ProgramUnderTest() {
    if (!hasEnded()) {
        TerminateProcess(process_.hProcess, 99);
        WaitForSingleObject(process_.hProcess, 10000);
    }
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
}

DWORD ProgramUnderTest::exitCode(DWORD milliseconds) const {
    WaitForSingleObject(process_.hProcess, milliseconds);
    DWORD code = 0;
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
}

} // namespace kal::test
