#include "simulator/replay/Replay.h"

#include "comc/comc.h"
#include "platform/ExportTable.h"
#include "recording/ProcessCapture.h"
#include "simulator/Log.h"
#include "simulator/configuration/ConfigurationFile.h"
#include "simulator/replay/ReplayPlan.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace simulator {

namespace {

using comc::ArgumentKind;
using comc::EntryPoint;
using recording::Json;
using recording::RecordedCall;
using recording::RecordedCallback;
using recording::Words;
using Clock = std::chrono::steady_clock;

/// Returned for calls that are not in the recording. Services do not return this code.
constexpr uint32_t noMatch = ERROR_NO_MATCH;

/// Limits the wait for callbacks: the client may hold a lock that its callback needs.
constexpr auto longestWait = std::chrono::seconds(2);

std::string shortened(std::string text) {
    constexpr size_t longest = 400;
    if (text.size() > longest) {
        text.resize(longest);
        text += " ...";
    }
    return text;
}

/// The recorded number with this name; 0 if there is none.
uint32_t numberOf(const Json &values, const std::string &name) {
    const auto found = values.find(name);
    return found != values.end() && found->is_number_unsigned() ? found->get<uint32_t>() : 0;
}

class Replay {
  public:
    Replay(recording::Recording recording, const std::filesystem::path &spool)
        : plan_(std::move(recording)),
          log_(spool / "simulator.log"), host_{recording::readableBytes, recording::newSha256,
                                               [](uint64_t, ArgumentKind) { return 1u; }},
          capture_(host_, plan_.header().redacted) {}

    [[nodiscard]] const ReplayPlan &plan() const noexcept { return plan_; }

    uint32_t answer(const EntryPoint &entryPoint, const Words &words) {
        const std::string name(entryPoint.name);
        const auto arguments = capture_.arguments(entryPoint, words, [](auto, auto, const auto &) {});
        std::unique_lock hold(lock_);
        const auto *const call = plan_.take(name, arguments);
        if (call == nullptr) {
            const bool isKnown = plan_.knows(name, arguments);
            tell((isKnown ? "was not made so often in the recording: " : "is not in the recording: ") + name,
                 arguments);
            return noMatch;
        }
        noteFunctions(entryPoint, *call, words);
        waitForCallbacks(hold, call->beginPlace);
        happened_[{call, false}] = Clock::now();
        changed_.notify_all();
        startThread();
        hold.unlock();
        for (const auto *callback : plan_.callbacksWithin(*call)) {
            deliver(*callback);
        }
        hold.lock();
        happened_[{call, true}] = Clock::now();
        if (name == "OrxUninitialize") {
            functions_.clear(); // the service drops its registrations as well
        }
        changed_.notify_all();
        hold.unlock();
        if (!call->end || call->end->raised) {
            tell("has no answer in the recording: " + name, arguments);
            return noMatch;
        }
        handOut(entryPoint, *call, words);
        if (call->end->lastError) {
            SetLastError(*call->end->lastError);
        }
        return call->end->result;
    }

  private:
    void tell(const std::string &what, const Json &arguments) {
        log_.write("replay: the call " + what +
                   shortened(arguments.dump(-1, ' ', false, Json::error_handler_t::replace)) + ", answers " +
                   std::to_string(noMatch));
    }

    /// Stores the client's functions under their recorded numbers. The caller must hold the lock.
    void noteFunctions(const EntryPoint &entryPoint, const RecordedCall &call, const Words &words) {
        const auto arguments = entryPoint.arguments();
        for (size_t index = 0; index < arguments.size(); ++index) {
            const auto &argument = arguments[index];
            if (comc::isCallback(argument.kind) && words[index] != 0) {
                const auto recorded = call.begin.values.value(std::string(argument.name), Json::object());
                functions_[numberOf(recorded, "callback")] = words[index];
            }
        }
    }

