#include "api/CallFrame.h"

#include "platform/Mutex.h"
#include "platform/Thread.h"

namespace kal {

const LoggerComponent &legacyClient() noexcept {
    return loggerComponent(ComponentId::LegacyClient);
}

void CallTrace::open(std::string description) {
    if (!isRegistrationRefused()) {
        trace_.emplace(BasicLogger::getInstance(), legacyClient(), std::move(description), logLevel::trace, true);
    }
}

int32_t CallTrace::nullArgument(const char *exportName, const char *argument) {
    logError(exportName, "() ", argument, " = NULL");
    return named(KAL_FAIL);
}

uint32_t callbackWithoutBinding() noexcept {
    logError(missingBindingMessage);
    logTrace("KAL_FAIL");
    return ERROR_INVALID_FUNCTION;
}

bool runWorkerThread(uint32_t (*worker)(void *), void *record, const std::exception_ptr &failure,
                     const char *exceptionMessage) {
    try {
        {
            RunnableFunction runnable(worker, record);
            Thread thread(runnable);
            thread.start();
            static_cast<void>(thread.join(waitWithoutTimeout));
        }
        // Read only after the thread's destructor, which waits for the thread even if join() failed.
        if (failure) {
            std::rethrow_exception(failure);
        }
        return true;
    } catch (const Win32Exception &exception) {
        logError(exceptionMessage, exception.code());
        return false;
    }
}

} // namespace kal
