// What is promised when an import fails.
#pragma once

#include "tests/support/ExportScenarios.h"

#include "tests/faults/ImportWatch.h"

#include <vector>

namespace kal::test {

/// See Consequences.inc.
enum class Consequence {
    nothing,
    unsaid,
    lineLost,
    lessLogged,
    nothingLogged,
    loggedElsewhere,
    answers,
    workerLost,
    raises
};

struct Promise {
    Consequence consequence;
    std::string text;
    bool isUsed = false; ///< whether a run was held against it
};

/// What is promised when this call fails in the scenario; null when the table does not say.
Promise *promiseOf(const ImportWatch::Call &call, const ExportScenario &scenario);

/// The rows of the table against which no run was held.
std::vector<std::string> unusedPromises();

} // namespace kal::test
