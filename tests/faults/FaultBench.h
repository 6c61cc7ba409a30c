// The shipped library on a machine and a service of the test's own, with every import watched: runs a scenario from
// registration to unregistration, with or without a fault, and tells what could be seen of it.
#pragma once

#include "tests/faults/Consequences.h"
#include "tests/support/NetworkStandIn.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <memory>

namespace kal::test {

enum class LogState { on, keyMissing };

/// What an application and a reader of the log see of one run.
struct Sight {
    std::string outcome;              ///< the call's result, or "raises ..."
    std::vector<std::string> service; ///< entry points called, in order
    std::vector<std::string> log;     ///< lines without header and indentation

    bool operator==(const Sight &) const = default;
};

class FaultBench {
  public:
    FaultBench();
    ~FaultBench();

    /// From the next registration on.
    void enter(LogState state);

    std::vector<ExportScenario> &scenarios() { return scenarios_; }
    ImportWatch &watch() { return *watch_; }

    /// One whole run. The fault lies in the scenario's call; before and after are unhindered.
    Sight run(const ExportScenario &scenario, const Fault &fault);

    /// The same call made once more right behind one that has raised bad_alloc.
    const Sight &callAgain() const { return again_; }
    /// Calls that the service received while the latest run cleaned up.
    const std::vector<std::string> &tidied() const { return tidied_; }

    /// A freshly loaded library: nothing of the earlier runs is left. @return what the old one still held when it was
    /// gone
    Holdings renew();

    /// What the library's file name makes of its settings and its log.
    static constexpr const char *brandCode = "kafa";

  private:
    void load();
    void setUpExceptions();
    void unload();
    Sight look(std::string outcome) const;
    std::string callCaught(const ExportScenario &scenario) const;
    bool isRegistered() const;

    RecordedService service_;
    PrivateMachine machine_;
    HWND window_;
    HMODULE pinned_; ///< the double, which stays mapped: loading a file each time would take most of the time
    OrxAlertCallback alertCallback_ = nullptr;
    OrxNotificationCallback notificationCallback_ = nullptr;
    std::unique_ptr<StagedLibrary> library_;
    std::unique_ptr<NetworkStandIn> network_;
    std::unique_ptr<ImportWatch> watch_;
    std::vector<ExportScenario> scenarios_;
    Sight again_;
    std::vector<std::string> tidied_;
};

} // namespace kal::test
