#pragma once

#include "simulator/entry/ServiceHolder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

namespace simulator {

/// Answers without a configuration that can be used.
constexpr uint32_t brokenConfiguration = ERROR_INVALID_DATA;

/// What every entry point does: finds the service, suffers what the configuration wants, does its work and lets no
/// exception out. The work takes the service and the decision and returns a code.
template <class Work>
uint32_t answerCall(std::string_view entryPoint, Work work) noexcept {
    try {
        const auto service = currentService();
        if (!service) {
            return ERROR_SERVICE_NOT_ACTIVE;
        }
        if (!service->isUsable()) {
            return brokenConfiguration;
        }
        const auto decision = service->decideCall(entryPoint);
        if (decision.delayMs > 0) {
            Sleep(decision.delayMs);
        }
        const auto code = decision.code ? *decision.code : work(*service, decision);
        if (service->logsCalls()) {
            service->log().write(std::string(entryPoint) + " answers " + std::to_string(code));
        }
        return code;
    } catch (const std::bad_alloc &) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (const std::exception &) {
        return ERROR_GEN_FAILURE;
    }
}

template <class Operation>
uint32_t answer(std::string_view entryPoint, Operation operation) noexcept {
    return answerCall(entryPoint, [&](Service &service, const MisbehaviourDecision &) { return operation(service); });
}

/// An operation on a device of a kind of which none is attached.
inline uint32_t answerNoDevice(std::string_view entryPoint) noexcept {
    return answer(entryPoint, [](Service &) -> uint32_t { return ERROR_NOT_FOUND; });
}

/// An operation that has nothing to do here and succeeds.
inline uint32_t answerDone(std::string_view entryPoint) noexcept {
    return answer(entryPoint, [](Service &) -> uint32_t { return ERROR_SUCCESS; });
}

/// Hands bytes to a caller's buffer. @return 0, or 122 when they do not fit: then nothing is written but the length
/// that is needed.
inline uint32_t handOver(const void *bytes, size_t count, void *buffer, uint32_t size, uint32_t *length) noexcept {
    if (length) {
        *length = static_cast<uint32_t>(count);
    }
    if (count > size || (count > 0 && !buffer)) {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    if (count > 0) {
        std::memcpy(buffer, bytes, count);
    }
    return ERROR_SUCCESS;
}

} // namespace simulator
