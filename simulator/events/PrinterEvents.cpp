#include "simulator/events/PrinterEvents.h"

#include "comc/Properties.h"
#include "simulator/configuration/AlertFormat.h"

#include <mutex>
#include <utility>

namespace simulator {

PrinterEvents::PrinterEvents(const Configuration &configuration, std::filesystem::path journal)
    : configuration_(configuration), listeners_(std::make_shared<Listeners>()),
      journal_(std::make_shared<EventJournal>(std::move(journal))), jobEvents_(listeners_, journal_),
      timeline_(listeners_), isScheduled_(configuration.timeline.size()) {}

void PrinterEvents::stop() noexcept {
    listeners_->clearAll();
    timeline_.stop();
    jobEvents_.stop();
}

void PrinterEvents::registerAlerts(uint16_t handle, uint32_t mask, OrxAlertCallback callback) {
    listeners_->setAlerts(handle, mask, callback);
    listen(handle);
}

void PrinterEvents::registerNotifications(uint16_t handle, uint32_t mask, OrxNotificationCallback callback) {
    listeners_->setNotifications(handle, mask, callback);
    listen(handle);
}

void PrinterEvents::unregisterAll(uint16_t handle) {
    listeners_->clearAlerts(handle);
    listeners_->clearNotifications(handle);
}

void PrinterEvents::notify(const PrinterConfiguration &printer, uint32_t notification, uint32_t afterMs,
                           std::optional<uint32_t> flag) {
    if (printer.reportsJobs) {
        PrinterEvent event;
        event.handle = printer.handle;
        event.notification = notification;
        event.flag = flag;
        report(std::move(event), afterMs);
    }
}

void PrinterEvents::alert(const PrinterConfiguration &printer, std::string_view cpdAlert, std::string_view bpdAlert,
                          uint32_t afterMs) {
    if (printer.reportsJobs) {
        const bool isCpd = printer.device == comc::device::cpdPrinter;
        PrinterEvent event;
        event.handle = printer.handle;
        event.alert =
            isCpd ? alertByName(cpdAlert, DeviceKind::cpdPrinter) : alertByName(bpdAlert, DeviceKind::bpdPrinter);
        report(std::move(event), afterMs);
    }
}

/// Posts to the listeners of this process, and appends to the journal for those of other processes.
void PrinterEvents::report(PrinterEvent event, uint32_t afterMs) {
    journal_->append(event, afterMs);
    if (listeners_->hasAny(event.handle)) {
        jobEvents_.post(std::move(event), afterMs);
    }
}

/// After a registration: starts reading the journal, and schedules the part of the timeline that begins now.
void PrinterEvents::listen(uint16_t handle) {
    {
        const std::lock_guard hold(lock_);
        if (!isListening_) {
            isListening_ = true;
            journal_->skipToEnd();
        }
    }
    jobEvents_.start();
    scheduleTimeline(TimelineStart::registration, handle);
}

void PrinterEvents::scheduleTimeline(TimelineStart start, std::optional<uint16_t> handle) {
    const auto &entries = configuration_.timeline;
    const std::lock_guard hold(lock_);
    for (size_t index = 0; index < entries.size(); ++index) {
        const auto &entry = entries[index];
        if (isScheduled_[index] || entry.start != start || (handle && entry.handle != *handle)) {
            continue;
        }
        isScheduled_[index] = true;
        PrinterEvent event;
        event.handle = entry.handle;
        event.alert = entry.alert;
        event.category = entry.category;
        event.notification = entry.notification.value_or(0);
        event.flag = entry.flag;
        timeline_.post(std::move(event), entry.afterMs, entry.count, entry.intervalMs);
    }
}

} // namespace simulator
