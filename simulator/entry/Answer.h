#pragma once

#include "simulator/entry/ServiceHolder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

namespace simulator {

/// Returned by all entry points while the configuration cannot be used.
constexpr uint32_t brokenConfiguration = ERROR_INVALID_DATA;

/// The frame of every entry point: finds the service, applies the configured misbehaviour, does the work and converts
/// exceptions to codes. The work takes the service and the decision and returns a code.
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

/// For operations on kinds of devices that the simulator does not have.
inline uint32_t answerNoDevice(std::string_view entryPoint) noexcept {
    return answer(entryPoint, [](Service &) -> uint32_t { return ERROR_NOT_FOUND; });
}

/// For operations that do nothing and succeed.
inline uint32_t answerDone(std::string_view entryPoint) noexcept {
    return answer(entryPoint, [](Service &) -> uint32_t { return ERROR_SUCCESS; });
}

/// Copies bytes to the caller's buffer and sets the length. @return 0, or 122 if the buffer is too small; the buffer is
/// then unchanged.
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
