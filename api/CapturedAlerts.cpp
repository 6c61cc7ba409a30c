#include "api/CapturedAlerts.h"

#include "platform/CriticalSection.h"
#include "platform/Mutex.h"
#include "service/OrxClient.h"

#include <atomic>
#include <map>
#include <mutex>
#include <utility>

namespace kal {

namespace {

/// The window per client identifier: that of the latest successful capture.
class AlertWindowMap {
  public:
    void set(int32_t clientId, HWND window) {
        const std::lock_guard guard(section_);
        windows_[clientId] = window;
    }

    [[nodiscard]] std::optional<HWND> find(int32_t clientId) {
        const std::lock_guard guard(section_);
        const auto position = windows_.find(clientId);
        return position == windows_.end() ? std::nullopt : std::optional(position->second);
    }

  private:
    CriticalSection section_; ///< guards windows_
    std::map<int32_t, HWND> windows_;
};

AlertWindowMap alertWindows;
AlertStore alertStore;
ProcessMutex alertIdLock; ///< held while nextAlertId is read and raised
std::atomic<uint16_t> nextAlertId = 0;
ProcessMutex captureLock;                   ///< guards captureCounts
std::map<uint16_t, uint32_t> captureCounts; ///< successful captures that are not released, by printer handle

uint16_t takeAlertId() {
    const ScopedMutex guard(alertIdLock.get());
    return nextAlertId.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

std::optional<HWND> alertWindowOf(uint32_t clientId) {
    return alertWindows.find(static_cast<int32_t>(clientId));
}

void countCapture(OrxClient &client, uint16_t handle, HWND window) {
    const ScopedMutex guard(captureLock.get());
    uint32_t &count = captureCounts[handle]; // counted last, because this line and the next may throw
    alertWindows.set(static_cast<int32_t>(client.clientId()), window);
    ++count;
}

bool takeCaptureOff(uint16_t handle) {
    const ScopedMutex guard(captureLock.get());
    const auto position = captureCounts.find(handle);
    if (position == captureCounts.end() || position->second == 0) {
        return false;
    }
    --position->second; // an entry with 0 is kept, because its handle is likely to be captured again
    return true;
}

uint16_t storeAlert(std::unique_ptr<Data> alert) {
    const uint16_t alertId = takeAlertId();
    alertStore.put(alertId, std::move(alert));
    return alertId;
}

AlertStore::Answer copyStoredAlert(uint16_t alertId, void *buffer, uint16_t size, uint32_t &stored) {
    return alertStore.copy(alertId, buffer, size, stored);
}

uint16_t nextAlertIdentifier() noexcept {
    return nextAlertId.load(std::memory_order_relaxed);
}

void resetAlertIds() noexcept {
    nextAlertId.store(0, std::memory_order_relaxed);
}

} // namespace kal
