/// Decodes the library's window messages.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// Meaning of the high half of a message's wParam.
enum class MessageContent { alertId, printerState, endOfJobFlag };

struct PrinterMessage {
    std::string_view name;
    std::string_view meaning;
    MessageContent content;
    uint16_t handle;   ///< of the printer
    uint16_t value;    ///< alert id, state or flag
    uint32_t portType; ///< port-type code; end of job only
};

/// The decoded message; nothing if it is not one of the library's.
std::optional<PrinterMessage> decodeMessage(uint32_t message, uint64_t wParam, int64_t lParam);

/// "idle", "printing", "error", or the number.
std::string printerStateName(uint16_t state);

/// The value as text: "alert 5", "printing", "flag 1, USB".
std::string describeValue(const PrinterMessage &message);

/// The name of a port-type code: "USB", "network (IPv4)", or "unknown (N)".
std::string portTypeName(uint32_t portType);

} // namespace tool
