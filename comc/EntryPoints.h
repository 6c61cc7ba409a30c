/// What is known of the entry points of comc.dll: their arguments, and what of the caller's memory belongs to them.
#pragma once

#include "comc/EntryPointIndex.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace spy {

enum class ArgumentKind {
    number,               ///< 32 bits; the client identifier and handles too
    text,                 ///< up to a zero byte
    wideText,             ///< up to a zero character
    inputBytes,           ///< as many as the next argument says
    outputBytes,          ///< room for as many as the next argument says; the one behind it receives their number
    outputNumber,         ///< where the service puts 32 bits
    enumCallback,         ///< OrxEnumCallback
    alertCallback,        ///< OrxAlertCallback
    notificationCallback, ///< OrxNotificationCallback
    opaque                ///< an address of which nothing more is known
};

struct Argument {
    std::string name;
    ArgumentKind kind;
    bool isDocument = false; ///< its bytes are what somebody prints or scans
};

struct EntryPoint {
    std::string name;
    std::vector<Argument> arguments;
};

[[nodiscard]] constexpr bool isCallback(ArgumentKind kind) noexcept {
    return kind == ArgumentKind::enumCallback || kind == ArgumentKind::alertCallback ||
           kind == ArgumentKind::notificationCallback;
}

/// "enum", "alert" or "notification".
[[nodiscard]] std::string_view callbackName(ArgumentKind kind) noexcept;

/// All of them, in the order of EntryPointIndex.
[[nodiscard]] const std::vector<EntryPoint> &entryPoints();

/// Null when there is none of that name.
[[nodiscard]] const EntryPoint *findEntryPoint(std::string_view name);

} // namespace spy
