#pragma once

// The frames of the exports and callbacks. The inline frame runs the work on the caller's thread, the threaded frame on
// a worker thread while the caller waits, and the callback frame on the service's thread.

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

/// The pieces of a call's description, composed only if it is logged. Holds references, so it must not outlive its
/// full expression.
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
    /// Throws Win32Exception while no application is registered (see kal.h), but not after a refused registration.
    template <class... Pieces>
    explicit CallTrace(const Description<Pieces...> &description) {
        // Composing the description and activating the trace are deliberately two tests. Normally nothing is logged, so
        // the code that composes lines is kept out of the path of each call.
        if (logEnabled(legacyClient(), logLevel::trace)) [[unlikely]] {
            open(description.compose());
        } else {
            open({});
        }
    }

    /// Sets the result in the exit trace. If there is no memory for it, the exit trace shows no result.
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

    /// Both return their argument and trace it: named() by its name, numbered() as a number.
    int32_t named(int32_t result) {
        setResult(resultName(result));
        return result;
    }
    int32_t numbered(int32_t result) {
        setResult(result);
        return result;
    }
    /// Logs that a required pointer is null. @return KAL_FAIL
    int32_t nullArgument(const char *exportName, const char *argument);

  private:
    void open(std::string description);

    std::optional<FunctionTrace> trace_;
};

inline constexpr const char *missingBindingMessage = "orxClient=NULL.";

/// The inline frame: opens the trace, gets the binding and calls body(trace, client).
/// @param missingBinding  logged if there is no binding
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

/// Logs that a callback has no binding. @return the result for the service
uint32_t callbackWithoutBinding() noexcept;

/// The callback frame: enters the library and calls body(client). The client is null until a registration has
/// succeeded. Exceptions of the library and of the application's callback do not reach the service.
/// @return the body's result; 1 if it threw, or if no application is registered
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

/// Runs worker(record) on a thread of its own, waits for its end, and rethrows the exception in failure, if there is
/// one. A Win32Exception is logged instead, as message and code. @return false after a Win32Exception
bool runWorkerThread(uint32_t (*worker)(void *), void *record, const std::exception_ptr &failure,
                     const char *exceptionMessage);

/// The data that caller and worker thread share.
template <class... Arguments>
struct WorkerRecord {
    int32_t *result;
    std::tuple<Arguments...> arguments;
    const char *workerName;
    std::exception_ptr failure;
};

/// The worker thread's part of the threaded frame: opens the trace, gets the binding and calls the body.
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

/// Names and messages of a threaded export in the log.
struct ThreadedTexts {
    const char *workerName;
    const char *exceptionMessage; ///< before the code of a Win32Exception
};

/// The threaded frame: opens the trace, fills the record, runs the worker and traces the result.
/// @param body  body(client, arguments...); a lambda without captures, because it runs on the worker thread
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
