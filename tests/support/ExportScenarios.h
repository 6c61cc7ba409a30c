// Every export of kalclient.dll, called as applications call it: one scenario for each way through it that matters.
// Knows neither how the service is stood in for nor what is measured, so that counting, failing and timing can share
// it.
#pragma once

#include "comc/comc.h"

#include <functional>
#include <string>
#include <vector>

#include <windows.h>

namespace kal::test {

/// What the scenarios of one loaded library stand on.
struct ScenarioSurroundings {
    HMODULE library = nullptr;
    HWND window = nullptr; ///< of the calling thread; receives what the library posts (makeMessageWindow)
    /// The callbacks that the library gave the service; asked for while alerts, or notifications, are registered.
    std::function<OrxAlertCallback()> alertCallback;
    std::function<OrxNotificationCallback()> notificationCallback;
    /// A server that KalRegisterWithRpcServer accepts.
    std::string serverName;
};

/// One call, between what it needs before and what is tidied after it.
struct ExportScenario {
    std::string name;
    /// The exports that the call goes through: the one it is made to, and those that this one forwards to. Empty for an
    /// event that the service brings.
    std::vector<std::string> exports;
    /// Makes the call. Returns its result and what it handed out, as text: "0 count=4096".
    std::function<std::string()> call;
    std::function<void()> before = [] {};
    /// Leaves neither an open handle nor a capture nor a message behind, whatever the call did.
    std::function<void()> after = [] {};
    /// Whether an application is registered before `before`, and unregisters behind `after`. Otherwise the scenario is
    /// about registration itself and does both.
    bool needsRegistration = true;
    /// Whether an earlier scenario differs from this one by names only.
    bool isLikeEarlierOne = false;
};

/// All of them. The printer has handle 3; the service finds it under "USB001" and enumerates it.
std::vector<ExportScenario> exportScenarios(const ScenarioSurroundings &surroundings);

/// A message-only window of the calling thread.
HWND makeMessageWindow();

} // namespace kal::test
