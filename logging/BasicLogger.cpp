#include "logging/BasicLogger.h"

#include "logging/LogFailure.h"
#include "logging/LogLine.h"
#include "platform/Exception.h"
#include "platform/InterProcessLock.h"
#include "platform/LastErrorKeeper.h"
#include "platform/ScopedHandle.h"
#include "settings/Localize.h"
#include "settings/Settings.h"

#include <mutex>
#include <new>

namespace kal {

namespace {

std::atomic<bool> created = false;
std::atomic<BasicLogger *> instance = nullptr;
std::atomic<uint64_t> lastInstanceNumber = 0;
std::atomic<uint64_t> currentInstanceNumber = 0;    ///< 0 while there is no instance
std::atomic<BasicLogger *> instanceToAsk = nullptr; ///< used by logEnabled
std::atomic<bool> loggingBroken = false;            ///< set-up has failed; nothing more is logged
std::atomic<uint32_t> lastAllMask = 0;              ///< the last value read for "All"

constexpr uint32_t defaultWidth = 15;

std::string baseName(const std::string &path) {
    return path.substr(path.rfind('\\') + 1); // npos + 1 is 0: the complete path
}

/// The path of a bare file name in the root of the Windows drive.
std::string inWindowsDriveRoot(const std::string &name) {
    constexpr size_t driveRootLength = 3;
    constexpr size_t nameLimit = 257; // characters after the drive's root, without the terminator
    char directory[261] = {};
    const UINT length = GetWindowsDirectoryA(directory, sizeof directory);
    const std::string drive = length == 0 || length >= sizeof directory ? "c:\\" : directory;
    return drive.substr(0, driveRootLength) + name.substr(0, nameLimit);
}

ScopedHandle openLogFile(const char *path, DWORD disposition, SECURITY_ATTRIBUTES *attributes) noexcept {
    return ScopedHandle(CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, attributes,
                                    disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

LogTime localTime() noexcept {
    SYSTEMTIME time;
    GetLocalTime(&time);
    return {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds};
}

} // namespace

BasicLogger::BasicLogger(const std::string &path, uint32_t width) : security_(false), componentWidth_(defaultWidth) {
    setUp(path);
    componentWidth_ = width;
}

void BasicLogger::setUp(const std::string &path) {
    try {
        lock_.reset(new (std::nothrow) Mutex(false, "QZLOG_" + baseName(path), true));
        path_ = path.find('\\') == std::string::npos ? inWindowsDriveRoot(path) : path;
    } catch (const Win32Exception &) {
        // Without a log file the application must still work.
        loggingBroken = true;
    }
}

BasicLogger &BasicLogger::getInstance() {
    BasicLogger *const logger = instance.load(std::memory_order_acquire);
    if (!created.load(std::memory_order_acquire) || logger == nullptr) {
        throw Win32Exception("BasicLogger::getInstance()", 1, "", 0);
    }
    return *logger;
}

bool BasicLogger::isInstance(const BasicLogger *logger) noexcept {
    return instance.load(std::memory_order_acquire) == logger;
}

uint64_t BasicLogger::instanceNumber() noexcept {
    return currentInstanceNumber.load(std::memory_order_acquire);
}

bool BasicLogger::publish(BasicLogger *logger) noexcept {
    BasicLogger *none = nullptr;
    if (!instance.compare_exchange_strong(none, logger)) {
        return false;
    }
    currentInstanceNumber = ++lastInstanceNumber;
    created = true;
    instanceToAsk = logger;
    return true;
}

void BasicLogger::unpublish() noexcept {
    created = false;
    currentInstanceNumber = 0;
    instance = nullptr;
    instanceToAsk = nullptr;
}

bool BasicLogger::isEnabled(const LoggerComponent &component, uint32_t level) noexcept {
    if (loggingBroken.load(std::memory_order_relaxed)) {
        return false;
    }
    if ((level & logLevel::error) != 0) {
        return true;
    }
    try {
        uint32_t startLog = 0;
        cachedSetting("startLog", startLog, 0, settingMaxAgeMilliseconds);
        if (startLog == 0) {
            return false;
        }
        const LoggerComponent &all = loggerComponent(ComponentId::All);
        uint32_t allMask = 0;
        cachedSetting(all.nameView(), allMask, all.level(), settingMaxAgeMilliseconds);
        lastAllMask.store(allMask, std::memory_order_relaxed);
        uint32_t componentMask = 0;
        cachedSetting(component.nameView(), componentMask, component.level(), settingMaxAgeMilliseconds);
        return passesMasks(level, allMask, componentMask);
    } catch (const Win32Exception &) {
        return false; // a setting of the wrong type
    } catch (const std::bad_alloc &) {
        return false; // no memory for the setting: only the log line is lost
    }
}

uint32_t BasicLogger::setComponentWidth(uint32_t width) noexcept {
    if (width == 0) {
        return ERROR_INVALID_PARAMETER;
    }
    componentWidth_ = width;
    return ERROR_SUCCESS;
}

void BasicLogger::cachedSetting(std::string_view name, uint32_t &value, uint32_t defaultValue,
                                uint32_t maxAgeMilliseconds) {
    const uint32_t now = GetTickCount();
    if (const auto cached = cache_.find(name, now, maxAgeMilliseconds)) {
        value = *cached;
        return;
    }
    readSetting(std::string(name), value, defaultValue);
    cache_.store(name, value, now);
}

void BasicLogger::readSetting(const std::string &name, uint32_t &value, uint32_t defaultValue) {
    value = defaultValue;
    if (name == "startLog") {
        const ScopedHandle file(CreateFileA(path_.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        value = file.isOpen() ? logLevel::all : 0;
    }
}

void BasicLogger::write(const LoggerComponent &component, uint32_t level, const std::string &text) {
    write(component, level, text.c_str());
}

bool BasicLogger::isOn(std::string_view headerSetting, uint32_t defaultValue) {
    uint32_t value = 0;
    cachedSetting(headerSetting, value, defaultValue, settingMaxAgeMilliseconds);
    return value != 0;
}

void BasicLogger::write(const LoggerComponent &component, uint32_t level, const char *text) {
    const LastErrorKeeper lastError;
    ignoringLogFailures([&] {
        const bool hasTime = isOn("Clocktime_In_Header", 1);
        const bool hasProcessId = isOn("Proc_Id_In_Header", 0);
        const bool hasThreadId = isOn("Thread_Id_In_Header", 0);
        if (!lock_) {
            return;
        }
        const InterProcessLock lock(*lock_);
        LogHeader header;
        header.component = component.nameView();
        header.componentWidth = componentWidth_;
        header.depth = depthOfThread();
        if (hasTime) {
            header.time = localTime();
        }
        if (hasProcessId) {
            header.processId = GetCurrentProcessId();
        }
        if (hasThreadId) {
            header.threadId = GetCurrentThreadId();
        }
        MessageText line;
        line << linePrefix(component, level, text);
        composeHeader(line, header);
        line << text << lineSuffix(component, level, text) << "\r\n";
        append(line.view());
    });
}

void BasicLogger::append(std::string_view line) {
    if (!openLogFile(path_.c_str(), OPEN_EXISTING, security_.securityAttributes()).isOpen()) {
        onLogFileMissing();
    }
    const ScopedHandle file = openLogFile(path_.c_str(), OPEN_ALWAYS, security_.securityAttributes());
    if (!file.isOpen()) {
        return;
    }
    // Deliberately only the low half of the size: after 4 GiB the log continues at the start of the file.
    const DWORD end = GetFileSize(file.get(), nullptr);
    if (end == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) {
        return;
    }
    LONG high = 0;
    if (SetFilePointer(file.get(), static_cast<LONG>(end), &high, FILE_BEGIN) != end) {
        return; // losing this line is better than overwriting the first one
    }
    DWORD written = 0;
    WriteFile(file.get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

void BasicLogger::deleteLogFile() {
    if (lock_) {
        const InterProcessLock lock(*lock_);
        DeleteFileA(path_.c_str());
    }
}

int32_t BasicLogger::depthOfThread() {
    const std::lock_guard guard(depthSection_);
    return depths_[GetCurrentThreadId()];
}

void BasicLogger::indent() {
    const std::lock_guard guard(depthSection_);
    ++depths_[GetCurrentThreadId()];
}

void BasicLogger::unindent() {
    const std::lock_guard guard(depthSection_);
    --depths_[GetCurrentThreadId()];
}

void BasicLogger::forgetDepths() noexcept {
    const std::lock_guard guard(depthSection_);
    depths_.clear();
}

bool logEnabled(const LoggerComponent &component, uint32_t level) {
    if (instanceToAsk.load(std::memory_order_acquire) == nullptr) {
        return false;
    }
    const Settings settings(Localize::getInstance());
    return settings.keyPresent() && BasicLogger::getInstance().isEnabled(component, level);
}

} // namespace kal
