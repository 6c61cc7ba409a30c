#pragma once

#include "logging/BasicLogger.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kal {

/// The constructor writes "+" and a description; the destructor writes "-", the description and the result. Lines that
/// the thread logs in between are indented by one more space.
class FunctionTrace {
  public:
    /// @param check  false: do not trace, whatever the component's level
    FunctionTrace(BasicLogger &logger, const LoggerComponent &component, std::string text, uint32_t level, bool check);
    FunctionTrace(const FunctionTrace &) = delete;
    FunctionTrace &operator=(const FunctionTrace &) = delete;
    /// Writes nothing if the logger was destroyed, as during the last unregistration.
    ~FunctionTrace();

    void setResult(std::string_view text);
    [[nodiscard]] bool isActive() const noexcept { return active_; }

  private:
    std::string text_;
    const LoggerComponent &component_;
    std::string result_;
    BasicLogger &logger_;
    uint32_t level_;
    bool active_;
    uint64_t loggerNumber_; ///< identifies the logger, since addresses are reused
};

} // namespace kal
