#pragma once

#include "bench/BenchLibrary.h"

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One measured call, between what it needs before and what is tidied after it.
struct Scenario {
    std::string name; ///< begins with the export, if it is one; a comma and the circumstances may follow
    std::function<void()> call;
    std::function<void()> before = [] {};
    std::function<void()> after = [] {};
};

/// Every export at least once, and the callbacks. @param window  where alerts are posted
[[nodiscard]] std::vector<Scenario> ledgerScenarios(const BenchLibrary &library, HWND window);

} // namespace bench
