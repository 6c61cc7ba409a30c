#include "simulator/configuration/JsonDocument.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

constexpr size_t deepestNesting = 64;

size_t lineOf(std::string_view text, size_t offset) {
    const auto before = text.substr(0, offset);
    return static_cast<size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
}

size_t columnOf(std::string_view text, size_t offset) {
    const auto before = text.substr(0, offset);
    const auto newline = before.rfind('\n');
    return newline == std::string_view::npos ? before.size() + 1 : before.size() - newline;
}

/// Iterates over the text and counts the characters that the parser has read.
class CountingIterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = ptrdiff_t;
    using pointer = const char *;
    using reference = const char &;

    CountingIterator(const char *at, size_t *read) : at_(at), read_(read) {}
    reference operator*() const { return *at_; }
    CountingIterator &operator++() {
        ++at_;
        ++*read_;
        return *this;
    }
    CountingIterator operator++(int) {
        auto before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator &other) const { return at_ == other.at_; }
    bool operator!=(const CountingIterator &other) const { return at_ != other.at_; }

  private:
    const char *at_;
    size_t *read_;
};

/// Receives the parser's events and builds the tree. The parser's interface requires the public members.
class TreeBuilder {
  public:
    TreeBuilder(std::string_view text, const size_t *read) : text_(text), read_(read) {}

    bool null() { return add({nullptr, startOfToken()}); }
    bool boolean(bool value) { return add({value, startOfToken()}); }
    bool number_integer(int64_t value) { return add({value, startOfToken()}); }
    bool number_unsigned(uint64_t value) { return add({value, startOfToken()}); }
    bool number_float(double value, const std::string &) { return add({value, startOfToken()}); }
    bool string(std::string &value) { return add({std::move(value), startOfToken()}); }
    template <class Binary>
    bool binary(Binary &) {
        return false; // JSON text has no binary values
    }
    bool start_object(size_t) { return open({JsonValue::Object{}, startOfToken()}); }
    bool start_array(size_t) { return open({JsonValue::Array{}, startOfToken()}); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }

    bool key(std::string &name) {
        const auto offset = startOfToken();
        const auto &members = std::get<JsonValue::Object>(open_.back().value.content);
        if (std::any_of(members.begin(), members.end(), [&](const auto &member) { return member.key == name; })) {
            throw ConfigurationError(text_, offset, "\"" + name + "\" stands here twice");
        }
        open_.back().key = std::move(name);
        tokenEnd_ = *read_;
        return true;
    }

    template <class Exception>
    bool parse_error(size_t position, const std::string &, const Exception &exception) {
        std::string message = exception.what();
        // The parser's message begins with its error number and the place. ConfigurationError adds the place itself.
        if (const auto colon = message.find(": "); colon != std::string::npos) {
            message.erase(0, colon + 2);
        }
        throw ConfigurationError(text_, position == 0 ? 0 : position - 1, message);
    }

    JsonValue take() { return std::move(root_); }

  private:
    struct OpenValue {
        JsonValue value;
        std::string key;
    };

    /// The parser reports a token after reading it. The token starts at the first significant character after the
    /// previous one.
    size_t startOfToken() const {
        const auto start = text_.find_first_not_of(" \t\r\n,:", tokenEnd_);
        return std::min(start, text_.size());
    }

    bool open(JsonValue value) {
        if (open_.size() == deepestNesting) {
            throw ConfigurationError(text_, value.offset, "nested too deep");
        }
        open_.push_back({std::move(value), {}});
        tokenEnd_ = *read_;
        return true;
    }

    bool close() {
        auto value = std::move(open_.back().value);
        open_.pop_back();
        return add(std::move(value));
    }

    bool add(JsonValue value) {
        tokenEnd_ = *read_;
        if (open_.empty()) {
            root_ = std::move(value);
        } else if (auto *object = std::get_if<JsonValue::Object>(&open_.back().value.content)) {
            object->push_back({std::move(open_.back().key), std::move(value)});
        } else {
            std::get<JsonValue::Array>(open_.back().value.content).push_back(std::move(value));
        }
        return true;
    }

    std::string_view text_;
    const size_t *read_;
    size_t tokenEnd_ = 0;
    std::vector<OpenValue> open_;
    JsonValue root_;
};

} // namespace

ConfigurationError::ConfigurationError(std::string_view text, size_t offset, const std::string &message)
    : std::runtime_error(message), line_(lineOf(text, offset)), column_(columnOf(text, offset)) {}

JsonValue readJson(std::string_view text) {
    size_t read = 0;
    TreeBuilder builder(text, &read);
    nlohmann::json::sax_parse(CountingIterator(text.data(), &read), CountingIterator(text.data() + text.size(), &read),
                              &builder);
    return builder.take();
}

} // namespace simulator
