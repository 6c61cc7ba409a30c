#pragma once

#include "comc/comc.h"
#include "simulator/Lock.h"
#include "simulator/events/PrinterEvent.h"

#include <map>
#include <optional>

namespace simulator {

/// The registrations per printer, and the last reported state of each printer.
class Listeners {
  public:
    void setAlerts(uint16_t handle, uint32_t mask, OrxAlertCallback callback);
    void setNotifications(uint16_t handle, uint32_t mask, OrxNotificationCallback callback);
    /// @return whether there was a registration.
    bool clearAlerts(uint16_t handle);
    bool clearNotifications(uint16_t handle);
    void clearAll();
    [[nodiscard]] bool hasAny(uint16_t handle) const;

    /// The last reported state; nothing if no state was reported.
    [[nodiscard]] std::optional<uint32_t> state(uint16_t handle) const;
    void setState(uint16_t handle, uint32_t state);

    /// Stores the state and calls the registered callback on this thread, without a lock.
    /// @return whether a callback was registered.
    bool deliver(const PrinterEvent &event);

  private:
    template <class Callback>
    struct Registration {
        uint32_t mask = 0;
        Callback callback = nullptr;
    };

    bool deliverAlert(const PrinterEvent &event);
    bool deliverNotification(const PrinterEvent &event);

    mutable Lock lock_; // guards the maps
    std::map<uint16_t, Registration<OrxAlertCallback>> alerts_;
    std::map<uint16_t, Registration<OrxNotificationCallback>> notifications_;
    std::map<uint16_t, uint32_t> states_;
};

} // namespace simulator
