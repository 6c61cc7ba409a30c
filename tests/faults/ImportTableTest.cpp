// The table of imports against the library that ships, and the scenarios against its exports.

#include "tests/faults/FaultBench.h"
#include "tests/support/ExportDirectory.h"
#include "tests/support/ImportHook.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace kal::test {

namespace {

TEST(ImportTable, IsTheImportDirectoryOfTheLibrary) {
    const StagedLibrary library;
    std::vector<std::string> listed;
    for (const ImportRow &row : importTable())
        listed.emplace_back(row.name);
    EXPECT_THAT(importedFunctions(library.module()), testing::UnorderedElementsAreArray(listed));
}

TEST(ExportScenarios, EnterEveryExport) {
    const StagedLibrary library;
    std::set<std::string> entered;
    for (const ExportScenario &scenario : exportScenarios({library.module(), nullptr, {}, {}, ""}))
        entered.insert(scenario.exports.begin(), scenario.exports.end());
    EXPECT_THAT(entered, testing::UnorderedElementsAreArray(exportNames(library.module())));
}

} // namespace

} // namespace kal::test
