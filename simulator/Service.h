#pragma once

#include "simulator/Lock.h"
#include "simulator/Log.h"
#include "simulator/ProcessMemory.h"
#include "simulator/configuration/ConfigurationFile.h"
#include "simulator/configuration/MisbehaviourPlan.h"
#include "simulator/events/PrinterEvents.h"
#include "simulator/jobs/PrintJob.h"
#include "simulator/printers/Printers.h"

#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace simulator {

/// The arguments of a job's start.
struct JobRequest {
    std::string user;
    std::string host;
    std::string documentName;
    std::string options;
};

/// The simulated service during one load of the library: open handles and their jobs. Operations return 0 or a Win32
/// error code; handles are those of the configuration. Safe to use from any thread. No lock is held during a callback,
/// while a document is written, or while waiting for a real printer.
class Service {
  public:
    explicit Service(LoadedConfiguration loaded);
    ~Service();
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;

    /// Stops the threads, without waiting for a running callback, and cancels unfinished jobs.
    void stop() noexcept;

    [[nodiscard]] bool isUsable() const noexcept { return !loaded_.error; }
    [[nodiscard]] MisbehaviourDecision decideCall(std::string_view entryPoint);
    [[nodiscard]] bool logsCalls() const noexcept { return loaded_.configuration.logsCalls; }
    [[nodiscard]] Log &log() noexcept { return log_; }
    /// For operations that do not need an open handle.
    [[nodiscard]] Printers &printers() noexcept { return printers_; }

    [[nodiscard]] uint32_t open(uint32_t handle);
    [[nodiscard]] uint32_t close(uint32_t handle);
    [[nodiscard]] uint32_t remove(uint32_t handle);

    [[nodiscard]] uint32_t startJob(uint32_t clientId, uint32_t handle, const JobRequest &request);
    [[nodiscard]] uint32_t write(uint32_t handle, const void *data, uint32_t count);
    [[nodiscard]] uint32_t endJob(uint32_t handle);
    [[nodiscard]] uint32_t cancelJob(uint32_t handle);

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

    [[nodiscard]] bool isOpen(uint32_t handle);
    /// @return 6 if the handle is not open, 50 if it has no job.
    [[nodiscard]] uint32_t findJob(uint32_t handle, std::shared_ptr<PrintJob> &job);
    /// Removes the job from the handle, unless the handle has another job by now.
    void dropJob(uint32_t handle, const std::shared_ptr<PrintJob> &job);
    void reportEnd(const PrinterConfiguration &found);

    const LoadedConfiguration loaded_;
    Log log_;
    ProcessMemory memory_;
    Printers printers_;
    PrinterEvents events_;

    Lock lock_; // guards open_
    std::map<uint32_t, OpenPrinter> open_;
};

} // namespace simulator
