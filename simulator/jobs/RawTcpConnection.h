#pragma once

#include "simulator/configuration/Configuration.h"

#include <cstdint>
#include <utility>

namespace simulator {

/// A connection to a printer that takes documents over raw TCP. Its codes are: 1168 if the printer cannot be reached,
/// 170 if it closes the connection, 1460 if it stops taking data.
class RawTcpConnection {
  public:
    explicit RawTcpConnection(RawTcpTarget target) : target_(std::move(target)) {}
    ~RawTcpConnection() { abort(); }
    RawTcpConnection(const RawTcpConnection &) = delete;
    RawTcpConnection &operator=(const RawTcpConnection &) = delete;

    [[nodiscard]] uint32_t connect();
    /// Blocks until all data is passed to the system, or until nothing could be sent for the target's send timeout.
    [[nodiscard]] uint32_t send(const void *data, uint32_t count) noexcept;
    /// Ends the document and waits until the printer has read it and closed the connection.
    [[nodiscard]] uint32_t finish() noexcept;
    /// Resets the connection, so that the printer does not treat the data as a complete document. (Wine closes the
    /// connection normally instead.)
    void abort() noexcept;

  private:
    [[nodiscard]] bool isTaken() const noexcept;
    void close() noexcept;

    RawTcpTarget target_;
    uintptr_t socket_ = ~uintptr_t{0};
    bool isStarted_ = false;
};

} // namespace simulator
