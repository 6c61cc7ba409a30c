#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace simulator {

/// An error in the configuration and its place.
class ConfigurationError : public std::runtime_error {
  public:
    ConfigurationError(std::string_view text, size_t offset, const std::string &message);

    /// Both start at 1; the column counts bytes.
    [[nodiscard]] size_t line() const noexcept { return line_; }
    [[nodiscard]] size_t column() const noexcept { return column_; }

  private:
    size_t line_;
    size_t column_;
};

struct JsonMember;

/// A JSON value with its offset in the text, so that a wrong type can be reported with its place.
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

/// Reads strict JSON. @throws ConfigurationError  if the text is not JSON, repeats a key or is nested deeper than 64.
[[nodiscard]] JsonValue readJson(std::string_view text);

} // namespace simulator
