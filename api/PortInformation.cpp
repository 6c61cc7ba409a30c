#include "api/PortInformation.h"

#include "api/kal.h"

#include <algorithm>
#include <cstring>

namespace kal {

namespace {

struct CategoryRow {
    uint32_t portType;
    const char *text;
};

constexpr CategoryRow categories[] = {
    {NETTYPEUSB, "realNetType == NETTYPEUSB"},
    {NETTYPE_RHOA, "realNetType == NETTYPE_RHOA"},
    {NETTYPE_LOCAL, "realNetType == NETTYPE_LOCAL"},
    {NETTYPE_IP, "realNetType == NETTYPE_IP"},
};

} // namespace

static_assert(offsetof(PortInfoRecord, portName) == 6);
static_assert(offsetof(PortInfoRecord, handle) == 86);
static_assert(offsetof(PortInfoRecord, deviceClass) == 88);
static_assert(offsetof(PortInfoRecord, portType) == 92);
static_assert(offsetof(PortInfoRecord, isHostBasedNetwork) == 98);
static_assert(offsetof(PortInfoRecord, secondName) == KAL_SECOND_NAME_OFFSET);
static_assert(sizeof(PortInfoRecord) == KAL_SECOND_NAME_OFFSET + KAL_SECOND_NAME_MINIMUM);

size_t portInformationSize(std::string_view secondName) noexcept {
    return std::max(sizeof(PortInfoRecord), KAL_SECOND_NAME_OFFSET + secondName.size() + 1);
}

void composePortInformation(void *record, const FoundPrinter &printer, std::string_view secondName) noexcept {
    std::memset(record, 0, portInformationSize(secondName));
    auto &information = *static_cast<PortInfoRecord *>(record);
    std::ranges::copy(printer.macAddress, information.macAddress);
    // Truncated, so that a long name does not overwrite the handle after it.
    std::ranges::copy(printer.name.substr(0, sizeof information.portName - 1), information.portName);
    information.handle = printer.handle;
    information.deviceClass = printer.isCpdPrinter ? KAL_DEVICE_CLASS_CPD : KAL_DEVICE_CLASS_BPD;
    information.portType = printer.portType;
    information.isHostBasedNetwork = printer.portType == NETTYPE_RHOA ? 1 : 0;
    std::ranges::copy(secondName, static_cast<char *>(record) + KAL_SECOND_NAME_OFFSET);
}

std::optional<const char *> categoryOf(uint32_t portType, uint32_t netTypes, std::string_view portName) noexcept {
    constexpr uint32_t anyNetType = 0xFFF;
    const auto *const row = std::ranges::find(categories, portType, &CategoryRow::portType);
    if (row == std::end(categories)) {
        return std::nullopt;
    }
    const bool isNamedParallel = portType == NETTYPE_LOCAL && portName.find("LPT") != std::string_view::npos;
    return (netTypes & anyNetType) != 0 || isNamedParallel ? std::optional(row->text) : std::nullopt;
}

} // namespace kal
