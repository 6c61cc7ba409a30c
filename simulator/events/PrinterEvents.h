#pragma once

#include "simulator/Lock.h"
#include "simulator/configuration/Configuration.h"
#include "simulator/events/DeliveryThread.h"
#include "simulator/events/EventJournal.h"
#include "simulator/events/Listeners.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace simulator {

/// Alerts and notifications: the clients' registrations, the events of jobs in this and other processes, and the
/// configured timeline. Safe to use from any thread; no lock is held during a callback.
class PrinterEvents {
  public:
    /// The configuration must outlive the object.
    PrinterEvents(const Configuration &configuration, std::filesystem::path journal);

    /// Schedules the entries of the timeline that start when the library is loaded.
    void begin() { scheduleTimeline(TimelineStart::load, std::nullopt); }
    /// Drops all registrations and stops the threads, without waiting for a running callback.
    void stop() noexcept;

    /// The callback must not be null.
    void registerAlerts(uint16_t handle, uint32_t mask, OrxAlertCallback callback);
    void registerNotifications(uint16_t handle, uint32_t mask, OrxNotificationCallback callback);
    /// @return whether there was a registration.
    [[nodiscard]] bool unregisterAlerts(uint16_t handle) { return listeners_->clearAlerts(handle); }
    [[nodiscard]] bool unregisterNotifications(uint16_t handle) { return listeners_->clearNotifications(handle); }
    void unregisterAll(uint16_t handle);

    /// The last reported state; nothing if no state was reported.
    [[nodiscard]] std::optional<uint32_t> state(uint16_t handle) const { return listeners_->state(handle); }
    void setState(uint16_t handle, uint32_t state) { listeners_->setState(handle, state); }

    /// Both do nothing for a printer whose jobs are not reported.
    void notify(const PrinterConfiguration &printer, uint32_t notification, uint32_t afterMs = 0,
                std::optional<uint32_t> flag = std::nullopt);
    void alert(const PrinterConfiguration &printer, std::string_view cpdAlert, std::string_view bpdAlert,
               uint32_t afterMs = 0);

  private:
    void report(PrinterEvent event, uint32_t afterMs);
    void listen(uint16_t handle);
    void scheduleTimeline(TimelineStart start, std::optional<uint16_t> handle);

    const Configuration &configuration_;
    const std::shared_ptr<Listeners> listeners_;
    const std::shared_ptr<EventJournal> journal_;
    DeliveryThread jobEvents_;
    DeliveryThread timeline_;

    Lock lock_;                     // guards the rest
    std::vector<bool> isScheduled_; // by timeline entry
    bool isListening_ = false;
};

} // namespace simulator
