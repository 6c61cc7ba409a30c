// "Results: what happened and what to do", against the result codes, their names in the log, and what kal.h says of
// each export.
#include "tests/docs/Documents.h"

#include "api/ResultCodes.h"
#include "api/kal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace kal::test {
namespace {

constexpr const char *resultsPage = "docs/reference/results.md";

std::vector<Row> resultRows() {
    return tableOf(resultsPage, "| Result | Number |");
}

std::map<std::string, int32_t> numbersOfThePage() {
    std::map<std::string, int32_t> numbers;
    for (const Row &cells : resultRows())
        numbers[namesIn(cells[0]).at(0)] = std::stoi(cells[1]);
    return numbers;
}

/// Exports that answer with a code, by kal.h.
std::set<std::string> exportsAnswering(const std::string &result) {
    std::set<std::string> names;
    for (const auto &[name, comment] : exportComments())
        if (comment.results.contains(result))
            names.insert(name);
    return names;
}

TEST(ResultsPage, HoldsEveryResultWithItsNumberAndNoOther) {
    EXPECT_EQ(numbersOfThePage(), resultCodes());
}

TEST(ResultsPage, NamesAreThoseOfTheLog) {
    const std::set<std::string> numbersInTheLog = {"KAL_REGISTRATION_REFUSED", "KAL_INVALID_FUNCTION"};
    for (const auto &[name, number] : numbersOfThePage()) {
        const char *const inLog = resultName(number);
        EXPECT_EQ(inLog == nullptr ? "" : std::string(inLog), numbersInTheLog.contains(name) ? "" : name);
    }
}

TEST(ResultsPage, EveryNameOfTheLogIsOnThePage) {
    for (int32_t result = -1000; result <= 1000; ++result)
        if (const char *const name = resultName(result)) {
            EXPECT_TRUE(numbersOfThePage().contains(name)) << name;
        }
}

TEST(ResultsPage, ExportsThatAnswerAResultAreThoseOfTheHeader) {
    for (const Row &cells : resultRows()) {
        if (cells[4] == "all")
            continue;
        const auto listed = namesIn(cells[4]);
        EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()), exportsAnswering(namesIn(cells[0]).at(0)))
            << cells[0];
    }
}

TEST(ResultsPage, AllAnswerSuccessAndPlainFailure) {
    const std::set<std::string> ownKind = {"KalRegisterWithRpcServer"};
    for (const auto &[name, comment] : exportComments()) {
        if (comment.results.empty() || ownKind.contains(name))
            continue;
        EXPECT_TRUE(comment.results.contains("KAL_OKAY") && comment.results.contains("KAL_FAIL")) << name;
    }
}

TEST(ResultsPage, ResultsOfTheirOwnKindAreThoseOfTheHeader) {
    std::set<std::string> ownKind;
    for (const auto &[name, comment] : exportComments()) {
        const bool answersCodes =
            comment.results.contains("KAL_OKAY") || comment.returned.starts_with("::KAL_OKAY, always") ||
            comment.returned.starts_with("::KAL_FAIL, always") || comment.returned == "as ::KalWrite.";
        if (!answersCodes && !comment.returnsNothing && comment.aliasOf.empty())
            ownKind.insert(name);
    }
    std::set<std::string> listed;
    for (const Row &cells : tableOf(resultsPage, "| Export | Answers |"))
        listed.insert(namesIn(cells[0]).at(0));
    EXPECT_EQ(listed, ownKind);
}

} // namespace
} // namespace kal::test
