#pragma once

#include <cstdint>
#include <string_view>

namespace kal {

class OrxClient;

/// A text property of a printer, read into the caller's room.
struct TextProperty {
    uint32_t code;         ///< 0, or why it could not be read
    std::string_view text; ///< empty when it could not be read
};

/// @param room  zeroed here; the service is told all of its size
[[nodiscard]] TextProperty readTextProperty(OrxClient &client, uint32_t handle, const char *descriptor, char *room,
                                            uint32_t size);

/// The port-type code of a printer, from its transport; that of USB when the transport cannot be read.
[[nodiscard]] uint32_t queryPortType(OrxClient &client, uint32_t handle);

} // namespace kal
