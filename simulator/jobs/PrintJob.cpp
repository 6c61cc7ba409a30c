#include "simulator/jobs/PrintJob.h"

#include <mutex>

namespace simulator {

uint32_t PrintJob::start(const std::filesystem::path &spool, std::optional<uint64_t> capacity,
                         const std::optional<RawTcpTarget> &target) {
    const std::lock_guard hold(lock_);
    if (const auto code = spool_.create(spool, capacity); code != 0) {
        return fail(code);
    }
    if (!target) {
        return 0;
    }
    connection_ = std::make_unique<RawTcpConnection>(*target);
    const auto code = connection_->connect();
    return code == 0 ? 0 : fail(code);
}

uint32_t PrintJob::write(const void *data, uint32_t count, bool &isFirst) {
    const std::lock_guard hold(lock_);
    isFirst = false;
    if (isClosed_) {
        return ERROR_NOT_SUPPORTED; // another thread ended or cancelled the job
    }
    if (failure_ != 0) {
        return failure_;
    }
    isFirst = spool_.size() == 0 && count > 0;
    if (const auto code = spool_.write(data, count); code != 0) {
        return fail(code);
    }
    if (connection_) {
        if (const auto code = connection_->send(data, count); code != 0) {
            return fail(code);
        }
    }
    return 0;
}

uint32_t PrintJob::end() {
    const std::lock_guard hold(lock_);
    if (isClosed_) {
        return ERROR_NOT_SUPPORTED;
    }
    isClosed_ = true;
    if (failure_ != 0) {
        return failure_;
    }
    if (connection_) {
        if (const auto code = connection_->finish(); code != 0) {
            return fail(code);
        }
    }
    const auto code = spool_.finish(description_);
    return code == 0 ? 0 : fail(code);
}

void PrintJob::cancel() noexcept {
    const std::lock_guard hold(lock_);
    isClosed_ = true;
    static_cast<void>(fail(ERROR_CANCELLED));
}

uint32_t PrintJob::fail(uint32_t code) noexcept {
    failure_ = code;
    connection_.reset();
    spool_.discard();
    return code;
}

} // namespace simulator
