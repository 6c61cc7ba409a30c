// comc-recorder.dll: calls the real library and the client's functions for the spy, and records the calls. Neither side
// may notice it: results, buffers, exceptions and the thread's last error are passed unchanged, and a failure of the
// recording is reported to the debugger only.
#include "recording/ProcessCapture.h"
#include "spy/CallbackRelay.h"
#include "spy/RecordFile.h"
#include "spy/RecorderInterface.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <optional>
#include <utility>

namespace {

using namespace spy;

/// A call or callback that the thread is in; they can be nested.
struct Active {
    uint64_t number;
    const Active *outer;
};

/// Restores the thread's last error, which belongs to the caller.
class KeptLastError {
  public:
    KeptLastError() noexcept : code_(GetLastError()) {}
    ~KeptLastError() { SetLastError(code_); }
    KeptLastError(const KeptLastError &) = delete;
    KeptLastError &operator=(const KeptLastError &) = delete;
    [[nodiscard]] DWORD code() const noexcept { return code_; }

  private:
    DWORD code_;
};

/// While the process exits, a terminated thread may still own the lock; acquire() then does not wait.
class ProcessLock {
  public:
    [[nodiscard]] bool acquire() noexcept {
        if (TryAcquireSRWLockExclusive(&lock_) != 0) {
            return true;
        }
        if (isProcessEnding()) {
            return false;
        }
        AcquireSRWLockExclusive(&lock_);
        return true;
    }
    void release() noexcept { ReleaseSRWLockExclusive(&lock_); }

  private:
    static bool isProcessEnding() noexcept {
        using Ask = BOOLEAN WINAPI();
        static auto *const ask = reinterpret_cast<Ask *>(
            reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress")));
        return ask != nullptr && ask() != 0;
    }

    SRWLOCK lock_ = SRWLOCK_INIT;
};

class Recorder {
  public:
    explicit Recorder(HMODULE self)
        : settings_(readSpySettings(self)),
          file_(settings_), host_{recording::readableBytes, recording::newSha256, numberOf},
          capture(host_, settings_.redacts) {}

    [[nodiscard]] bool isRecording() const noexcept { return !file_.hasFailed(); }
    [[nodiscard]] uint64_t newNumber() noexcept { return static_cast<uint64_t>(InterlockedIncrement64(&lastNumber_)); }

    void setService(HMODULE service) { serviceFile_ = moduleFile(service); }

    /// Sets time and thread under the lock, so that lines are in the order of their times.
    void write(recording::RecordEvent event) {
        if (!lock_.acquire()) {
            return;
        }
        try {
            event.time = recordingTime();
            event.thread = GetCurrentThreadId();
            file_.write(recording::composeLine(event), serviceFile_);
        } catch (const std::exception &) {
            file_.fail("there is no memory for the recording");
        }
        lock_.release();
    }

    [[nodiscard]] const Active *active() const noexcept { return static_cast<const Active *>(TlsGetValue(active_)); }
    void setActive(const Active *active) noexcept { TlsSetValue(active_, const_cast<Active *>(active)); }

    [[nodiscard]] recording::PieceSink piecesOf(uint64_t number, bool isOutput) {
        return [this, number, isOutput](std::string_view argument, uint64_t offset, std::string hex) {
            recording::RecordEvent event;
            event.kind = recording::EventKind::bytes;
            event.number = number;
            event.argument = argument;
            event.isOutput = isOutput;
            event.offset = offset;
            event.hex = std::move(hex);
            write(std::move(event));
        };
    }

  private:
    static uint32_t numberOf(uint64_t address, comc::ArgumentKind kind) { return relayFor(address, kind).number; }

    const SpySettings settings_;
    RecordFile file_;          // guarded by the lock
    std::wstring serviceFile_; // written under the loader lock
    ProcessLock lock_;
    volatile LONG64 lastNumber_ = 0;
    const DWORD active_ = TlsAlloc();
    const recording::CaptureHost host_;

  public:
    const recording::Capture capture;
};

/// Null if there was no memory for it. Never destroyed, because the service may be called until the process exits.
Recorder *recorder = nullptr;

/// Runs one step of the recording and keeps the last error. If there is no memory, the step's line is missing.
template <class Step>
void quietly(Step step) noexcept {
    const KeptLastError lastError;
    if (recorder == nullptr || !recorder->isRecording()) {
        return;
    }
    try {
        step(*recorder);
    } catch (const std::exception &) {
        OutputDebugStringA("comc.dll spy: there is no memory for a line of the recording\n");
    }
}

/// One call through the spy, in either direction. Writes its two lines, and is the thread's active call between them.
class Exchange {
  public:
    Exchange(const Exchange &) = delete;
    Exchange &operator=(const Exchange &) = delete;

    ~Exchange() {
        if (isBegun_) { // an exception was thrown, or there was no memory for the outputs
            quietly([&](Recorder &) { finish(); });
        }
    }

  protected:
    Exchange() = default;

    [[nodiscard]] recording::RecordEvent newEvent(recording::EventKind kind) {
        active_ = {recorder->newNumber(), recorder->active()};
        recording::RecordEvent event;
        event.kind = kind;
        event.number = active_.number;
        if (active_.outer != nullptr) {
            event.within = active_.outer->number;
        }
        return event;
    }

