#include "tests/endurance/ScriptedService.h"

#include "tests/support/ExpectedResults.h"
#include "tests/support/RecordedService.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <unordered_map>

namespace kal::test {

namespace {

constexpr DWORD backOffMilliseconds = 2000;

std::optional<EntryPoint> entryPointNamed(std::string_view name) {
    static const auto numbers = [] {
        std::unordered_map<std::string_view, EntryPoint> all;
        for (size_t index = 0; index < entryPointNames().size(); ++index)
            all[entryPointNames()[index]] = static_cast<EntryPoint>(index);
        return all;
    }();
    const auto found = numbers.find(name);
    return found == numbers.end() ? std::nullopt : std::optional(found->second);
}

/// A draw of a call's own: which, of which entry point, for the how-manieth time.
uint64_t drawn(const CallContext &context, uint64_t purpose, EntryPoint entryPoint, uint8_t ordinal) {
    return mixed(context.seed ^ purpose << 32 ^ static_cast<uint64_t>(entryPoint) << 8 ^ ordinal);
}
enum Purpose : uint64_t { lookupDraw = 1, codeDraw, contentDraw, mannerDraw, callbackDraw };

bool isLifecycle(EntryPoint entryPoint) {
    return entryPoint == EntryPoint::OrxInitialize || entryPoint == EntryPoint::OrxUninitialize ||
           entryPoint == EntryPoint::OrxGetClientId;
}

template <class Type>
Type *pointer(uint64_t argument) {
    return reinterpret_cast<Type *>(static_cast<uintptr_t>(argument));
}

struct StartedThread {
    unsigned(__stdcall *start)(void *);
    void *argument;
    CallContext *context;
};

/// A worker of the library stands for the caller that waits for it.
unsigned __stdcall runWithContext(void *argument) {
    const std::unique_ptr<StartedThread> thread(static_cast<StartedThread *>(argument));
    CallContext::current() = thread->context;
    return thread->start(thread->argument);
}

} // namespace

void CallContext::begin(uint64_t newSeed, bool calm) {
    seed = newSeed;
    isCalm = calm;
    callbackDepth = 0;
    pauses = 0;
    strangeReply = 0;
    events.clear();
    lookups.fill(0);
    calls.fill(0);
}

CallContext *&CallContext::current() {
    static thread_local CallContext *context = nullptr;
    return context;
}

// ------------------------------------------------------------------------------------------------ service threads

ServiceThreads::~ServiceThreads() {
    {
        const std::lock_guard guard(lock_);
        isEnding_ = true;
    }
    changed_.notify_all();
    for (std::thread &thread : threads_)
        thread.join();
}

void ServiceThreads::runAndWait(const std::function<void()> &work) {
    Task task = {&work, CallContext::current(), false};
    std::unique_lock guard(lock_);
    tasks_.push_back(&task); // cppcheck-suppress danglingLifetime ; a thread takes it out before this function returns
    if (idle_ < tasks_.size()) {
        ++idle_;
        threads_.emplace_back([this] { serve(); });
    }
    changed_.notify_all();
    changed_.wait(guard, [&] { return task.isDone; });
}

void ServiceThreads::serve() {
    std::unique_lock guard(lock_);
    for (;;) {
        changed_.wait(guard, [this] { return isEnding_ || !tasks_.empty(); });
        if (tasks_.empty())
            return;
        Task &task = *tasks_.back();
        tasks_.pop_back();
        --idle_;
        guard.unlock();
        CallContext::current() = task.context;
        (*task.work)();
        CallContext::current() = nullptr;
        guard.lock();
        ++idle_;
        task.isDone = true;
        changed_.notify_all();
    }
}

// -------------------------------------------------------------------------------------------------------- service

const ServiceHost ScriptedService::host = {&ScriptedService::attached, &ScriptedService::detached,
                                           &ScriptedService::called};
ScriptedService *ScriptedService::instance = nullptr;

ScriptedService::ScriptedService()
    : getProcAddress_(GetModuleHandleA("kalclient.dll"),
                      [this](HMODULE module, LPCSTR name) { return lookUp(module, name); }),
      loadLibrary_(GetModuleHandleA("kalclient.dll"),
                   [this](LPCSTR name) {
                       const HMODULE module = loadLibrary_.original(name);
                       if (module != nullptr && std::string_view(name).ends_with("comc.dll"))
                           ++held_;
                       return module;
                   }),
      freeLibrary_(GetModuleHandleA("kalclient.dll"),
                   [this](HMODULE module) {
                       // Asked before it is freed; a handle that is none of comc.dll's is mpr.dll's.
                       if (module == GetModuleHandleA("comc.dll"))
                           --held_;
                       return freeLibrary_.original(module);
                   }),
      sleep_(GetModuleHandleA("kalclient.dll"),
             [this](DWORD milliseconds) {
                 if (milliseconds == backOffMilliseconds && CallContext::current() != nullptr) {
                     ++CallContext::current()->pauses;
                     milliseconds = 0;
                 }
                 sleep_.original(milliseconds);
             }),
      beginThread_(GetModuleHandleA("kalclient.dll"), [this](void *security, unsigned stack, ThreadStart start,
                                                             void *argument, unsigned flags, unsigned *id) {
          auto thread = std::make_unique<StartedThread>(StartedThread{start, argument, CallContext::current()});
          return beginThread_.original(security, stack, &runWithContext, thread.release(), flags, id);
      }) {
    if (instance != nullptr)
        throw std::logic_error("only one ScriptedService at a time");
    instance = this;
    char text[64];
    std::snprintf(text, sizeof text, "%lx:%llx", GetCurrentProcessId(),
                  static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(&host)));
    SetEnvironmentVariableA(serviceHostVariable, text);
}

