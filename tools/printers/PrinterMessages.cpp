#include "tools/printers/PrinterMessages.h"

#include "api/kal.h"

#include <algorithm>
#include <iterator>

namespace tool {

namespace {

struct MessageRow {
    uint32_t message;
    std::string_view name;
    std::string_view meaning;
    MessageContent content;
};

constexpr MessageRow messageRows[] = {
    {WM_KAL_DSA, "WM_KAL_DSA", "power-on reset", MessageContent::alertId},
    {WM_KAL_TONERPREDICTION, "WM_KAL_TONERPREDICTION", "toner prediction", MessageContent::alertId},
    {WM_KAL_ENDOFJOB, "WM_KAL_ENDOFJOB", "true end of job", MessageContent::endOfJobFlag},
    {WM_KAL_PRINTERSTATUS, "WM_KAL_PRINTERSTATUS", "printer state", MessageContent::printerState},
    {WM_KAL_JOBOIRALERTEX, "WM_KAL_JOBOIRALERTEX", "job alert", MessageContent::alertId},
    {WM_KAL_WARNINGSEX, "WM_KAL_WARNINGSEX", "warning", MessageContent::alertId},
    {WM_KAL_CONFIGCHANGEEX, "WM_KAL_CONFIGCHANGEEX", "configuration change", MessageContent::alertId},
    {WM_KAL_CPD_STATUSCHANGE, "WM_KAL_CPD_STATUSCHANGE", "status change", MessageContent::alertId},
};

struct PortTypeRow {
    uint32_t portType;
    std::string_view name;
};

constexpr PortTypeRow portTypeRows[] = {
    {NETTYPE_IP, "network (IPv4)"},  //
    {NETTYPE_RHOA, "network (HBN)"}, //
    {NETTYPEUSB, "USB"},             //
    {NETTYPE_LOCAL, "parallel"},     //
};

} // namespace

std::optional<PrinterMessage> decodeMessage(uint32_t message, uint64_t wParam, int64_t lParam) {
    const auto *const row = std::ranges::find(messageRows, message, &MessageRow::message);
    if (row == std::end(messageRows)) {
        return std::nullopt;
    }
    return PrinterMessage{row->name,
                          row->meaning,
                          row->content,
                          static_cast<uint16_t>(wParam & 0xFFFF),
                          static_cast<uint16_t>((wParam >> 16) & 0xFFFF),
                          static_cast<uint32_t>(lParam)};
}

std::string printerStateName(uint16_t state) {
    switch (state) {
    case 0:
        return "idle";
    case 1:
        return "printing";
    case 3:
        return "error";
    default:
        return "state " + std::to_string(state);
    }
}

std::string describeValue(const PrinterMessage &message) {
    switch (message.content) {
    case MessageContent::alertId:
        return "alert " + std::to_string(message.value);
    case MessageContent::printerState:
        return printerStateName(message.value);
    case MessageContent::endOfJobFlag:
        break;
    }
    return "flag " + std::to_string(message.value) + ", " + portTypeName(message.portType);
}

std::string portTypeName(uint32_t portType) {
    const auto *const row = std::ranges::find(portTypeRows, portType, &PortTypeRow::portType);
    return row == std::end(portTypeRows) ? "unknown (" + std::to_string(portType) + ")" : std::string(row->name);
}

} // namespace tool
