#include "comc/EntryPoints.h"
#include "tests/simulator/LoadedSimulator.h"
#include "tests/support/ExportDirectory.h"

#include <algorithm>

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

TEST(SimulatorExports, AreExactlyTheEntryPoints) {
    const LoadedSimulator simulator;
    std::vector<std::string> expected;
    for (const comc::EntryPoint &each : comc::entryPoints()) {
        expected.emplace_back(each.name);
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(exportNames(simulator.module()), expected);
}

} // namespace
