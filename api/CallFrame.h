#pragma once

// The frames on which the exports and the callbacks stand: the inline frame does its work on the caller's thread, the
// threaded frame on a worker thread while the caller waits, the callback frame on the service's thread.

#include "api/ResultCodes.h"
#include "api/ServiceBinding.h"
#include "api/kal.h"
#include "logging/FunctionTrace.h"
#include "logging/LogMessage.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace kal {

/// The component under which the exported interface logs.
[[nodiscard]] const LoggerComponent &legacyClient() noexcept;

template <class... Pieces>
void logError(const Pieces &...pieces) noexcept {
    logMessage(legacyClient(), logLevel::error, pieces...);
}

template <class... Pieces>
void logTrace(const Pieces &...pieces) noexcept {
    logMessage(legacyClient(), logLevel::trace, pieces...);
}

/// The pieces of a call's description; composed only when somebody logs it. Holds references: for the full expression.
template <class... Pieces>
class Description {
  public:
    explicit Description(const Pieces &...pieces) noexcept : pieces_(pieces...) {}

    [[nodiscard]] std::string compose() const {
        MessageText text;
        std::apply([&](const Pieces &...each) { (text << ... << each); }, pieces_);
        return text.str();
    }

  private:
    std::tuple<const Pieces &...> pieces_;
};

/// The entry and exit trace of one call.
class CallTrace {
  public:
    /// Raises Win32Exception while no application is registered (see kal.h), but not after a refused registration.
    template <class... Pieces>
    explicit CallTrace(const Description<Pieces...> &description) {
        // Whether the description is built and whether the trace is active are deliberately two tests. In the field
        // nothing is logged: what composes lines is out of the way of what each call runs through.
        if (logEnabled(legacyClient(), logLevel::trace)) [[unlikely]] {
            open(description.compose());
        } else {
            open({});
        }
    }

    /// Gives the exit trace its result's text; without memory for it the trace goes without, since the call is done.
    template <class... Pieces>
    void setResult(const Pieces &...pieces) noexcept {
        if (trace_ && trace_->isActive()) [[unlikely]] {
            try {
                MessageText text;
                (text << ... << pieces);
                trace_->setResult(text.view());
            } catch (const std::bad_alloc &) {
            }
        }
    }

    /// Results on their way out: traced by name, or as a number.
    int32_t named(int32_t result) {
        setResult(resultName(result));
        return result;
    }
    int32_t numbered(int32_t result) {
        setResult(result);
        return result;
    }
    /// For a null pointer where one is needed.
    int32_t nullArgument(const char *exportName, const char *argument);

  private:
    void open(std::string description);

    std::optional<FunctionTrace> trace_;
};

inline constexpr const char *missingBindingMessage = "orxClient=NULL.";

/// The inline frame: trace, binding, then body(trace, client).
/// @param missingBinding  what is logged when there is no binding
template <class Body, class... Pieces>
int32_t inlineCall(const Description<Pieces...> &description, const char *missingBinding, Body body) {
    CallTrace trace(description);
    OrxClient *const client = serviceBinding();
    if (client == nullptr) {
        logError(missingBinding);
        return trace.named(KAL_FAIL);
    }
    return body(trace, *client);
}

template <class Body, class... Pieces>
int32_t inlineCall(const Description<Pieces...> &description, Body body) {
    return inlineCall(description, missingBindingMessage, std::move(body));
}

/// What a callback returns when the library has no binding for it.
uint32_t callbackWithoutBinding() noexcept;

/// The callback frame: enters the library, then body(client); client is null until a registration has succeeded.
/// Nothing is thrown into the service, neither by the library nor by a callback of the application.
/// @return what the body returned; 1 when it threw, and when no application is registered any more
template <class Body>
uint32_t callbackFrame(Body body) noexcept {
    const CallbackEntry entry;
    if (entry.isLockedOut()) {
        return ERROR_INVALID_FUNCTION;
    }
    try {
        return body(entry.client());
    } catch (...) {
        return ERROR_INVALID_FUNCTION; // the application's exceptions may be of any type
    }
}

/// Runs worker(record) on a thread of its own, waits for its end, and throws what it left in failure. A Win32Exception
/// is not passed on but logged, the message first, then its code. @return whether there was none
bool runWorkerThread(uint32_t (*worker)(void *), void *record, const std::exception_ptr &failure,
                     const char *exceptionMessage);

/// What goes to a worker thread, and back: the place of the result, the export's arguments, what the worker threw.
template <class... Arguments>
struct WorkerRecord {
    int32_t *result;
    std::tuple<Arguments...> arguments;
    const char *workerName;
    std::exception_ptr failure;
};

/// The worker's side of the threaded frame: trace, binding, then Body()(client, arguments...).
template <class Body, class... Arguments>
uint32_t runWorker(void *argument) noexcept {
    auto &record = *static_cast<WorkerRecord<Arguments...> *>(argument);
    try {
        const CallTrace trace{Description(record.workerName)};
        OrxClient *const client = serviceBinding();
        if (client == nullptr) {
            logError(missingBindingMessage);
            *record.result = KAL_FAIL;
            return 0;
        }
        *record.result =
            std::apply([&](const auto &...arguments) { return Body()(*client, arguments...); }, record.arguments);
    } catch (...) {
        record.failure = std::current_exception();
    }
    return 0;
}

/// What the log says of a threaded export.
struct ThreadedTexts {
    const char *workerName;
    const char *exceptionMessage; ///< before the code of a Win32Exception
};

/// The threaded frame: trace, record, worker, result.
/// @param body  body(client, arguments...), a lambda that captures nothing: it runs on the worker thread
template <class Body, class... Pieces, class... Arguments>
int32_t threadedCall(const Description<Pieces...> &description, const ThreadedTexts &texts, Body,
                     Arguments... arguments) {
    static_assert(std::is_empty_v<Body>, "all that the body uses goes through the record");
    using Record = WorkerRecord<Arguments...>;
    CallTrace trace(description);
    int32_t result = 0;
    auto record = std::make_unique<Record>(Record{&result, {arguments...}, texts.workerName, nullptr});
    if (!runWorkerThread(runWorker<Body, Arguments...>, record.get(), record->failure, texts.exceptionMessage)) {
        // Deliberately not freed after a failure, although the thread has ended and nothing uses it any more.
        static_cast<void>(record.release());
        result = KAL_FAIL;
    }
    return trace.numbered(result);
}

} // namespace kal
