#pragma once

#include <cstdint>
#include <string_view>

namespace kal {

class OrxClient;

/// A string property of a printer, read into the caller's buffer.
struct TextProperty {
    uint32_t code;         ///< 0, or the service's code
    std::string_view text; ///< empty after a failure
};

/// @param room  the buffer, which is zeroed first; the service gets its full size
[[nodiscard]] TextProperty readTextProperty(OrxClient &client, uint32_t handle, const char *descriptor, char *room,
                                            uint32_t size);

/// The port-type code for a printer's transport; that of USB if the transport cannot be read.
[[nodiscard]] uint32_t queryPortType(OrxClient &client, uint32_t handle);

} // namespace kal
