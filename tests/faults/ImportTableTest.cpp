// The table of imports against the library that ships, and the scenarios against its exports.

#include "tests/faults/FaultBench.h"
#include "tests/support/ExportDirectory.h"
#include "tests/support/ImportHook.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
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

/// "Suite.Name" of each test that the sources of the unit tests define.
std::set<std::string> unitTests() {
    std::set<std::string> names;
    for (const auto &file : std::filesystem::recursive_directory_iterator(KAL_UNIT_TESTS_FOLDER)) {
        const std::string text = file.path().extension() == ".cpp" ? readFile(file.path()) : std::string();
        const std::regex definition("\\nTEST(?:_[FP])?\\((\\w+), (\\w+)\\)");
        for (std::sregex_iterator match(text.begin(), text.end(), definition), end; match != end; ++match)
            names.insert((*match)[1].str() + "." + (*match)[2].str());
    }
    return names;
}

TEST(ImportTable, NamesAnExistingTestForEachImportThatNoScenarioReaches) {
    const std::set<std::string> existing = unitTests();
    for (const ImportRow &row : importTable()) {
        if (row.use == ImportUse::unreached) {
            EXPECT_TRUE(existing.contains(row.unitTest)) << row.name << ": " << row.unitTest << " does not exist";
        }
    }
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
