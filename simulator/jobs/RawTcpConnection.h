#pragma once

#include "simulator/configuration/Configuration.h"

#include <cstdint>
#include <utility>

namespace simulator {

/// A connection to a printer that takes documents over raw TCP. Its codes are those that the real situation has: 1168
/// when the printer cannot be reached, 170 when it breaks the connection, 1460 when it stops taking data.
class RawTcpConnection {
  public:
    explicit RawTcpConnection(RawTcpTarget target) : target_(std::move(target)) {}
    ~RawTcpConnection() { abort(); }
    RawTcpConnection(const RawTcpConnection &) = delete;
    RawTcpConnection &operator=(const RawTcpConnection &) = delete;

    [[nodiscard]] uint32_t connect();
    /// Blocks until all is handed over or nothing could be sent for the target's send time-out.
    [[nodiscard]] uint32_t send(const void *data, uint32_t count) noexcept;
    /// Says that the document is complete and waits until the printer has taken it all and closed its side.
    [[nodiscard]] uint32_t finish() noexcept;
    /// Breaks the connection, so that the printer does not take what it has for a whole document. (Wine ends it in the
    /// ordinary way all the same.)
    void abort() noexcept;

  private:
    [[nodiscard]] bool isTaken() noexcept;
    void close() noexcept;

    RawTcpTarget target_;
    uintptr_t socket_ = ~uintptr_t{0};
    bool isStarted_ = false;
};

} // namespace simulator