    /// Waits until the unsolicited callbacks before this place were made. The caller must hold the lock.
    void waitForCallbacks(std::unique_lock<std::mutex> &hold, size_t place) {
        reached_ = std::max(reached_, place);
        changed_.notify_all();
        if (GetCurrentThreadId() == deliveryThread_) {
            return;
        }
        const auto isDone = [&] {
            const auto &all = plan_.callbacksByThemselves();
            return delivered_ == all.size() || all[delivered_].callback->endPlace >= place || functions_.empty();
        };
        changed_.wait_for(hold, longestWait, isDone);
    }

    /// The caller must hold the lock.
    void startThread() {
        if (deliveryThread_ == 0 && !plan_.callbacksByThemselves().empty()) {
            CloseHandle(CreateThread(nullptr, 0, &Replay::run, this, 0, &deliveryThread_));
        }
    }

    static DWORD WINAPI run(void *self) {
        static_cast<Replay *>(self)->deliverAll();
        return 0;
    }

    void deliverAll() {
        std::unique_lock hold(lock_);
        for (const auto &each : plan_.callbacksByThemselves()) {
            const auto isReached = [&] { return reached_ > each.callback->beginPlace; };
            const auto anchorTime = [&] { return happened_.find({each.anchor, each.isAfterReturn}); };
            changed_.wait(hold,
                          [&] { return isReached() || each.anchor == nullptr || anchorTime() != happened_.end(); });
            if (each.anchor != nullptr && anchorTime() != happened_.end()) {
                const auto due = anchorTime()->second + std::chrono::microseconds(each.delay);
                changed_.wait_until(hold, due, isReached);
            }
            hold.unlock();
            deliver(*each.callback);
            hold.lock();
            ++delivered_;
            changed_.notify_all();
        }
    }

    /// Calls the client with the recorded arguments.
    void deliver(const RecordedCallback &callback) {
        uint64_t address = 0;
        {
            const std::lock_guard hold(lock_);
            const auto found = functions_.find(callback.begin.callback);
            address = found == functions_.end() ? 0 : found->second;
        }
        const auto &values = callback.begin.values;
        if (address == 0) {
            log_.write("replay: nobody listens for the recorded " + callback.begin.callbackKind + " " +
                       shortened(values.dump()));
            return;
        }
        auto *const function = reinterpret_cast<void *>(static_cast<uintptr_t>(address));
        const auto handle = numberOf(values, "handle");
        if (callback.begin.callbackKind == comc::callbackName(ArgumentKind::enumCallback)) {
            reinterpret_cast<OrxEnumCallback>(function)(handle);
        } else if (callback.begin.callbackKind == comc::callbackName(ArgumentKind::alertCallback)) {
            const auto alert = bytesOf(values, "alert", callback.arguments);
            const auto length = numberOf(values, "length");
            reinterpret_cast<OrxAlertCallback>(function)(
                handle, alert ? reinterpret_cast<const uint8_t *>(alert->data()) : nullptr,
                alert ? std::min(length, static_cast<uint32_t>(alert->size())) : length); // chunks may be missing
        } else {
            const auto flag = numberOf(values, "endOfJobFlag");
            const bool hasFlag = values.contains("endOfJobFlag") && values["endOfJobFlag"].is_number();
            reinterpret_cast<OrxNotificationCallback>(function)(handle, numberOf(values, "category"),
                                                                numberOf(values, "notification"),
                                                                hasFlag ? &flag : nullptr, nullptr, nullptr);
        }
    }

    /// Bytes of a recorded buffer; zeros if they were redacted; nothing for a null pointer.
    static std::optional<std::string> bytesOf(const Json &values, const std::string &name,
                                              const std::map<std::string, std::string> &pieces) {
        const auto found = values.find(name);
        if (found == values.end() || !found->is_object()) {
            return std::nullopt;
        }
        if (found->contains("hex")) {
            return recording::bytesOf((*found)["hex"].get<std::string>());
        }
        const auto piece = pieces.find(name);
        return piece != pieces.end() ? piece->second : std::string(numberOf(*found, "length"), '\0');
    }

