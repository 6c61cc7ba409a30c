#include "comc/comc.h"
#include "simulator/entry/Answer.h"

using namespace simulator;

namespace {

/// Converts to UTF-8 for the job's description.
std::string narrow(const wchar_t *text) {
    if (!text) {
        return {};
    }
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string result(size > 0 ? static_cast<size_t>(size) : 1, '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();
    return result;
}

std::string narrow(const char *text) {
    return text ? text : "";
}

template <class Character>
uint32_t startJob(std::string_view entryPoint, uint32_t clientId, uint32_t handle, const Character *user,
                  const Character *host, const Character *documentName, const Character *options) {
    return answer(entryPoint, [&](Service &service) {
        return service.startJob(clientId, handle, {narrow(user), narrow(host), narrow(documentName), narrow(options)});
    });
}

/// Reports each printer. The callback's result is ignored.
uint32_t reportPrinters(std::string_view entryPoint, const char *transport, OrxEnumCallback callback) {
    return answer(entryPoint, [&](Service &service) -> uint32_t {
        if (!callback) {
            return ERROR_INVALID_PARAMETER;
        }
        for (const auto handle : service.printers().find(transport)) {
            callback(handle);
        }
        return ERROR_SUCCESS;
    });
}

uint32_t exchange(std::string_view entryPoint, uint32_t handle, const void *request, uint32_t requestLength,
                  void *response, uint32_t responseSize, uint32_t *returnedLength) {
    return answer(entryPoint, [&](Service &service) -> uint32_t {
        if (!request && requestLength > 0) {
            return ERROR_INVALID_PARAMETER;
        }
        Bytes bytes;
        const auto code = service.exchange(handle, {static_cast<const uint8_t *>(request), requestLength}, bytes);
        if (code != 0) {
            if (returnedLength) {
                *returnedLength = 0;
            }
            return code;
        }
        return handOver(bytes.data(), bytes.size(), response, responseSize, returnedLength);
    });
}

} // namespace

extern "C" {

uint32_t OrxOpenPrinter(uint32_t, uint32_t handle) {
    return answer("OrxOpenPrinter", [&](Service &service) { return service.open(handle); });
}

uint32_t OrxClosePrinter(uint32_t, uint32_t handle) {
    return answer("OrxClosePrinter", [&](Service &service) { return service.close(handle); });
}

uint32_t OrxDeletePrinter(uint32_t, uint32_t handle) {
    return answer("OrxDeletePrinter", [&](Service &service) { return service.remove(handle); });
}

uint32_t OrxStartJobPrinter(uint32_t clientId, uint32_t handle, uint32_t, const char *user, const char *host,
                            const char *documentName, const char *options) {
    return startJob("OrxStartJobPrinter", clientId, handle, user, host, documentName, options);
}

uint32_t OrxStartJobPrinterW(uint32_t clientId, uint32_t handle, uint32_t, const wchar_t *user, const wchar_t *host,
                             const wchar_t *documentName, const wchar_t *options) {
    return startJob("OrxStartJobPrinterW", clientId, handle, user, host, documentName, options);
}

uint32_t OrxWritePrinter(uint32_t, uint32_t handle, const void *data, uint32_t byteCount, uint32_t *bytesWritten) {
    uint32_t written = 0;
    const auto code =
        answerCall("OrxWritePrinter", [&](Service &service, const MisbehaviourDecision &decision) -> uint32_t {
            if (!data && byteCount > 0) {
                return ERROR_INVALID_PARAMETER;
            }
            const auto taken = std::min(byteCount, decision.accept.value_or(byteCount));
            const auto result = service.write(handle, data, taken);
            written = result == 0 ? taken : 0;
            return result;
        });
    if (bytesWritten) {
        *bytesWritten = written;
    }
    return code;
}

uint32_t OrxEndJobPrinter(uint32_t, uint32_t handle) {
    return answer("OrxEndJobPrinter", [&](Service &service) { return service.endJob(handle); });
}

uint32_t OrxCancelJobPrinter(uint32_t, uint32_t handle) {
    return answer("OrxCancelJobPrinter", [&](Service &service) { return service.cancelJob(handle); });
}

uint32_t OrxEnumPrinters(uint32_t, const char *transport, const char *, OrxEnumCallback callback) {
    return reportPrinters("OrxEnumPrinters", transport, callback);
}

uint32_t OrxEnumWindowsPrinters(uint32_t, const char *, const char *, OrxEnumCallback) {
    return answerDone("OrxEnumWindowsPrinters"); // no virtual printer is installed in Windows
}

uint32_t OrxEnumSpecificPrinter(uint32_t, const char *portName, uint32_t *handle) {
    return answer("OrxEnumSpecificPrinter", [&](Service &service) -> uint32_t {
        return portName && handle ? service.printers().findPort(portName, *handle) : ERROR_INVALID_PARAMETER;
    });
}

uint32_t OrxValidatePortName(uint32_t, const char *portName) {
    return answer("OrxValidatePortName", [&](Service &service) -> uint32_t {
        uint32_t ignored = 0;
        return portName ? service.printers().findPort(portName, ignored) : ERROR_INVALID_PARAMETER;
    });
}

uint32_t OrxDiscovery(uint32_t, const char *transport, const char *) {
    return answer("OrxDiscovery", [&](Service &service) { return service.printers().discover(transport); });
}

uint32_t OrxCancelDiscovery(uint32_t, const char *, const char *) {
    return answerDone("OrxCancelDiscovery"); // OrxDiscovery returns only when the discovery has ended
}

uint32_t OrxGetDiscoveryDefaults(uint32_t, const char *, void *, uint32_t, uint32_t *) {
    return answer("OrxGetDiscoveryDefaults", [](Service &) -> uint32_t { return ERROR_NOT_SUPPORTED; });
}

uint32_t OrxSetDiscoveryDefaults(uint32_t, const char *, const void *) {
    return answer("OrxSetDiscoveryDefaults", [](Service &) -> uint32_t { return ERROR_NOT_SUPPORTED; });
}

uint32_t OrxGetStringPrinter(uint32_t, uint32_t handle, const char *descriptor, char *buffer, uint32_t size,
                             uint32_t *length) {
    return answer("OrxGetStringPrinter", [&](Service &service) -> uint32_t {
        PropertyValue value;
        if (const auto code = service.printers().property(handle, descriptor, "String", value); code != 0) {
            return code;
        }
        const auto &text = std::get<std::string>(value);
        return handOver(text.c_str(), text.size() + 1, buffer, size, length);
    });
}

uint32_t OrxGetByteArrayPrinter(uint32_t, uint32_t handle, const char *descriptor, void *buffer, uint32_t size,
                                uint32_t *length) {
    return answer("OrxGetByteArrayPrinter", [&](Service &service) -> uint32_t {
        PropertyValue value;
        if (const auto code = service.printers().property(handle, descriptor, "ByteArray", value); code != 0) {
            return code;
        }
        const auto &bytes = std::get<Bytes>(value);
        return handOver(bytes.data(), bytes.size(), buffer, size, length);
    });
}

uint32_t OrxGetLongPrinter(uint32_t, uint32_t handle, const char *descriptor, uint32_t *target) {
    return answer("OrxGetLongPrinter", [&](Service &service) -> uint32_t {
        PropertyValue value;
        if (!target) {
            return ERROR_INVALID_PARAMETER;
        }
        const auto code = service.printers().property(handle, descriptor, "Long", value);
        if (code == 0) {
            *target = std::get<uint32_t>(value);
        }
        return code;
    });
}

uint32_t OrxSetStringPrinter(uint32_t, uint32_t handle, const char *descriptor, const char *value, uint32_t length) {
    return answer("OrxSetStringPrinter", [&](Service &service) -> uint32_t {
        if (!value) {
            return ERROR_INVALID_PARAMETER;
        }
        return service.printers().setProperty(handle, descriptor, "String", std::string(value, strnlen(value, length)));
    });
}

uint32_t OrxSetByteArrayPrinter(uint32_t, uint32_t handle, const char *descriptor, const void *bytes, uint32_t length) {
    return answer("OrxSetByteArrayPrinter", [&](Service &service) -> uint32_t {
        if (!bytes && length > 0) {
            return ERROR_INVALID_PARAMETER;
        }
        const auto *begin = static_cast<const uint8_t *>(bytes);
        return service.printers().setProperty(handle, descriptor, "ByteArray", Bytes(begin, begin + length));
    });
}

uint32_t OrxSetLongPrinter(uint32_t, uint32_t handle, const char *descriptor, uint32_t value) {
    return answer("OrxSetLongPrinter",
                  [&](Service &service) { return service.printers().setProperty(handle, descriptor, "Long", value); });
}

uint32_t OrxSetJobStringPrinter(uint32_t, uint32_t handle, const char *key, const char *value) {
    return answer("OrxSetJobStringPrinter",
                  [&](Service &service) { return service.printers().setJobString(handle, key, value); });
}

uint32_t OrxGetCachePrinter(uint32_t, uint32_t handle, void *buffer, uint32_t size, uint32_t *length) {
    return answer("OrxGetCachePrinter", [&](Service &service) -> uint32_t {
        Bytes block;
        const auto code = service.printers().cache(handle, block);
        return code != 0 ? code : handOver(block.data(), block.size(), buffer, size, length);
    });
}

uint32_t OrxGetCurrentStatePrinter(uint32_t, uint32_t handle, uint32_t *state) {
    return answer("OrxGetCurrentStatePrinter", [&](Service &service) -> uint32_t {
        return state ? service.state(handle, *state) : ERROR_INVALID_PARAMETER;
    });
}

uint32_t OrxExchangeBidiPrinter(uint32_t, uint32_t handle, const void *request, uint32_t requestLength, void *response,
                                uint32_t responseSize, uint32_t *returnedLength) {
    return exchange("OrxExchangeBidiPrinter", handle, request, requestLength, response, responseSize, returnedLength);
}

uint32_t OrxExchangeNpaPrinter(uint32_t, uint32_t handle, const void *request, uint32_t requestLength, void *response,
                               uint32_t responseSize, uint32_t *returnedLength) {
    return exchange("OrxExchangeNpaPrinter", handle, request, requestLength, response, responseSize, returnedLength);
}

uint32_t OrxRegisterForAlertsPrinter(uint32_t, uint32_t handle, uint32_t mask, OrxAlertCallback callback) {
    return answer("OrxRegisterForAlertsPrinter",
                  [&](Service &service) { return service.registerAlerts(handle, mask, callback); });
}

uint32_t OrxUnregisterForAlertsPrinter(uint32_t, uint32_t handle) {
    return answer("OrxUnregisterForAlertsPrinter", [&](Service &service) { return service.unregisterAlerts(handle); });
}

uint32_t OrxRegisterForNotificationsPrinter(uint32_t, uint32_t handle, uint32_t mask,
                                            OrxNotificationCallback callback) {
    return answer("OrxRegisterForNotificationsPrinter",
                  [&](Service &service) { return service.registerNotifications(handle, mask, callback); });
}

uint32_t OrxUnregisterForNotificationsPrinter(uint32_t, uint32_t handle) {
    return answer("OrxUnregisterForNotificationsPrinter",
                  [&](Service &service) { return service.unregisterNotifications(handle); });
}

} // extern "C"
