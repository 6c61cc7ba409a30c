#include "bench/FloorWork.h"

#include <process.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace bench {

namespace {

constexpr const char *transport = "<Name>Transport</Name><Type>String</Type><Access>ReadOnly</Access>";
constexpr const char *device = "<Name>Device</Name><Type>String</Type><Access>ReadOnly</Access>";
constexpr const char *portName = "<Name>Portname</Name><Type>String</Type><Access>Writeable</Access>";

/// Two or more digits of a time, as the log has them.
char *digits(char *at, uint32_t number, int width) {
    for (int position = width; position-- > 0; number /= 10) {
        at[position] = static_cast<char>('0' + number % 10);
    }
    return at + width;
}

} // namespace

FloorWork *FloorWork::current_ = nullptr;

FloorWork::FloorWork(const BenchLibrary &library, LogState state)
    : state_(state), key_(library.settingsKey() + "\\"), logPath_(library.logPath()),
      service_(LoadLibraryA("comc.dll")), logLock_(CreateMutexA(nullptr, FALSE, "floor's log")),
      alertIdLock_(CreateMutexA(nullptr, FALSE, nullptr)) {
    if (service_ == nullptr || logLock_ == nullptr || alertIdLock_ == nullptr) {
        throw std::runtime_error("the floor cannot be laid");
    }
    InitializeCriticalSection(&registrations_);
    InitializeCriticalSection(&loads_);
    InitializeCriticalSection(&identifiers_);
    InitializeCriticalSection(&handles_);
    InitializeCriticalSection(&depths_);
    current_ = this;
}

FloorWork::~FloorWork() {
    DeleteCriticalSection(&registrations_);
    DeleteCriticalSection(&loads_);
    DeleteCriticalSection(&identifiers_);
    DeleteCriticalSection(&handles_);
    DeleteCriticalSection(&depths_);
    CloseHandle(alertIdLock_);
    CloseHandle(logLock_);
    for (const StoredAlert &each : alerts_) {
        std::free(each.object);
        std::free(each.bytes);
    }
    while (threads_ != nullptr) {
        std::free(std::exchange(threads_, threads_->next));
    }
    FreeLibrary(service_);
    current_ = nullptr;
}

bool FloorWork::levelTest() {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, key_.c_str(), 0, 31 | KEY_WOW64_64KEY, &key) != ERROR_SUCCESS) {
        return false;
    }
    for (int settings = state_ == LogState::on ? 3 : 1; settings > 0; --settings) {
        static_cast<void>(GetTickCount());
    }
    RegCloseKey(key);
    return state_ == LogState::on;
}

void FloorWork::traceTest() {
    for (int settings = state_ == LogState::on ? 3 : 1; settings > 0; --settings) {
        static_cast<void>(GetTickCount());
    }
}

