/// The arguments of each entry point of comc.dll, and the caller's memory that they refer to.
#pragma once

#include "comc/EntryPointIndex.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace comc {

enum class ArgumentKind : uint8_t {
    number,               ///< 32 bits; also the client identifier and handles
    text,                 ///< null-terminated
    wideText,             ///< null-terminated UTF-16
    inputBytes,           ///< the next argument is their number
    outputBytes,          ///< the next argument is the buffer's size; the one after it receives the number of bytes
    outputNumber,         ///< receives 32 bits from the service
    enumCallback,         ///< OrxEnumCallback
    alertCallback,        ///< OrxAlertCallback
    notificationCallback, ///< OrxNotificationCallback
    opaque                ///< an address of memory with unknown content
};

struct Argument {
    std::string_view name;
    ArgumentKind kind = ArgumentKind::opaque;
    bool isDocument = false; ///< its bytes are printed or scanned data
};

class EntryPoint {
  public:
    constexpr EntryPoint(std::string_view entryPointName, std::span<const Argument> arguments) noexcept
        : name(entryPointName), argumentCount_(arguments.size()) {
        std::copy(arguments.begin(), arguments.end(), arguments_.begin());
    }

    [[nodiscard]] constexpr std::span<const Argument> arguments() const noexcept {
        return std::span(arguments_).first(argumentCount_);
    }

    std::string_view name;

  private:
    std::array<Argument, mostWords> arguments_;
    size_t argumentCount_;
};

[[nodiscard]] constexpr bool isCallback(ArgumentKind kind) noexcept {
    return kind == ArgumentKind::enumCallback || kind == ArgumentKind::alertCallback ||
           kind == ArgumentKind::notificationCallback;
}

/// "enum", "alert" or "notification".
[[nodiscard]] std::string_view callbackName(ArgumentKind kind) noexcept;

/// All entry points, in the order of EntryPointIndex.
[[nodiscard]] std::span<const EntryPoint> entryPoints() noexcept;

/// Null if there is no entry point of that name.
[[nodiscard]] const EntryPoint *findEntryPoint(std::string_view name) noexcept;

} // namespace comc
