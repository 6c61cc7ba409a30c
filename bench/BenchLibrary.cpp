#include "bench/BenchLibrary.h"

#include "settings/KeyPaths.h"

#include <stdexcept>

namespace bench {

namespace {

std::string libraryPath() {
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, sizeof program);
    const std::string path(program);
    return path.substr(0, path.rfind('.')) + ".dll";
}

void check(LSTATUS code, const char *what) {
    if (code != ERROR_SUCCESS) {
        throw std::runtime_error(std::string(what) + " failed with " + std::to_string(code));
    }
}

void setNumber(HKEY key, const char *name, DWORD value) {
    check(RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE *>(&value), sizeof value), name);
}

} // namespace

const char *nameOf(LogState state) {
    switch (state) {
    case LogState::keyMissing:
        return "key missing";
    case LogState::off:
        return "off";
    default:
        return "on";
    }
}

BenchLibrary::BenchLibrary() : module_(LoadLibraryA(libraryPath().c_str())) {
    if (module_ == nullptr) {
        throw std::runtime_error("cannot load " + libraryPath());
    }
    const std::string brandCode = kal::brandCodeOf(libraryPath());
    settingsKey_ = kal::rootOf(brandCode, kal::localRoot);
    settingsKey_.pop_back();
    char directory[MAX_PATH] = {};
    ExpandEnvironmentStringsA("%ALLUSERSPROFILE%\\", directory, sizeof directory);
    logPath_ = directory + brandCode + ".log";
}

BenchLibrary::~BenchLibrary() {
    if (isRegistered_) {
        get<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
    }
    removeKey();
    DeleteFileA(logPath_.c_str());
    FreeLibrary(module_);
}

void BenchLibrary::removeKey() const {
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, settingsKey_.c_str());
}

void BenchLibrary::enter(LogState state) {
    if (isRegistered_) {
        get<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
    }
    removeKey();
    DeleteFileA(logPath_.c_str());
    if (state != LogState::keyMissing) {
        HKEY key = nullptr;
        check(RegCreateKeyExA(HKEY_LOCAL_MACHINE, (settingsKey_ + "\\Logger").c_str(), 0, nullptr, 0,
                              KEY_ALL_ACCESS | KEY_WOW64_64KEY, nullptr, &key, nullptr),
              "making the settings key");
        setNumber(key, "startLog", state == LogState::on ? 1 : 0);
        RegCloseKey(key);
    }
    get<decltype(KalRegisterApp)>("KalRegisterApp")(0);
    isRegistered_ = true;
}

void *BenchLibrary::find(HMODULE module, const char *name) {
    void *const found = reinterpret_cast<void *>(GetProcAddress(module, name));
    if (found == nullptr) {
        throw std::runtime_error(std::string("no such export: ") + name);
    }
    return found;
}

OrxAlertCallback BenchLibrary::alertCallback() {
    return reinterpret_cast<OrxAlertCallback (*)()>(find(GetModuleHandleA("comc.dll"), "BenchAlertCallback"))();
}

void BenchLibrary::setPrinterCount(uint32_t count) {
    reinterpret_cast<void (*)(uint32_t)>(find(GetModuleHandleA("comc.dll"), "BenchSetPrinterCount"))(count);
}

OrxNotificationCallback BenchLibrary::notificationCallback() {
    return reinterpret_cast<OrxNotificationCallback (*)()>(
        find(GetModuleHandleA("comc.dll"), "BenchNotificationCallback"))();
}

} // namespace bench
