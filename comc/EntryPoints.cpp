#include "comc/EntryPoints.h"

#include "comc/comc.h"

#include <algorithm>
#include <iterator>
#include <type_traits>

namespace comc {

namespace {

template <ArgumentKind kind>
struct KindOfArgument {
    consteval Argument operator()(std::string_view name) const { return {name, kind}; }
};

constexpr KindOfArgument<ArgumentKind::number> number;
constexpr KindOfArgument<ArgumentKind::text> text;
constexpr KindOfArgument<ArgumentKind::wideText> wideText;
constexpr KindOfArgument<ArgumentKind::inputBytes> inputBytes;
constexpr KindOfArgument<ArgumentKind::outputBytes> outputBytes;
constexpr KindOfArgument<ArgumentKind::outputNumber> outputNumber;
constexpr KindOfArgument<ArgumentKind::enumCallback> enumCallback;
constexpr KindOfArgument<ArgumentKind::alertCallback> alertCallback;
constexpr KindOfArgument<ArgumentKind::notificationCallback> notificationCallback;
constexpr KindOfArgument<ArgumentKind::opaque> opaque;

constexpr Argument client = number("clientId");
constexpr Argument handle = number("handle");

consteval Argument document(Argument bytes) {
    bytes.isDocument = true;
    return bytes;
}

/// Whether an argument of the kind can have the type Parameter in the prototype.
template <class Parameter>
consteval bool matches(ArgumentKind kind) {
    if constexpr (std::is_same_v<Parameter, uint32_t>) {
        return kind == ArgumentKind::number;
    } else if constexpr (std::is_same_v<Parameter, uint32_t *>) {
        return kind == ArgumentKind::outputNumber;
    } else if constexpr (std::is_same_v<Parameter, const char *>) {
        return kind == ArgumentKind::text || kind == ArgumentKind::inputBytes;
    } else if constexpr (std::is_same_v<Parameter, const wchar_t *>) {
        return kind == ArgumentKind::wideText;
    } else if constexpr (std::is_same_v<Parameter, const void *>) {
        return kind == ArgumentKind::inputBytes || kind == ArgumentKind::opaque;
    } else if constexpr (std::is_same_v<Parameter, void *> || std::is_same_v<Parameter, char *>) {
        return kind == ArgumentKind::outputBytes;
    } else if constexpr (std::is_same_v<Parameter, OrxEnumCallback>) {
        return kind == ArgumentKind::enumCallback;
    } else if constexpr (std::is_same_v<Parameter, OrxAlertCallback>) {
        return kind == ArgumentKind::alertCallback;
    } else {
        return std::is_same_v<Parameter, OrxNotificationCallback> && kind == ArgumentKind::notificationCallback;
    }
}

/// Makes a row of the table; does not compile if the row differs from the prototype.
template <class... Parameters, class... Arguments>
consteval EntryPoint entryPoint(std::string_view name, uint32_t (*)(Parameters...), Arguments... arguments) {
    static_assert(sizeof...(Parameters) == sizeof...(Arguments), "a row has as many arguments as the prototype");
    static_assert(sizeof...(Parameters) <= mostWords);
    if (!(matches<Parameters>(arguments.kind) && ...)) {
        throw "the argument's kind does not match its type in comc.h";
    }
    const std::array<Argument, sizeof...(Arguments)> all{arguments...};
    return {name, all};
}

constexpr EntryPoint table[] = {
#define ORX_ENTRY_POINT(name, ...) entryPoint(#name, static_cast<decltype(&name)>(nullptr) __VA_OPT__(, ) __VA_ARGS__),
#include "comc/EntryPoints.inc"
#undef ORX_ENTRY_POINT
};
static_assert(std::size(table) == entryPointCount);

} // namespace

std::string_view callbackName(ArgumentKind kind) noexcept {
    switch (kind) {
    case ArgumentKind::enumCallback:
        return "enum";
    case ArgumentKind::alertCallback:
        return "alert";
    case ArgumentKind::notificationCallback:
        return "notification";
    default:
        return {};
    }
}

std::span<const EntryPoint> entryPoints() noexcept {
    return table;
}

const EntryPoint *findEntryPoint(std::string_view name) noexcept {
    const auto *const found =
        std::find_if(std::begin(table), std::end(table), [name](const EntryPoint &each) { return each.name == name; });
    return found == std::end(table) ? nullptr : found;
}

} // namespace comc
