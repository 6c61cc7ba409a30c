#pragma once

#include "comc/Properties.h"
#include "simulator/Log.h"
#include "simulator/ProcessMemory.h"
#include "simulator/configuration/ConfigurationFile.h"
#include "simulator/configuration/MisbehaviourPlan.h"
#include "simulator/events/DeliveryThread.h"
#include "simulator/events/EventJournal.h"
#include "simulator/events/Listeners.h"
#include "simulator/jobs/PrintJob.h"
#include "simulator/printers/PrinterStore.h"

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace simulator {

/// A printer's new job as the entry points hear of it.
struct JobRequest {
    std::string user;
    std::string host;
    std::string documentName;
    std::string options;
};

/// The simulated service as one load of the library sees it. Operations answer 0 or a code of the system; handles are
/// those of the configuration. Safe to use from any thread; no lock is held while a callback runs, while a document is
/// written or while a real printer is waited for.
class Service {
  public:
    explicit Service(LoadedConfiguration loaded);
    ~Service();
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;

    /// Ends the threads as far as they can be ended now, cancels what is unfinished.
    void stop() noexcept;

    [[nodiscard]] bool isUsable() const noexcept { return !loaded_.error; }
    [[nodiscard]] MisbehaviourDecision decideCall(std::string_view entryPoint);
    [[nodiscard]] bool logsCalls() const noexcept { return loaded_.configuration.logsCalls; }
    [[nodiscard]] Log &log() noexcept { return log_; }

    [[nodiscard]] uint32_t open(uint32_t handle);
    [[nodiscard]] uint32_t close(uint32_t handle);
    [[nodiscard]] uint32_t remove(uint32_t handle);

    [[nodiscard]] uint32_t startJob(uint32_t clientId, uint32_t handle, const JobRequest &request);
    [[nodiscard]] uint32_t write(uint32_t handle, const void *data, uint32_t count);
    [[nodiscard]] uint32_t endJob(uint32_t handle);
    [[nodiscard]] uint32_t cancelJob(uint32_t handle);

    /// Handles of the printers of a transport that can be found; a null transport means all.
    [[nodiscard]] std::vector<uint16_t> find(const char *transport);
    [[nodiscard]] uint32_t discover(const char *transport);
    [[nodiscard]] uint32_t findPort(std::string_view portName, uint32_t &handle);

    /// @param type  "String", "Long" or "ByteArray": what the caller wants.
    [[nodiscard]] uint32_t property(uint32_t handle, const char *descriptor, std::string_view type,
                                    PropertyValue &value);
    [[nodiscard]] uint32_t setProperty(uint32_t handle, const char *descriptor, std::string_view type,
                                       PropertyValue value);
    [[nodiscard]] uint32_t setJobString(uint32_t handle, const char *key, const char *value);

    [[nodiscard]] uint32_t cache(uint32_t handle, Bytes &block);
    [[nodiscard]] uint32_t state(uint32_t handle, uint32_t &state);
    [[nodiscard]] uint32_t exchange(uint32_t handle, std::span<const uint8_t> request, Bytes &response);

    [[nodiscard]] uint32_t registerAlerts(uint32_t handle, uint32_t mask, OrxAlertCallback callback);
    [[nodiscard]] uint32_t unregisterAlerts(uint32_t handle);
    [[nodiscard]] uint32_t registerNotifications(uint32_t handle, uint32_t mask, OrxNotificationCallback callback);
    [[nodiscard]] uint32_t unregisterNotifications(uint32_t handle);

  private:
    struct OpenPrinter {
        uint32_t count = 0;
        std::shared_ptr<PrintJob> job;
    };

    [[nodiscard]] const PrinterConfiguration *printer(uint32_t handle) const noexcept;
    [[nodiscard]] bool isPresent(const PrinterConfiguration &printer) const;
    [[nodiscard]] bool isOpen(uint32_t handle);
    [[nodiscard]] std::shared_ptr<PrintJob> runningJob(uint32_t handle);
    /// The handle's job is over, unless it is another one by now.
    void dropJob(uint32_t handle, const std::shared_ptr<PrintJob> &job);
    [[nodiscard]] std::string portOf(const PrinterConfiguration &printer) const;
    void notify(const PrinterConfiguration &printer, uint32_t notification, uint32_t afterMs = 0,
                std::optional<uint32_t> flag = std::nullopt);
    void alert(const PrinterConfiguration &printer, std::string_view cpdAlert, std::string_view bpdAlert,
               uint32_t afterMs = 0);
    void reportEnd(const PrinterConfiguration &printer);
    void tell(PrinterEvent event, uint32_t afterMs);
    void listen(uint16_t handle);
    void scheduleTimeline(TimelineStart start, std::optional<uint16_t> handle);

    const LoadedConfiguration loaded_;
    Log log_;
    ProcessMemory memory_;
    PrinterStore store_;
    const std::shared_ptr<Listeners> listeners_;
    const std::shared_ptr<EventJournal> journal_;
    DeliveryThread jobEvents_;
    DeliveryThread timeline_;

    Lock lock_; // guards the rest
    std::map<uint32_t, OpenPrinter> open_;
    std::vector<bool> isScheduled_; // by timeline entry
    bool isListening_ = false;
};

} // namespace simulator
