#include "logging/SettingCache.h"

#include <memory>

namespace kal {

namespace {

constexpr uint64_t pack(uint32_t value, uint32_t tick) noexcept {
    return static_cast<uint64_t>(tick) << 32 | value;
}

} // namespace

SettingCache::~SettingCache() {
    for (const Entry *entry = first_; entry != nullptr;) {
        const std::unique_ptr<const Entry> owned(entry);
        entry = owned->next;
    }
}

SettingCache::Entry *SettingCache::findEntry(std::string_view name) const noexcept {
    for (Entry *entry = first_.load(std::memory_order_acquire); entry != nullptr; entry = entry->next) {
        if (entry->name == name) {
            return entry;
        }
    }
    return nullptr;
}

std::optional<uint32_t> SettingCache::find(std::string_view name, uint32_t now,
                                           uint32_t maxAgeMilliseconds) const noexcept {
    const Entry *const entry = findEntry(name);
    if (entry == nullptr) {
        return std::nullopt;
    }
    const uint64_t valueAndTick = entry->valueAndTick.load(std::memory_order_relaxed);
    if (!isFresh(now, static_cast<uint32_t>(valueAndTick >> 32), maxAgeMilliseconds)) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(valueAndTick);
}

void SettingCache::store(std::string_view name, uint32_t value, uint32_t now) {
    if (Entry *const entry = findEntry(name)) {
        entry->valueAndTick.store(pack(value, now), std::memory_order_relaxed);
        return;
    }
    // Two threads may add an entry for the same setting. The newer one is found first; the older one is not used again.
    auto *const entry = new Entry{std::string(name), pack(value, now), first_.load(std::memory_order_relaxed)};
    while (!first_.compare_exchange_weak(entry->next, entry, std::memory_order_release, std::memory_order_relaxed)) {
    }
}

} // namespace kal
