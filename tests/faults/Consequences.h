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
};

/// What is promised when this call fails in the scenario; null when the table does not say.
const Promise *promiseOf(const ImportWatch::Call &call, const ExportScenario &scenario);

} // namespace kal::test