HANDLE FloorWork::openLog(DWORD disposition) {
    return CreateFileA(logPath_.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       security_.securityAttributes(), disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

void FloorWork::line(std::initializer_list<std::string_view> pieces) {
    const DWORD lastError = GetLastError();
    static_cast<void>(GetTickCount());
    static_cast<void>(GetTickCount());
    static_cast<void>(GetTickCount());
    WaitForSingleObject(logLock_, INFINITE);
    static_cast<void>(GetCurrentThreadId());
    lockPair(depths_);
    SYSTEMTIME time;
    GetLocalTime(&time);
    char composed[1024];
    char *at = digits(composed, time.wYear, 4);
    *at++ = '/';
    at = digits(at, time.wMonth, 2);
    *at++ = '/';
    at = digits(at, time.wDay, 2);
    *at++ = '-';
    at = digits(at, time.wHour, 2);
    *at++ = ':';
    at = digits(at, time.wMinute, 2);
    *at++ = ':';
    at = digits(at, time.wSecond, 2);
    *at++ = '.';
    at = digits(at, time.wMilliseconds, 3);
    std::memcpy(at, " LegacyClient    ", 17);
    at += 17;
    std::memset(at, ' ', static_cast<size_t>(depth_));
    at += depth_;
    for (const std::string_view piece : pieces) {
        at = std::ranges::copy(piece, at).out;
    }
    *at++ = '\r';
    *at++ = '\n';
    CloseHandle(openLog(OPEN_EXISTING));
    const HANDLE file = openLog(OPEN_ALWAYS);
    LONG high = 0;
    SetFilePointer(file, static_cast<LONG>(GetFileSize(file, nullptr)), &high, FILE_BEGIN);
    DWORD written = 0;
    WriteFile(file, composed, static_cast<DWORD>(at - composed), &written, nullptr);
    CloseHandle(file);
    static_cast<void>(GetCurrentThreadId());
    static_cast<void>(GetCurrentThreadId());
    ReleaseMutex(logLock_);
    SetLastError(lastError);
}

void FloorWork::message(std::string_view text) {
    if (levelTest()) {
        line({text});
    }
}

std::string FloorWork::enter(std::string_view text) {
    std::string description;
    if (levelTest()) {
        description = text;
    }
    traceTest();
    if (state_ == LogState::on) {
        line({"+", description});
        static_cast<void>(GetCurrentThreadId());
        lockPair(depths_);
        ++depth_;
    }
    return description;
}

void FloorWork::leave(const std::string &description, std::string_view result) {
    if (state_ == LogState::on) {
        const std::string kept(result);
        static_cast<void>(GetCurrentThreadId());
        lockPair(depths_);
        --depth_;
        line({"-", description, kept.empty() ? "" : " rc=", kept});
    }
}

void FloorWork::firstDepthOfThread() {
    if (state_ == LogState::on) {
        auto *const entry = static_cast<ThreadDepth *>(std::malloc(sizeof(ThreadDepth)));
        *entry = {threads_, {}};
        threads_ = entry;
    }
}

void FloorWork::lockPair(CRITICAL_SECTION &section) {
    EnterCriticalSection(&section);
    LeaveCriticalSection(&section);
}

void FloorWork::takeReferences() {
    lockPair(loads_);
    lockPair(identifiers_);
}

void FloorWork::giveBack() {
    lockPair(identifiers_);
    lockPair(loads_);
}

void FloorWork::serviceOpen(uint16_t handle) {
    takeReferences();
    entryPoint<uint32_t(uint32_t, uint32_t)>("OrxOpenPrinter")(7, handle);
    lockPair(handles_);
}

void FloorWork::serviceClose(uint16_t handle) {
    lockPair(handles_);
    entryPoint<uint32_t(uint32_t, uint32_t)>("OrxClosePrinter")(7, handle);
    lockPair(handles_);
    giveBack();
}

namespace {

struct OpenRecord {
    FloorWork *floor;
    uint16_t handle;
};

struct StartRecord {
    OpenRecord *argument;
    HANDLE started;
};

} // namespace

unsigned __stdcall FloorWork::openOnThread(void *argument) {
    const StartRecord start = *static_cast<StartRecord *>(argument);
    SetEvent(start.started);
    FloorWork &floor = *start.argument->floor;
    floor.firstDepthOfThread();
    const std::string description = floor.enter("KalOpenRunnable()");
    floor.serviceOpen(start.argument->handle);
    floor.leave(description);
    return 0;
}

void FloorWork::open(uint16_t handle) {
    const std::string description = enter("KalOpen() handle =3");
    auto *const record = static_cast<OpenRecord *>(std::malloc(sizeof(OpenRecord)));
    *record = {this, handle};
    auto *const start = static_cast<StartRecord *>(std::malloc(sizeof(StartRecord)));
    const HANDLE started = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    *start = {record, started};
    const HANDLE thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 4096, openOnThread, start, 0, nullptr));
    SetThreadPriority(thread, THREAD_PRIORITY_NORMAL);
    WaitForSingleObject(started, INFINITE);
    CloseHandle(started);
    WaitForSingleObject(thread, INFINITE);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    std::free(start);
    std::free(record);
    leave(description, "0");
}

void FloorWork::close(uint16_t handle) {
    const std::string description = enter("KalClose() handle=3");
    serviceClose(handle);
    leave(description, "KAL_OKAY");
}

void FloorWork::startDoc(uint16_t handle) {
    const std::string description = enter("KalStartDoc()  handle=3");
    lockPair(handles_);
    entryPoint<uint32_t(uint32_t, uint32_t, uint32_t, const char *, const char *, const char *, const char *)>(
        "OrxStartJobPrinter")(7, handle, 0, "", "", "document", "");
    leave(description, "KAL_OKAY");
}

void FloorWork::endDoc(uint16_t handle) {
    const std::string description = enter("KalEndDoc() handle=3");
    lockPair(handles_);
    entryPoint<uint32_t(uint32_t, uint32_t)>("OrxEndJobPrinter")(7, handle);
    leave(description, "KAL_OKAY");
}

