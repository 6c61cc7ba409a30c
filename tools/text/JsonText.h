/// JSON in the format of the commands' output.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace tool {

/// Indented, with a line end. Names from devices may have any content: bytes that are not UTF-8 become U+FFFD.
inline std::string jsonText(const nlohmann::ordered_json &json) {
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

/// On one line without a line end, for streams of objects.
inline std::string jsonLine(const nlohmann::ordered_json &json) {
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace tool
