// Every export of kalclient.dll, called as applications call it, with one scenario for each important path through it.
// The scenarios depend neither on the kind of fake service nor on the measurement, so that tests for counts, failures
// and times can share them.
#pragma once

#include "comc/comc.h"

#include <functional>
#include <string>
#include <vector>

#include <windows.h>

namespace kal::test {

/// Requirements of the scenarios of one loaded library.
struct ScenarioSurroundings {
    HMODULE library = nullptr;
    HWND window = nullptr; ///< of the calling thread; receives the library's messages (makeMessageWindow)
    /// These return the callbacks that the library registered with the service. Scenarios call them only while alerts
    /// or notifications are registered.
    std::function<OrxAlertCallback()> alertCallback;
    std::function<OrxNotificationCallback()> notificationCallback;
    /// A server for KalRegisterWithRpcServer that the network knows.
    std::string serverName;
};

/// One call, with its preparation and cleanup.
struct ExportScenario {
    std::string name;
    /// The exports that the call runs through: the one that is called, and those that it forwards to. Empty for an
    /// event of the service.
    std::vector<std::string> exports;
    /// Makes the call. Returns its result and outputs as text: "0 count=4096".
    std::function<std::string()> call;
    std::function<void()> before = [] {};
    /// Closes handles, releases captures and removes messages, whatever the call did.
    std::function<void()> after = [] {};
    /// Whether an application must be registered before `before` and unregistered after `after`. Otherwise the scenario
    /// is about registration and does both itself.
    bool needsRegistration = true;
    /// Whether an earlier scenario differs from this one only in names.
    bool isLikeEarlierOne = false;
};

/// All scenarios. The printer has handle 3; the service finds it under "USB001" and enumerates it.
std::vector<ExportScenario> exportScenarios(const ScenarioSurroundings &surroundings);

/// A message-only window of the calling thread.
HWND makeMessageWindow();

} // namespace kal::test
