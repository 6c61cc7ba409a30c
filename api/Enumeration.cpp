#include "api/CacheBlock.h"
#include "api/CallFrame.h"
#include "api/DeviceProperties.h"
#include "api/PortInformation.h"
#include "api/kal.h"
#include "comc/Properties.h"
#include "service/OrxClient.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <span>

namespace kal {

namespace {

/// The callback of the latest enumeration; deliberately a single one per process.
std::atomic<KalPortCallback> enumPrintersCallback = nullptr;

constexpr uint32_t portNameRoom = 260;

/// The property of a found printer that could not be read.
enum class ReadFailure { none, macAddress, portName };

struct FailureTexts {
    const char *macAddress;
    const char *portName;
};

/// Reads the properties for a printer's record; failures are logged.
/// @param handle    as passed by the service; the record has only its low half
/// @param nameRoom  buffer of portNameRoom bytes for the name
ReadFailure readPrinter(OrxClient &client, uint32_t handle, FoundPrinter &printer, char *nameRoom,
                        const FailureTexts &texts) {
    if (printer.portType == NETTYPE_RHOA) {
        uint32_t length = 0;
        const uint32_t code = client.GetByteArrayPrinter(handle, comc::property::macAddress.descriptor,
                                                         printer.macAddress, sizeof printer.macAddress, &length);
        if (code != 0) {
            logTrace(texts.macAddress, code);
            return ReadFailure::macAddress;
        }
    }
    const TextProperty name =
        readTextProperty(client, handle, comc::property::portName.descriptor, nameRoom, portNameRoom);
    if (name.code != 0) {
        logTrace(texts.portName, name.code);
        return ReadFailure::portName;
    }
    printer.name = name.text;
    char deviceRoom[11];
    const TextProperty device =
        readTextProperty(client, handle, comc::property::device.descriptor, deviceRoom, sizeof deviceRoom);
    printer.isCpdPrinter = device.text == comc::device::cpdPrinter; // false if it cannot be read
    return ReadFailure::none;
}

void report(const void *record, KalPortCallback callback) {
    logTrace("Just before callback");
    if (callback != nullptr) {
        callback(static_cast<const PortInfoRecord *>(record));
    }
    logTrace("Just after callback");
}

/// Reads a found printer and reports it. @return its port-type code; 0 if it was skipped
uint32_t reportPrinter(OrxClient &client, uint32_t handle) {
    FoundPrinter printer = {static_cast<uint16_t>(handle), queryPortType(client, handle), {}, {}, false};
    char nameRoom[portNameRoom];
    // Deliberate: a port name that cannot be read is logged with the message for the MAC address.
    constexpr FailureTexts texts = {"getByteArrayPrinter, errorCode=", "getByteArrayPrinter, errorCode="};
    switch (readPrinter(client, handle, printer, nameRoom, texts)) {
    case ReadFailure::macAddress:
        logTrace("KAL_OKAY");
        return 0;
    case ReadFailure::portName:
        return 0;
    case ReadFailure::none:
        break;
    }
    PortInfoRecord record;
    const std::string_view secondName = printer.name.substr(0, sizeof record.secondName - 1);
    composePortInformation(&record, printer, secondName);
    report(&record, enumPrintersCallback);
    return printer.portType;
}

/// The service calls this for each printer of an enumeration. It does not throw.
/// @return the printer's port-type code; 0 if it was skipped; 1 on failure or without a registration
uint32_t KalEnumPrintersCallback(uint32_t handle) noexcept {
    return callbackFrame([&](OrxClient *client) {
        logTrace("KalEnumPrintersCallback");
        return client == nullptr ? callbackWithoutBinding() : reportPrinter(*client, handle);
    });
}

struct TransportBit {
    uint32_t bit;
    const char *transport;
};
constexpr TransportBit discoverable[] = {{NETTYPEUSB, comc::transport::usb},
                                         {NETTYPE_LOCAL, comc::transport::parallel}};
constexpr TransportBit enumerable[] = {{NETTYPE_IP, comc::transport::ipv4},
                                       {NETTYPEUSB, comc::transport::usb},
                                       {NETTYPE_LOCAL, comc::transport::parallel}};

/// Calls the service for each transport of the mask in turn, until one call fails.
template <class Ask>
bool askEach(std::span<const TransportBit> transports, uint32_t netTypes, const char *failure, Ask ask) {
    for (const TransportBit &each : transports) {
        if ((netTypes & each.bit) == 0) {
            continue;
        }
        if (const uint32_t code = ask(each.transport)) {
            logTrace(failure, code);
            return false;
        }
    }
    return true;
}

void enumeratePrinters(OrxClient &client, uint32_t netTypes) {
    const bool discovered =
        (netTypes & KAL_DISCOVER_FIRST) == 0 ||
        askEach(discoverable, netTypes, "discovery() failed, errorCode=", [&](const char *transport) {
            return client.Discovery(transport, comc::property::portName.name);
        });
    if (discovered) {
        askEach(enumerable, netTypes, "enumPrinters() failed, errorCode=", [&](const char *transport) {
            return client.EnumPrinters(transport, nullptr, KalEnumPrintersCallback);
        });
    }
}

/// Whether the caller's mask accepts a found printer; logs the answer.
bool passesCategory(uint32_t portType, uint32_t netTypes, const char *portName) {
    if (const auto category = categoryOf(portType, netTypes, portName)) {
        logTrace(*category);
        return true;
    }
    if ((netTypes & ENUM_P2P) != 0) {
        logTrace("netType == ENUM_P2P");
        return true;
    }
    logTrace("realNetType is not in netType category. netType:", netTypes, " realNetType:", portType);
    return false;
}

int32_t enumerateSpecificPort(OrxClient &client, uint32_t netTypes, const char *portName, KalPortCallback callback) {
    if (portName == nullptr) {
        logError("KalEnumSpecificPort() portName = NULL");
        return KAL_FAIL;
    }
    uint32_t handle = 0;
    if (const uint32_t code = client.EnumSpecificPrinter(portName, &handle)) {
        logTrace("orxClient->enumSpecificPrinter() failed, error=", code);
        return 0;
    }
    FoundPrinter printer = {static_cast<uint16_t>(handle), queryPortType(client, handle), {}, {}, false};
    logTrace("realNetType=", printer.portType);
    if (!passesCategory(printer.portType, netTypes, portName)) {
        return 0;
    }
    char nameRoom[portNameRoom];
    constexpr FailureTexts texts = {"getByteArrayPrinter, errorCode=", "getStringPrinter, errorCode="};
    if (readPrinter(client, handle, printer, nameRoom, texts) != ReadFailure::none) {
        return 0;
    }
    PortInfoRecord usual;
    std::unique_ptr<std::byte[]> longer; // the name may be of any length
    void *record = &usual;
    if (const size_t size = portInformationSize(portName); size > sizeof usual) {
        longer = std::make_unique<std::byte[]>(size);
        record = longer.get();
    }
    composePortInformation(record, printer, portName);
    report(record, callback);
    return static_cast<int32_t>(printer.portType);
}

int32_t getCache(OrxClient &client, uint16_t handle, void *buffer, uint32_t size, uint32_t *length) {
    if (buffer == nullptr || length == nullptr) {
        logError("KalGetCache() ", buffer == nullptr ? "buffer" : "length", " = NULL");
        return KAL_FAIL;
    }
    const uint32_t code = client.GetCachePrinter(handle, buffer, size, length);
    if (code == 0) {
        auto *const block = static_cast<uint8_t *>(buffer);
        *length = dropCacheHead(block, std::min(*length, size));
        logTrace(" returns ", HexBytes{{block, *length}});
    }
    return cacheResult(code);
}

} // namespace

} // namespace kal