    void begin(recording::RecordEvent event, recording::EventKind endKind) {
        end_.kind = endKind;
        end_.number = event.number;
        end_.entryPoint = event.entryPoint;
        end_.raised = true; // until the function has returned
        recorder->setActive(&active_);
        isBegun_ = true;
        recorder->write(std::move(event));
    }

    void answered(uint32_t result) noexcept {
        end_.raised = false;
        end_.result = result;
    }

    void finish() {
        isBegun_ = false;
        recorder->setActive(active_.outer);
        recorder->write(std::move(end_));
    }

    [[nodiscard]] recording::PieceSink pieces(bool isOutput) const {
        return recorder->piecesOf(active_.number, isOutput);
    }

    recording::RecordEvent end_;

  private:
    Active active_{0, nullptr};
    bool isBegun_ = false;
};

class CallExchange : public Exchange {
  public:
    CallExchange(const comc::EntryPoint &entryPoint, const recording::Words &words) : entryPoint_(entryPoint) {
        auto event = newEvent(recording::EventKind::call);
        event.entryPoint = entryPoint_.name;
        event.values = recorder->capture.arguments(entryPoint_, words, pieces(false));
        before_.emplace(recorder->capture, entryPoint_, words);
        begin(std::move(event), recording::EventKind::callReturn);
    }

    void returned(const recording::Words &words, uint32_t result, DWORD lastError) {
        answered(result);
        if (result != 0) {
            end_.lastError = lastError;
        }
        end_.values = recorder->capture.outputs(entryPoint_, words, *before_, result == 0, pieces(true));
        finish();
    }

  private:
    const comc::EntryPoint &entryPoint_;
    std::optional<recording::Capture::Before> before_;
};

class CallbackExchange : public Exchange {
  public:
    CallbackExchange(uint32_t number, comc::ArgumentKind kind, const recording::Words &words) {
        auto event = newEvent(recording::EventKind::callback);
        event.callback = number;
        event.callbackKind = comc::callbackName(kind);
        event.values = recorder->capture.callbackArguments(kind, words, pieces(false));
        begin(std::move(event), recording::EventKind::callbackReturn);
    }

    void returned(uint32_t result) {
        answered(result);
        finish();
    }
};

uint64_t callWith(AnyFunction *function, const recording::Words &words) {
    return function(words[0], words[1], words[2], words[3], words[4], words[5], words[6], words[7]);
}

/// Replaces the client's callbacks with relays.
void putRelays(const comc::EntryPoint &entryPoint, recording::Words &words) noexcept {
    const auto arguments = entryPoint.arguments();
    for (size_t index = 0; index < arguments.size(); ++index) {
        const auto kind = arguments[index].kind;
        if (comc::isCallback(kind) && words[index] != 0) {
            if (auto *const relay = relayFor(words[index], kind).relay) {
                words[index] = reinterpret_cast<uintptr_t>(relay);
            }
        }
    }
}

void loaded(HMODULE service, AnyFunction *const *functions) noexcept {
    quietly([&](Recorder &recording) {
        recording.setService(service);
        recording::RecordEvent event;
        event.kind = recording::EventKind::load;
        event.number = recording.newNumber();
        event.values = recording::Json::array();
        for (size_t index = 0; index < comc::entryPointCount; ++index) {
            if (functions[index] == nullptr) {
                event.values.push_back(comc::entryPoints()[index].name);
            }
        }
        recording.write(std::move(event));
    });
}

void unloading() noexcept {
    quietly([](Recorder &recording) {
        recording::RecordEvent event;
        event.kind = recording::EventKind::unload;
        event.number = recording.newNumber();
        recording.write(std::move(event));
    });
}

uint64_t forward(uint32_t index, AnyFunction *function, const uint64_t *arguments) {
    recording::Words words;
    std::copy_n(arguments, words.size(), words.begin());
    std::optional<CallExchange> exchange;
    quietly([&](Recorder &) {
        const auto &entryPoint = comc::entryPoints()[index];
        exchange.emplace(entryPoint, words);
        putRelays(entryPoint, words);
    });
    const auto result = callWith(function, words);
    if (exchange) {
        const auto lastError = GetLastError();
        quietly([&](Recorder &) { exchange->returned(words, static_cast<uint32_t>(result), lastError); });
    }
    return result;
}

constexpr RecorderInterface table{sizeof(RecorderInterface), loaded, unloading, forward};

} // namespace

uint64_t spy::relayCallback(uint32_t number, comc::ArgumentKind kind, AnyFunction *function,
                            const uint64_t (&arguments)[comc::mostWords]) {
    recording::Words words;
    std::copy_n(arguments, words.size(), words.begin());
    std::optional<CallbackExchange> exchange;
    quietly([&](Recorder &) { exchange.emplace(number, kind, words); });
    const auto result = callWith(function, words);
    if (exchange) {
        quietly([&](Recorder &) { exchange->returned(static_cast<uint32_t>(result)); });
    }
    return result;
}

/// Called by each load of the spy, under the loader lock. The first call pins this library.
extern "C" __declspec(dllexport) const RecorderInterface *spyRecorder() {
    if (recorder == nullptr) {
        HMODULE pinned = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<LPCWSTR>(&spyRecorder), &pinned);
        try {
            recorder = std::make_unique<Recorder>(pinned).release(); // never freed
        } catch (const std::exception &) {
            return nullptr;
        }
    }
    return &table;
}
