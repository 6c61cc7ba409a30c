#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kal {

/// Whether a value read at one tick may still be used at another. Both are 32-bit millisecond counters. A counter that
/// wrapped or did not move makes the value stale, never wrongly fresh.
[[nodiscard]] constexpr bool isFresh(uint32_t now, uint32_t readAt, uint32_t maxAgeMilliseconds) noexcept {
    return now > readAt && now - readAt < maxAgeMilliseconds;
}

/// The last value of each setting, with the tick at which it was read. Threads find and store without a lock: an entry
/// is never removed, and stores value and tick in one word.
class SettingCache {
  public:
    SettingCache() = default;
    SettingCache(const SettingCache &) = delete;
    SettingCache &operator=(const SettingCache &) = delete;
    ~SettingCache();

    /// The value of a setting, if it is fresh.
    [[nodiscard]] std::optional<uint32_t> find(std::string_view name, uint32_t now,
                                               uint32_t maxAgeMilliseconds) const noexcept;
    void store(std::string_view name, uint32_t value, uint32_t now);

  private:
    struct Entry {
        std::string name;
        std::atomic<uint64_t> valueAndTick;
        Entry *next;
    };
    [[nodiscard]] Entry *findEntry(std::string_view name) const noexcept;

    std::atomic<Entry *> first_ = nullptr;
};

} // namespace kal