using namespace kal;

extern "C" {

int32_t KalEnumPrinters(uint16_t, uint32_t netTypes, KalPortCallback callback) {
    return inlineCall(Description("KalEnumPrinters"), [&](CallTrace &trace, OrxClient &client) {
        enumPrintersCallback = callback;
        enumeratePrinters(client, netTypes);
        return trace.named(KAL_OKAY); // deliberate: errors of the service are only logged
    });
}

int32_t KalEnumSpecificPort(uint16_t first, uint32_t netTypes, const char *portName, KalPortCallback callback) {
    return threadedCall(
        Description("KalEnumSpecificPort() port=", portName),
        {"KalEnumSpecificPortRunnable()", "KalEnumSpecificPort() exception="},
        [](OrxClient &client, uint16_t, const auto &...arguments) {
            return enumerateSpecificPort(client, arguments...);
        },
        first, netTypes, portName, callback);
}

int32_t KalEnumByUNC(uint16_t first, uint32_t netTypes, const char *name, KalPortCallback callback) {
    // The traced name deliberately differs from the export's name.
    const CallTrace trace{Description("KalEnumByUnc()  name=", name)};
    return KalEnumSpecificPort(first, netTypes, name, callback);
}

int32_t KalGetCache(uint16_t first, uint16_t handle, void *buffer, uint32_t size, uint32_t *length) {
    return threadedCall(
        Description("KalGetCache() handle =", handle), {"KalGetCacheRunnable()", "KalGetCache() exception="},
        [](OrxClient &client, uint16_t, const auto &...arguments) { return getCache(client, arguments...); }, first,
        handle, buffer, size, length);
}

} // extern "C"