void FloorWork::write(uint16_t handle, const void *data, uint32_t byteCount) {
    const std::string description = enter("KalWrite() handle=3 byteCount=4096 totalByteCount=123456789");
    lockPair(handles_);
    uint32_t written = 0;
    entryPoint<uint32_t(uint32_t, uint32_t, const void *, uint32_t, uint32_t *)>("OrxWritePrinter")(
        7, handle, data, byteCount, &written);
    leave(description, "0, bytesWritten=4096");
}

void FloorWork::sendBidi(uint16_t handle, const uint8_t *request, uint32_t length) {
    const std::string description = enter("KalSendBidi() handle=3 function=1");
    message("sending A5 00 03 50 04 00");
    serviceOpen(handle);
    lockPair(handles_);
    uint8_t response[64];
    uint32_t returned = 0;
    entryPoint<uint32_t(uint32_t, uint32_t, const void *, uint32_t, void *, uint32_t, uint32_t *)>(
        "OrxExchangeBidiPrinter")(7, handle, request, length, response, sizeof response, &returned);
    serviceClose(handle);
    std::memmove(response, response + 5, returned - 5);
    leave(description, "KAL_OKAY, response=5A 5A 5A 5A 5A 5A 5A 5A 5A 5A 5A");
}

void FloorWork::readString(uint32_t handle, const char *descriptor, char *buffer, uint32_t size) {
    std::memset(buffer, 0, size);
    uint32_t length = 0;
    takeReferences();
    entryPoint<uint32_t(uint32_t, uint32_t, const char *, char *, uint32_t, uint32_t *)>("OrxGetStringPrinter")(
        7, handle, descriptor, buffer, size, &length);
    giveBack();
}

uint32_t FloorWork::foundPrinter(uint32_t handle) {
    FloorWork &floor = *current_;
    floor.message("KalEnumPrintersCallback");
    char room[260];
    floor.readString(handle, transport, room, 256);
    floor.readString(handle, portName, room, 260);
    char kind[11];
    floor.readString(handle, device, kind, sizeof kind);
    PortInfoRecord record = {};
    std::memcpy(record.portName, room, 7);
    std::memcpy(record.secondName, room, 7);
    floor.message("Just before callback");
    if (floor.callback_ != nullptr) {
        floor.callback_(&record);
    }
    floor.message("Just after callback");
    return record.handle;
}

void FloorWork::enumPrinters() {
    const std::string description = enter("KalEnumPrinters");
    takeReferences();
    entryPoint<uint32_t(uint32_t, const char *, const char *, OrxEnumCallback)>("OrxEnumPrinters")(7, "USB1", nullptr,
                                                                                                   foundPrinter);
    giveBack();
    leave(description, "KAL_OKAY");
}

void FloorWork::setClientName(const char *name) {
    message("KalSetClientName was called");
    lockPair(registrations_);
    std::memcpy(clientName_, name, strnlen(name, sizeof clientName_));
}

void FloorWork::alert(HWND window, uint16_t handle, const uint8_t *bytes, uint32_t length) {
    message(
        "KalAlertCallback() handle=3, Alert=A5 00 15 00 F0 73 00 00 00 00 02 00 00 00 00 00 00 00 00 00 00 00 00 00");
    lockPair(handles_); // the window's map
    char kind[20];
    readString(handle, device, kind, sizeof kind);
    message("statusWindowAlert");
    message("Alert message = WM_KAL_WARNINGSEX");
    message("true");
    void *const alertObject = std::malloc(64);
    void *const alertBytes = std::malloc(length);
    std::memcpy(alertBytes, bytes, length);
    std::memmove(alertBytes, static_cast<uint8_t *>(alertBytes) + 5, length - 5);
    WaitForSingleObject(alertIdLock_, INFINITE);
    static_cast<void>(GetCurrentThreadId());
    static_cast<void>(GetCurrentThreadId());
    ReleaseMutex(alertIdLock_);
    lockPair(handles_); // the store
    StoredAlert &place = alerts_[nextAlertId_++];
    std::free(place.object);
    std::free(place.bytes);
    place = {alertObject, alertBytes};
    PostMessageA(window, WM_KAL_WARNINGSEX, 3, 0);
}

} // namespace bench