ScriptedService::~ScriptedService() {
    unpin();
    instance = nullptr;
}

void ScriptedService::pin() {
    if (pinned_ == nullptr)
        pinned_ = LoadLibraryA((programFolder() / "comc.dll").string().c_str());
}

void ScriptedService::unpin() {
    if (pinned_ != nullptr)
        FreeLibrary(pinned_);
    pinned_ = nullptr;
}

bool ScriptedService::mayBeMissing(EntryPoint entryPoint) const {
    return habits_.closeMayBeMissing || entryPoint != EntryPoint::OrxClosePrinter;
}

FARPROC ScriptedService::lookUp(HMODULE module, LPCSTR name) {
    const auto entryPoint = entryPointNamed(name);
    CallContext *const context = CallContext::current();
    if (entryPoint && context != nullptr && !context->isCalm && mayBeMissing(*entryPoint)) {
        const uint8_t ordinal = context->lookups[static_cast<size_t>(*entryPoint)]++;
        if (drawn(*context, lookupDraw, *entryPoint, ordinal) % 60 == 0) {
            if (context->callbackDepth == 0)
                context->events.push_back({*entryPoint, true, entryPointMissing, 0, 0});
            SetLastError(ERROR_PROC_NOT_FOUND);
            return nullptr;
        }
    }
    return getProcAddress_.original(module, name);
}

uint32_t ScriptedService::called(EntryPoint entryPoint, const uint64_t *arguments) {
    ++instance->calls_;
    CallContext *const context = CallContext::current();
    if (context == nullptr) {
        ++instance->strangers_; // nobody's call: the library has a thread of its own
        return 0;
    }
    return instance->answer(entryPoint, arguments, *context);
}

uint32_t ScriptedService::answer(EntryPoint entryPoint, const uint64_t *arguments, CallContext &context) {
    const uint8_t ordinal = context.calls[static_cast<size_t>(entryPoint)]++;
    uint32_t code = 0;
    if (!context.isCalm) {
        const uint64_t draw = drawn(context, codeDraw, entryPoint, ordinal);
        const bool fails = draw % 100 < (isLifecycle(entryPoint) ? 4 : 30);
        code = fails ? serviceCodes[1 + (draw >> 32) % (std::size(serviceCodes) - 1)] : 0;
    }
    const bool isRecorded = context.callbackDepth == 0;
    const size_t event = context.events.size();
    if (isRecorded)
        context.events.push_back({entryPoint, false, code, static_cast<uint32_t>(arguments[0]), 0});

    const uint64_t manner = drawn(context, mannerDraw, entryPoint, ordinal) % 64;
    if (!context.isCalm && manner == 0)
        Sleep(1);
    if (!context.isCalm && isRecorded && (manner == 1 || manner == 2)) {
        const uint64_t draw = drawn(context, callbackDraw, entryPoint, ordinal);
        ++context.callbackDepth;
        threads_.runAndWait([&] {
            const uint32_t reply = callBack(draw);
            if (reply != ERROR_SUCCESS && reply != ERROR_INVALID_FUNCTION && reply != ERROR_INVALID_PARAMETER)
                context.strangeReply = reply;
        });
        --context.callbackDepth;
    }
    if (code == 0) {
        const uint32_t told = fulfil(entryPoint, arguments, context, drawn(context, contentDraw, entryPoint, ordinal));
        if (isRecorded)
            context.events[event].told = told;
    }
    return code;
}

