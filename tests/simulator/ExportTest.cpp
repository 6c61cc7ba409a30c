#include "simulator/EntryPointNames.h"
#include "tests/simulator/LoadedSimulator.h"
#include "tests/support/ExportDirectory.h"

#include <algorithm>

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

TEST(SimulatorExports, AreExactlyTheEntryPoints) {
    const LoadedSimulator simulator;
    const auto table = simulator::entryPointNames();
    std::vector<std::string> expected(table.begin(), table.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(exportNames(simulator.module()), expected);
}

} // namespace
