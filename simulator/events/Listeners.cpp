#include "simulator/events/Listeners.h"

#include "simulator/configuration/AlertFormat.h"

#include <algorithm>
#include <mutex>

namespace simulator {

void Listeners::setAlerts(uint16_t handle, uint32_t mask, OrxAlertCallback callback) {
    const std::lock_guard hold(lock_);
    alerts_[handle] = {mask, callback};
}

void Listeners::setNotifications(uint16_t handle, uint32_t mask, OrxNotificationCallback callback) {
    const std::lock_guard hold(lock_);
    notifications_[handle] = {mask, callback};
}

bool Listeners::clearAlerts(uint16_t handle) {
    const std::lock_guard hold(lock_);
    return alerts_.erase(handle) > 0;
}

bool Listeners::clearNotifications(uint16_t handle) {
    const std::lock_guard hold(lock_);
    return notifications_.erase(handle) > 0;
}

void Listeners::clearAll() {
    const std::lock_guard hold(lock_);
    alerts_.clear();
    notifications_.clear();
}

bool Listeners::hasAny(uint16_t handle) const {
    const std::lock_guard hold(lock_);
    return alerts_.contains(handle) || notifications_.contains(handle);
}

std::optional<uint32_t> Listeners::state(uint16_t handle) const {
    const std::lock_guard hold(lock_);
    const auto found = states_.find(handle);
    return found == states_.end() ? std::nullopt : std::optional(found->second);
}

void Listeners::setState(uint16_t handle, uint32_t state) {
    const std::lock_guard hold(lock_);
    states_[handle] = state;
}

bool Listeners::deliver(const PrinterEvent &event) {
    return event.alert ? deliverAlert(event) : deliverNotification(event);
}

bool Listeners::deliverAlert(const PrinterEvent &event) {
    Registration<OrxAlertCallback> listener;
    {
        const std::lock_guard hold(lock_);
        if (const auto found = alerts_.find(event.handle); found != alerts_.end()) {
            listener = found->second;
        }
    }
    if (!listener.callback || listener.mask == 0) {
        return false;
    }
    auto bytes = *event.alert;
    const auto length = static_cast<uint32_t>(bytes.size());
    bytes.resize(std::max(bytes.size(), readableAlertBytes));
    listener.callback(event.handle, bytes.data(), length);
    return true;
}

bool Listeners::deliverNotification(const PrinterEvent &event) {
    Registration<OrxNotificationCallback> listener;
    {
        const std::lock_guard hold(lock_);
        const bool tellsState =
            event.notification >= ORX_PRINTER_PRINTING_AND_OKAY && event.notification <= ORX_PRINTER_IDLE_AND_OKAY;
        if (event.category == ORX_NOTIFICATION_CATEGORY_PRINTER && tellsState) {
            states_[event.handle] = event.notification;
        }
        if (const auto found = notifications_.find(event.handle); found != notifications_.end()) {
            listener = found->second;
        }
    }
    if (!listener.callback || listener.mask == 0) {
        return false;
    }
    const uint32_t flag = event.flag.value_or(0);
    listener.callback(event.handle, event.category, event.notification, event.flag ? &flag : nullptr, nullptr, nullptr);
    return true;
}

} // namespace simulator
