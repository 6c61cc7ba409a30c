#pragma once

#include "logging/BasicLogger.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kal {

/// Writes "+" and a description at its making, "-", the description and the result at its end; what the thread logs in
/// between is indented by one more blank.
class FunctionTrace {
  public:
    /// @param check  whether to trace at all, if the component logs at the level
    FunctionTrace(BasicLogger &logger, const LoggerComponent &component, std::string text, uint32_t level, bool check);
    FunctionTrace(const FunctionTrace &) = delete;
    FunctionTrace &operator=(const FunctionTrace &) = delete;
    /// Writes nothing when the logger is gone: the call that made the last unregistration ends after it.
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
    uint64_t loggerNumber_; ///< a later logger may have this one's address
};

} // namespace kal
