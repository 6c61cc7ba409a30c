#include "simulator/printers/Printers.h"

#include "comc/Properties.h"
#include "comc/comc.h"
#include "simulator/printers/CachedData.h"

#include <charconv>
#include <cstring>
#include <utility>

namespace simulator {

namespace {

/// Searching the network finds host-based network printers too.
bool isOnTransport(const PrinterConfiguration &printer, const char *transport) {
    if (!transport) {
        return true;
    }
    const std::string_view wanted(transport);
    if (!printer.transport) {
        return wanted == comc::transport::usb; // a device without the property Transport is a USB device
    }
    const bool isHostBased =
        *printer.transport == comc::transport::hostBased1 || *printer.transport == comc::transport::hostBased3;
    return *printer.transport == wanted || (isHostBased && wanted == comc::transport::ipv4);
}

std::string_view typeOf(const PropertyValue &value) {
    constexpr std::string_view names[] = {"String", "Long", "ByteArray"};
    return names[value.index()];
}

} // namespace

Printers::Printers(const Configuration &configuration, std::filesystem::path folder, Log &log)
    : configuration_(configuration), log_(log), store_(std::move(folder)) {}

// ------------------------------------------------------------------------------------------------ finding printers

const PrinterConfiguration *Printers::withHandle(uint32_t handle) const noexcept {
    for (const auto &candidate : configuration_.printers) {
        if (candidate.handle == handle) {
            return &candidate;
        }
    }
    return nullptr;
}

bool Printers::canBeOpened(const PrinterConfiguration &printer) const {
    return printer.isReachable && !store_.read(printer.handle).isDeleted;
}

uint32_t Printers::remove(const PrinterConfiguration &printer) {
    return store_.update(printer.handle, [](StoredPrinter &stored) {
        stored = StoredPrinter();
        stored.isDeleted = true;
    });
}

std::vector<uint16_t> Printers::find(const char *transport) const {
    std::vector<uint16_t> handles;
    for (const auto &candidate : configuration_.printers) {
        if (isOnTransport(candidate, transport) && isPresent(candidate)) {
            handles.push_back(candidate.handle);
        }
    }
    return handles;
}

uint32_t Printers::discover(const char *transport) {
    for (const auto &candidate : configuration_.printers) {
        if (!isOnTransport(candidate, transport) || isPresent(candidate)) {
            continue;
        }
        const auto code = store_.update(candidate.handle, [](StoredPrinter &stored) {
            stored.isDiscovered = true;
            stored.isDeleted = false;
        });
        if (code != 0) {
            return code;
        }
        log_.write(title(candidate) + ": discovered");
    }
    return ERROR_SUCCESS;
}

uint32_t Printers::findPort(std::string_view portName, uint32_t &handle) const {
    for (const auto &candidate : configuration_.printers) {
        if (port(candidate) == portName && isPresent(candidate)) {
            handle = candidate.handle;
            return ERROR_SUCCESS;
        }
    }
    return ERROR_NOT_FOUND;
}

bool Printers::isPresent(const PrinterConfiguration &printer) const {
    const auto stored = store_.read(printer.handle);
    return !stored.isDeleted && (!printer.isHiddenUntilDiscovery || stored.isDiscovered);
}

// ------------------------------------------------------------------------------------------------------ properties

std::string Printers::port(const PrinterConfiguration &printer) const {
    const auto stored = store_.read(printer.handle);
    const auto kept = stored.properties.find(comc::property::portName.name);
    const auto *text = kept == stored.properties.end() ? nullptr : std::get_if<std::string>(&kept->second);
    return text ? *text : printer.port;
}

std::map<std::string, std::string> Printers::jobStrings(const PrinterConfiguration &printer) const {
    return store_.read(printer.handle).jobStrings;
}

uint32_t Printers::property(uint32_t handle, const char *descriptor, std::string_view type,
                            PropertyValue &value) const {
    const auto *found = withHandle(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    const auto asked = descriptor ? comc::readDescriptor(descriptor) : std::nullopt;
    if (!asked || (!asked->type.empty() && asked->type != type)) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto &name = asked->name;
    const auto stored = store_.read(found->handle);
    if (const auto kept = stored.properties.find(name); kept != stored.properties.end()) {
        value = kept->second;
    } else if (name == comc::property::transport.name && found->transport) {
        value = *found->transport;
    } else if (name == comc::property::device.name) {
        value = found->device;
    } else if (name == comc::property::portName.name) {
        value = found->port;
    } else if (name == comc::property::macAddress.name && found->macAddress) {
        value = Bytes(found->macAddress->begin(), found->macAddress->end());
    } else if (name == comc::property::endOfJobDuration.name) {
        value = uint32_t{0};
    } else if (name == comc::property::jobId.name) {
        value = Bytes(4, 0);
    } else if (const auto own = found->properties.find(name); own != found->properties.end()) {
        value = own->second;
    } else {
        return ERROR_NOT_SUPPORTED;
    }
    return typeOf(value) == type ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

uint32_t Printers::setProperty(uint32_t handle, const char *descriptor, std::string_view type, PropertyValue value) {
    const auto *found = withHandle(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    const auto asked = descriptor ? comc::readDescriptor(descriptor) : std::nullopt;
    if (!asked || (!asked->type.empty() && asked->type != type)) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto &name = asked->name;
    const bool isFixed = name == comc::property::transport.name || name == comc::property::device.name ||
                         name == comc::property::macAddress.name;
    if (isFixed || asked->access == "ReadOnly") {
        return ERROR_ACCESS_DENIED;
    }
    return store_.update(found->handle, [&](StoredPrinter &stored) { stored.properties[name] = std::move(value); });
}

uint32_t Printers::setJobString(uint32_t handle, const char *key, const char *value) {
    const auto *found = withHandle(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    if (!key || !value) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto descriptor = comc::readDescriptor(key);
    if (!descriptor) {
        return store_.update(found->handle, [&](StoredPrinter &stored) { stored.jobStrings[key] = value; });
    }
    if (descriptor->type != "Long") {
        return setProperty(handle, key, "String", std::string(value));
    }
    uint32_t number = 0;
    const auto *end = value + std::strlen(value);
    const auto [stop, failure] = std::from_chars(value, end, number);
    if (failure != std::errc() || stop != end) {
        return ERROR_INVALID_PARAMETER;
    }
    return setProperty(handle, key, "Long", number);
}

uint32_t Printers::cache(uint32_t handle, Bytes &block) const {
    const auto *found = withHandle(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    block = composeCache(*found);
    return ERROR_SUCCESS;
}

// ----------------------------------------------------------------------------------------------------------- states

void Printers::keepPrinting(const PrinterConfiguration &printer, uint32_t milliseconds) {
    const auto until = systemTimeMs() + milliseconds;
    // If this fails, other processes see the printer as idle too early. The document is complete all the same.
    static_cast<void>(
        store_.update(printer.handle, [until](StoredPrinter &stored) { stored.printingUntilMs = until; }));
}

uint32_t Printers::state(uint32_t handle, std::optional<uint32_t> reported, uint32_t &state) const {
    const auto *found = withHandle(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    if (!found->isReachable) {
        return ERROR_NOT_FOUND;
    }
    state = reported.value_or(found->state);
    if (state == ORX_PRINTER_IDLE_AND_OKAY && store_.read(found->handle).printingUntilMs > systemTimeMs()) {
        state = ORX_PRINTER_PRINTING_AND_OKAY;
    }
    return ERROR_SUCCESS;
}

std::string title(const PrinterConfiguration &printer) {
    return "printer " + std::to_string(printer.handle) + " (" + printer.port + ")";
}

} // namespace simulator
