#pragma once

#include "simulator/configuration/Configuration.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>

namespace simulator {

/// Reads JSON values of the types that a configuration has. A value of another type throws a ConfigurationError with
/// its place.
class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    [[noreturn]] void fail(const JsonValue &value, const std::string &message) const {
        throw ConfigurationError(text_, value.offset, message);
    }

    const JsonValue::Object &object(const JsonValue &value, const std::string &what) const {
        return expect<JsonValue::Object>(value, what + " must be an object");
    }
    const JsonValue::Array &array(const JsonValue &value, const std::string &what) const {
        return expect<JsonValue::Array>(value, what + " must be an array");
    }
    const std::string &string(const JsonValue &value, const std::string &what) const {
        return expect<std::string>(value, what + " must be a string");
    }
    bool boolean(const JsonValue &value, const std::string &what) const {
        return expect<bool>(value, what + " must be true or false");
    }

    template <class Number>
    Number number(const JsonValue &value, const std::string &what) const {
        const auto largest = std::numeric_limits<Number>::max();
        if (const auto *content = std::get_if<uint64_t>(&value.content); content && *content <= largest) {
            return static_cast<Number>(*content);
        }
        fail(value, what + " must be a whole number from 0 to " + std::to_string(largest));
    }

    /// A number, or a hexadecimal string such as "0x6001".
    uint16_t handle(const JsonValue &value, const std::string &what) const;

    /// Pairs of hexadecimal digits; spaces, colons and hyphens are allowed between pairs.
    Bytes bytes(const JsonValue &value, const std::string &what) const;

  private:
    template <class Type>
    const Type &expect(const JsonValue &value, const std::string &message) const {
        if (const auto *content = std::get_if<Type>(&value.content)) {
            return *content;
        }
        fail(value, message);
    }

    std::string_view text_;
};

/// The members of one object by name. finish() reports keys that no caller read, so that misspelt keys are noticed.
class Members {
  public:
    Members(const Reader &reader, const JsonValue &value, const std::string &what)
        : reader_(reader), value_(value), members_(reader.object(value, what)), what_(what) {}

    const JsonValue *find(const std::string &key);

    const JsonValue &require(const std::string &key);

    template <class Number>
    void number(const std::string &key, Number &target) {
        if (const auto *value = find(key)) {
            target = reader_.number<Number>(*value, quoted(key));
        }
    }
    template <class Number>
    void number(const std::string &key, std::optional<Number> &target) {
        if (const auto *value = find(key)) {
            target = reader_.number<Number>(*value, quoted(key));
        }
    }
    void boolean(const std::string &key, bool &target) {
        if (const auto *value = find(key)) {
            target = reader_.boolean(*value, quoted(key));
        }
    }
    template <class Text>
    void string(const std::string &key, Text &target) {
        if (const auto *value = find(key)) {
            target = reader_.string(*value, quoted(key));
        }
    }

    void finish() const;

    [[noreturn]] void fail(const std::string &message) const { reader_.fail(value_, message); }

  private:
    static std::string quoted(const std::string &key) { return "\"" + key + "\""; }

    const Reader &reader_;
    const JsonValue &value_;
    const JsonValue::Object &members_;
    std::string what_;
    std::set<std::string> asked_;
};

} // namespace simulator
