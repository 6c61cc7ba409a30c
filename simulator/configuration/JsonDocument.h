#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace simulator {

/// A configuration that cannot be used: what is wrong and where, so that its author finds the place.
class ConfigurationError : public std::runtime_error {
  public:
    ConfigurationError(std::string_view text, size_t offset, const std::string &message);

    /// Both count from 1; the column counts bytes.
    [[nodiscard]] size_t line() const noexcept { return line_; }
    [[nodiscard]] size_t column() const noexcept { return column_; }

  private:
    size_t line_;
    size_t column_;
};

struct JsonMember;

/// A JSON value that remembers where it stood: a value of the wrong type is reported as exactly as a missing comma.
struct JsonValue {
    using Array = std::vector<JsonValue>;
    using Object = std::vector<JsonMember>;

    std::variant<std::nullptr_t, bool, int64_t, uint64_t, double, std::string, Array, Object> content;
    size_t offset = 0;
};

struct JsonMember {
    std::string key;
    JsonValue value;
};

/// Reads strict JSON. @throws ConfigurationError for text that is no JSON, repeats a key or nests deeper than 64.
[[nodiscard]] JsonValue readJson(std::string_view text);

} // namespace simulator
