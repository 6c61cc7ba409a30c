/// What the fuzz targets share: taking arguments from the input's bytes, and demanding what must hold.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// Stops the process, which the fuzzer takes for a finding, when something that must always hold does not.
inline void require(bool holds, const char *what, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (!holds) {
        std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
        std::abort();
    }
}

/// The input's bytes, taken from the front. What is taken is copied to memory of exactly its size, so that the address
/// sanitizer sees a read beyond it.
class Input {
  public:
    Input(const uint8_t *bytes, size_t size) : rest_(bytes, size) {}

    [[nodiscard]] bool isEmpty() const { return rest_.empty(); }

    /// Missing bytes count as 0.
    template <class Number>
    Number number() {
        uint64_t value = 0;
        for (size_t position = 0; position < sizeof(Number); ++position) {
            value |= static_cast<uint64_t>(byte()) << (8 * position);
        }
        return static_cast<Number>(value);
    }

    /// As many bytes as the next two bytes say, or fewer when there are not as many.
    std::vector<uint8_t> bytes() {
        const size_t count = number<uint16_t>();
        return exactly(std::min(count, rest_.size()));
    }
    std::string text() {
        const std::vector<uint8_t> taken = bytes();
        return {taken.begin(), taken.end()};
    }
    std::vector<uint8_t> remainingBytes() { return exactly(rest_.size()); }
    std::string remainingText() {
        std::string text(rest_.begin(), rest_.end());
        rest_ = {};
        return text;
    }

  private:
    uint8_t byte() {
        if (rest_.empty()) {
            return 0;
        }
        const uint8_t first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }
    std::vector<uint8_t> exactly(size_t count) {
        std::vector<uint8_t> taken(rest_.begin(), rest_.begin() + static_cast<ptrdiff_t>(count));
        taken.shrink_to_fit();
        rest_ = rest_.subspan(count);
        return taken;
    }

    std::span<const uint8_t> rest_;
};

} // namespace fuzz

/// One input; every target defines it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size);
