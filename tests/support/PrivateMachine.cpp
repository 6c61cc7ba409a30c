#include "tests/support/PrivateMachine.h"

#include <sstream>
#include <stdexcept>

namespace kal::test {

namespace {

// The library's file name selects the key; this one is for the brand code "ka".
constexpr char productRoot[] = "Software\\Kalder Print Services";

HKEY createKey(HKEY parent, const std::string &name) {
    HKEY key = nullptr;
    const LSTATUS code =
        RegCreateKeyExA(parent, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | KEY_WOW64_64KEY, nullptr, &key, nullptr);
    if (code != 0)
        throw std::runtime_error("cannot create " + name + ": " + std::to_string(code));
    return key;
}

} // namespace

PrivateMachine::PrivateMachine() {
    static int number = 0;
    char allUsers[MAX_PATH] = {};
    GetEnvironmentVariableA("ALLUSERSPROFILE", allUsers, MAX_PATH);
    previousAllUsers_ = allUsers;
    SetEnvironmentVariableA("ALLUSERSPROFILE", folder_.path().string().c_str());

    keyName_ = "Software\\KalTests\\" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number);
    root_ = createKey(HKEY_CURRENT_USER, keyName_);
    RegCloseKey(createKey(root_, localRoot()));
    if (const LSTATUS code = RegOverridePredefKey(HKEY_LOCAL_MACHINE, root_); code != 0)
        throw std::runtime_error("cannot redirect HKEY_LOCAL_MACHINE: " + std::to_string(code));
}

PrivateMachine::~PrivateMachine() {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(root_);
    RegDeleteTreeA(HKEY_CURRENT_USER, keyName_.c_str());
    SetEnvironmentVariableA("ALLUSERSPROFILE", previousAllUsers_.c_str());
}

std::string PrivateMachine::localRoot(const std::string &brandCode) {
    return std::string(productRoot) + "\\Orx\\Local\\" + brandCode + "\\";
}

void PrivateMachine::setLogger(const std::string &name, uint32_t value, const std::string &brandCode) {
    HKEY key = createKey(root_, localRoot(brandCode) + "Logger");
    RegSetValueExA(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE *>(&value), sizeof value);
    RegCloseKey(key);
}

void PrivateMachine::logEverything() {
    setLogger("startLog", 1);
    setLogger("Clocktime_In_Header", 0);
}

void PrivateMachine::removeKey(const std::string &brandCode) {
    RegDeleteTreeA(root_, localRoot(brandCode).c_str());
}

std::filesystem::path PrivateMachine::logFile(const std::string &brandCode) const {
    return folder_ / (brandCode + ".log");
}

std::vector<std::string> PrivateMachine::logLines(const std::string &brandCode) const {
    std::vector<std::string> lines;
    std::istringstream stream(readFile(logFile(brandCode)));
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> PrivateMachine::logTexts(const std::string &brandCode) const {
    auto lines = logLines(brandCode);
    for (std::string &line : lines) {
        const auto component = line.find(' ');
        const auto text = line.find_first_not_of(' ', component == std::string::npos ? 0 : component);
        line = text == std::string::npos ? std::string() : line.substr(text);
    }
    return lines;
}

void PrivateMachine::deleteLog(const std::string &brandCode) const {
    DeleteFileA(logFile(brandCode).string().c_str());
}

} // namespace kal::test
