#pragma once

#include "simulator/Lock.h"
#include "simulator/jobs/RawTcpConnection.h"
#include "simulator/jobs/Spool.h"

#include <memory>

namespace simulator {

/// One job that is written to the spool and, if the printer is bound, to the real printer. After a failure it returns
/// the same code for every further call, so that an incomplete document is never reported as done.
class PrintJob {
  public:
    explicit PrintJob(JobDescription description) : description_(std::move(description)) {}

    [[nodiscard]] uint32_t start(const std::filesystem::path &spool, std::optional<uint64_t> capacity,
                                 const std::optional<RawTcpTarget> &target);
    /// @param[out] isFirst whether these are the job's first bytes.
    [[nodiscard]] uint32_t write(const void *data, uint32_t count, bool &isFirst);
    [[nodiscard]] uint32_t end();
    void cancel() noexcept;

    [[nodiscard]] const JobDescription &description() const noexcept { return description_; }
    [[nodiscard]] uint32_t number() const noexcept { return spool_.jobNumber(); }
    [[nodiscard]] uint64_t size() const noexcept { return spool_.size(); }
    [[nodiscard]] const std::filesystem::path &finalName() const noexcept { return spool_.finalName(); }

  private:
    [[nodiscard]] uint32_t fail(uint32_t code) noexcept;

    const JobDescription description_;
    Lock lock_; // guards the rest: two threads may write to one handle
    SpoolFile spool_;
    std::unique_ptr<RawTcpConnection> connection_;
    uint32_t failure_ = 0;
    bool isClosed_ = false;
};

} // namespace simulator
