#include "platform/Data.h"

#include <algorithm>
#include <cstdlib>

namespace kal {

void Data::check() const {
    if (startPosition_ > readPosition_ || readPosition_ > endMark_ || endMark_ > storage_.size()) {
        std::abort();
    }
}

uint32_t Data::remaining() const {
    check();
    return static_cast<uint32_t>(endMark_ - readPosition_);
}

const uint8_t *Data::current() const {
    check();
    return storage_.empty() ? nullptr : storage_.data() + readPosition_;
}

void Data::skip(uint32_t count, bool compact) {
    if (count <= remaining()) {
        readPosition_ += count;
    }
    if (compact) {
        const auto begin = storage_.begin();
        const auto newEnd = std::copy(begin + static_cast<std::ptrdiff_t>(readPosition_),
                                      begin + static_cast<std::ptrdiff_t>(endMark_), begin);
        storage_.erase(newEnd, storage_.end());
        startPosition_ = readPosition_ = 0;
        endMark_ = storage_.size();
    }
}

size_t Data::append(const uint8_t *bytes, uint32_t count) {
    check();
    storage_.insert(storage_.end(), bytes, bytes + count);
    readPosition_ -= startPosition_;
    startPosition_ = 0;
    endMark_ = storage_.size();
    return endMark_;
}

size_t Data::append(const Data &other) {
    if (&other == this) {
        // Inserting a range of a vector into itself is not allowed.
        const Data copy(other); // NOLINT(performance-unnecessary-copy-initialization)
        return append(copy.current(), copy.remaining());
    }
    return append(other.current(), other.remaining());
}

void Data::clear() {
    storage_.clear();
    reset();
}

bool Data::overwriteTail(const uint8_t *bytes, uint32_t count) {
    if (remaining() < count) {
        return false;
    }
    skip(remaining() - count, false);
    std::copy_n(bytes, count, storage_.begin() + static_cast<std::ptrdiff_t>(readPosition_));
    return true;
}

void Data::reset() {
    startPosition_ = readPosition_ = 0;
    endMark_ = storage_.size();
    firstAttribute_ = secondAttribute_ = 0;
}

} // namespace kal