    static void handOut(const EntryPoint &entryPoint, const RecordedCall &call, const Words &words) {
        const auto &outputs = call.end->values;
        const auto arguments = entryPoint.arguments();
        for (size_t index = 0; index < arguments.size(); ++index) {
            const auto &argument = arguments[index];
            auto *const target = reinterpret_cast<void *>(static_cast<uintptr_t>(words[index]));
            const std::string name(argument.name);
            if (target == nullptr || !outputs.contains(name)) {
                continue;
            }
            if (argument.kind == ArgumentKind::outputNumber) {
                const auto number = numberOf(outputs, name);
                std::memcpy(target, &number, sizeof number);
            } else if (argument.kind == ArgumentKind::outputBytes) {
                const auto bytes = bytesOf(outputs, name, call.outputs).value_or("");
                const auto room = static_cast<uint32_t>(words[index + 1]);
                std::memcpy(target, bytes.data(), std::min<size_t>(bytes.size(), room));
            }
        }
    }

    ReplayPlan plan_;
    Log log_;
    const recording::CaptureHost host_;
    const recording::Capture capture_;

    std::mutex lock_; // guards taking calls from the plan, and the rest
    std::condition_variable changed_;
    std::map<std::pair<const RecordedCall *, bool>, Clock::time_point> happened_; // false: begun, true: returned
    std::map<uint32_t, uint64_t> functions_;                                      // by their recorded number
    size_t reached_ = 0;                                                          // place of the last call begun
    size_t delivered_ = 0;                                                        // number of unsolicited callbacks
    DWORD deliveryThread_ = 0;
};

/// Both are kept until the process exits.
Replay *replay = nullptr;
bool isBroken = false;

uint64_t answerFromRecording(comc::EntryPointIndex index, const Words &words) noexcept {
    if (isBroken) {
        // As with any unusable configuration: if the first call failed, clients would hide the cause.
        return index == comc::EntryPointIndex::OrxInitialize ? ERROR_SUCCESS : ERROR_INVALID_DATA;
    }
    try {
        return replay->answer(comc::entryPoints()[static_cast<size_t>(index)], words);
    } catch (const std::exception &) {
        return ERROR_GEN_FAILURE;
    }
}

template <comc::EntryPointIndex Index>
uint64_t replayed(uint64_t a0, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6,
                  uint64_t a7) {
    return answerFromRecording(Index, {a0, a1, a2, a3, a4, a5, a6, a7});
}

const void *targetOf(std::string_view name) noexcept {
#define ORX_ENTRY_POINT(entryPoint, ...)                                                                               \
    if (name == #entryPoint) {                                                                                         \
        return reinterpret_cast<const void *>(&replayed<comc::EntryPointIndex::entryPoint>);                           \
    }
#include "comc/EntryPoints.inc"
#undef ORX_ENTRY_POINT
    return nullptr;
}

recording::Recording readRecording(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw recording::RecordingError("the file cannot be read");
    }
    recording::RecordingReader reader;
    for (std::string line; std::getline(stream, line);) {
        reader.add(line);
    }
    return reader.finish();
}

} // namespace

bool startReplay(HMODULE module) {
    const auto loaded = loadConfiguration(module);
    if (!loaded.replay || loaded.error) {
        return false;
    }
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&startReplay), &pinned);
    const auto name = loaded.replay->u8string();
    const std::string shownName(name.begin(), name.end());
    Log log(loaded.spool / "simulator.log");
    const kal::ExportTable exports(module);
    try {
        auto recording = readRecording(*loaded.replay);
        log.write("replay of " + shownName + ": " + std::to_string(recording.calls.size()) + " calls, " +
                  std::to_string(recording.callbacks.size()) + " callbacks" +
                  (recording.cutOff ? "; " + *recording.cutOff : ""));
        replay = std::make_unique<Replay>(std::move(recording), loaded.spool).release();
        exports.remove([](const char *entryPoint) { return replay->plan().isMissing(entryPoint); });
    } catch (const std::exception &error) {
        isBroken = true;
        const auto text = shownName + ": " + error.what();
        log.write(text);
        reportLoudly(text);
    }
    exports.redirect([](const char *entryPoint) { return targetOf(entryPoint); });
    return true;
}

} // namespace simulator