/// What a success brings. @return what the event keeps of it
uint32_t ScriptedService::fulfil(EntryPoint entryPoint, const uint64_t *arguments, CallContext &context,
                                 uint64_t wideDraw) {
    const auto draw = static_cast<uint32_t>(wideDraw);
    const bool isOdd = wideDraw >> 63 != 0;
    switch (entryPoint) {
    case EntryPoint::OrxGetClientId: {
        constexpr uint32_t idsInUse = 64; // the library remembers a window for each, so they must not grow for ever
        const uint32_t id = 1 + clientIds_++ % idsInUse;
        *pointer<uint32_t>(arguments[0]) = id;
        return id;
    }
    case EntryPoint::OrxRegisterForAlertsPrinter:
        alertCallback_ = pointer<uint32_t(uint32_t, const uint8_t *, uint32_t)>(arguments[3]);
        return 0;
    case EntryPoint::OrxRegisterForNotificationsPrinter:
        notificationCallback_ =
            pointer<uint32_t(uint32_t, uint32_t, uint32_t, const uint32_t *, void *, void *)>(arguments[3]);
        return 0;
    case EntryPoint::OrxGetStringPrinter: {
        const std::string_view descriptor = pointer<const char>(arguments[2]);
        std::string text = "PORT" + std::to_string(draw % 1000);
        uint32_t told = 0;
        if (descriptor.find("<Name>Transport<") != std::string_view::npos) {
            told = draw % std::size(transportNames);
            text = transportNames[told].text;
        } else if (descriptor.find("<Name>Device<") != std::string_view::npos) {
            constexpr const char *devices[] = {"CpdPrinter", "BpdPrinter", "OtherDevice"};
            text = devices[draw % 3];
            text.resize(std::min<size_t>(text.size(), static_cast<uint32_t>(arguments[4]) - 1));
        }
        std::memcpy(pointer<char>(arguments[3]), text.c_str(), text.size() + 1);
        *pointer<uint32_t>(arguments[5]) = static_cast<uint32_t>(text.size() + 1);
        return told;
    }
    case EntryPoint::OrxGetByteArrayPrinter:
        std::memset(pointer<char>(arguments[3]), 0x5A, static_cast<uint32_t>(arguments[4]));
        *pointer<uint32_t>(arguments[5]) = static_cast<uint32_t>(arguments[4]);
        return 0;
    case EntryPoint::OrxEnumSpecificPrinter:
        return *pointer<uint32_t>(arguments[2]) = 0x6000 + draw % 16;
    case EntryPoint::OrxEnumPrinters: {
        const uint32_t found = draw % 4;
        auto *const callback = pointer<uint32_t(uint32_t)>(arguments[3]);
        const auto report = [&] {
            for (uint32_t number = 0; number < found; ++number)
                callback(0x6000 + number);
        };
        wideDraw >> 60 == 0 && !context.isCalm ? threads_.runAndWait(report) : report();
        return found;
    }
    case EntryPoint::OrxWritePrinter: {
        const auto offered = static_cast<uint32_t>(arguments[3]);
        return *pointer<uint32_t>(arguments[4]) = draw % 4 == 0 ? draw % (offered + 1) : offered;
    }
    case EntryPoint::OrxExchangeBidiPrinter: {
        const uint32_t length = std::min<uint32_t>(draw % 40, static_cast<uint32_t>(arguments[5]));
        std::memset(pointer<char>(arguments[4]), 0xB1, length);
        return *pointer<uint32_t>(arguments[6]) = length;
    }
    case EntryPoint::OrxGetCachePrinter: {
        const uint32_t length = std::min<uint32_t>(draw % 64, static_cast<uint32_t>(arguments[3]));
        std::memset(pointer<char>(arguments[2]), isOdd ? 0xA5 : 0x11, length);
        *pointer<uint32_t>(arguments[4]) = length;
        return length | (isOdd && length >= 8 ? 0x10000u : 0u); // with a head that is dropped
    }
    case EntryPoint::OrxGetCurrentStatePrinter:
        return *pointer<uint32_t>(arguments[2]) = draw % 5;
    default:
        return 0;
    }
}

uint32_t ScriptedService::callBack(uint64_t wideDraw) {
    ++callbacks_;
    const auto draw = static_cast<uint32_t>(wideDraw);
    const uint32_t handle = 0x6000 + draw % 16;
    const OrxAlertCallback alert = alertCallback_;
    const OrxNotificationCallback notification = notificationCallback_;
    if (alert != nullptr && (draw >> 8) % 2 == 0) {
        static const uint8_t alerts[][24] = {
            {0xA5, 0, 0, 0, 0xFF, 1, 0, 0},                      // power-on reset
            {0xA5, 0, 0, 0, 0xF0, 0x73, 1, 1, 0x10, 1, 0x10, 0}, // status; an extended alert otherwise
            {0xA5, 0, 0, 0, 0xF0, 0x73, 0, 0, 0, 0, 2},          // warning
            {0xA5, 0, 0, 0, 0xF0, 0x03, 0x80, 1},                // toner prediction
            {0xA5, 0, 0, 0, 0xF0, 0x44},
            {0x11, 0x22, 0x33, 0x44, 0x55}, // nothing known
        };
        const auto &bytes = alerts[(draw >> 16) % std::size(alerts)];
        return alert(handle, bytes,
                     static_cast<uint32_t>((draw >> 24) % 4 == 0 ? (wideDraw >> 32) % sizeof bytes : sizeof bytes));
    }
    if (notification != nullptr) {
        const uint32_t flag = 1;
        return notification(handle, ORX_NOTIFICATION_CATEGORY_PRINTER, (draw >> 16) % 10,
                            (draw >> 24) % 2 == 0 ? &flag : nullptr, nullptr, nullptr);
    }
    return ERROR_SUCCESS;
}

} // namespace kal::test
