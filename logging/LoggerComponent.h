#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace kal {

/// A part of the system with its own name in the log. The order of the virtual operations is part of the binary
/// interface.
class LoggerComponent {
  public:
    // cppcheck-suppress passedByValue // moved from
    LoggerComponent(std::string name, uint32_t level) noexcept : name_(std::move(name)), level_(level) {}

    [[nodiscard]] virtual std::string name() const { return name_; }
    /// Replaces the default mask.
    virtual void setLevel(uint32_t level) { level_ = level; }
    /// The mask that is used if no setting exists.
    [[nodiscard]] virtual uint32_t level() const { return level_; }
    virtual ~LoggerComponent() = default;

    /// The name without a copy, for every log test.
    [[nodiscard]] std::string_view nameView() const noexcept { return name_; }

  private:
    std::string name_;
    std::atomic<uint32_t> level_;
};

/// The components, static and in the order of ComponentTable.inc.
enum class ComponentId : size_t {
#define LOGGER_COMPONENT(identifier, name, level) identifier,
#include "logging/ComponentTable.inc"
#undef LOGGER_COMPONENT
    count
};

[[nodiscard]] LoggerComponent &loggerComponent(ComponentId id) noexcept;

} // namespace kal
