/// A JSON object on one line, composed member by member: for documents of millions of objects, where a tree of values
/// per object would take most of the time. The text is the one that jsonLine makes of the same members.
#pragma once

#include <concepts>
#include <string>
#include <string_view>

namespace tool {

class JsonLine {
  public:
    /// Begins a new object; the memory of the previous one is used again.
    void begin();
    void add(std::string_view key, std::string_view value);
    void add(std::string_view key, std::integral auto value) { addLiteral(key, std::to_string(value)); }
    /// A value that is JSON already.
    void addLiteral(std::string_view key, std::string_view value);
    /// Begins an object as the value; its members follow until endObject().
    void beginObject(std::string_view key);
    void endObject();
    /// The complete object; valid until the next begin().
    [[nodiscard]] std::string_view end();

  private:
    void addKey(std::string_view key);

    std::string text_;
    bool isFirst_ = true;
};

} // namespace tool
