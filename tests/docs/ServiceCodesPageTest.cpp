// "From code N of the service to result": each export is brought every code, and its result compared with the page.
#include "tests/docs/Documents.h"
#include "tests/docs/ServiceCalls.h"

#include "api/ResultCodes.h"
#include "api/kal.h"
#include "tests/support/ExpectedResults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <stdexcept>

namespace kal::test {
namespace {

constexpr const char *serviceCodesPage = "docs/reference/service-codes.md";

/// A row of one of the two tables: a code and its result.
struct CodeRow {
    std::optional<uint32_t> code;     ///< none: any other
    std::vector<std::string> exports; ///< none: all of this page
    std::string operation;            ///< of an export whose codes do not tell
    int32_t result;
    std::string text;

    bool covers(const ServiceCallOfExport &call) const {
        return exports.empty() || std::ranges::find(exports, call.exportName) != exports.end() ||
               (call.exportName == "KalWriteOverlapped" && std::ranges::find(exports, "KalWrite") != exports.end());
    }
};

std::vector<CodeRow> codeRows() {
    std::vector<CodeRow> rows;
    for (const Row &cells : tableOf(serviceCodesPage, "| Code |")) {
        const std::optional<uint32_t> code =
            cells[0] == "other" ? std::nullopt : std::optional(static_cast<uint32_t>(std::stoul(cells[0])));
        rows.push_back({code, namesIn(cells[2]), "", resultIn(cells[3]), cells[0] + " " + cells[2]});
    }
    return rows;
}

std::vector<CodeRow> silentRows() {
    std::vector<CodeRow> rows;
    for (const Row &cells : tableOf(serviceCodesPage, "| Export | When"))
        rows.push_back({std::nullopt, namesIn(cells[0]), cells[1], resultIn(cells[2]), cells[0] + " " + cells[1]});
    return rows;
}

/// The codes of the page with their neighbours, and others worth trying.
std::set<uint32_t> triedCodes() {
    std::set<uint32_t> codes(std::begin(serviceCodes), std::end(serviceCodes));
    for (const CodeRow &row : codeRows())
        if (row.code)
            codes.insert({*row.code - 1, *row.code, *row.code + 1});
    for (uint32_t code = 0; code < 8; ++code)
        codes.insert(code);
    return codes;
}

class ServiceCodesPage : public AnsweringService {};

/// What the page says of a call's code.
int32_t expectedResult(const ServiceCallOfExport &call, uint32_t code) {
    static const std::vector<CodeRow> codes = codeRows();
    static const std::vector<CodeRow> silent = silentRows();
    const auto silentRow = std::ranges::find_if(silent, [&](const CodeRow &row) {
        return row.covers(call) &&
               (row.operation == call.operation || (call.operation.empty() && row.operation == "the notifications"));
    });
    const bool isSilent = silentRow != silent.end();
    if (isSilent && code == 0)
        return call.exportName == "KalEnumSpecificPort" ? static_cast<int32_t>(NETTYPEUSB) : KAL_OKAY;
    for (const CodeRow &row : codes) {
        const bool says = isSilent ? !row.exports.empty() && call.operation.empty() : true;
        if (says && row.covers(call) && (!row.code || *row.code == code))
            return row.result;
    }
    if (!isSilent)
        throw std::runtime_error("the page says nothing of " + call.exportName);
    return silentRow->result;
}

TEST_F(ServiceCodesPage, IsWhatTheExportsMakeOfEveryCode) {
    for (const ServiceCallOfExport &call : serviceCalls(library)) {
        for (const uint32_t code : triedCodes()) {
            ASSERT_EQ(resultOf(call, code), expectedResult(call, code))
                << call.exportName << " asking for " << call.operation << " (" << call.entryPoints.front() << "), code "
                << code;
        }
    }
}

TEST(ServiceCodes, AreToldFromOthersOnlyWhereThePageHasThem) {
    std::set<uint32_t> listed;
    for (const CodeRow &row : codeRows())
        if (row.code)
            listed.insert(*row.code);
    using Rule = int32_t (*)(uint32_t);
    for (const Rule rule :
         {standardResult, closeResult, writeResult, plainResult, cacheResult, bidiResult, notificationModeResult}) {
        for (uint32_t code = 0; code < 0x20000; ++code) {
            if (rule(code) != rule(0xFFFFFFFF)) {
                EXPECT_TRUE(listed.contains(code)) << "code " << code;
            }
        }
    }
}

TEST_F(ServiceCodesPage, EveryRowIsAboutCallsThatWereMade) {
    const auto calls = serviceCalls(library);
    std::vector<CodeRow> rows = codeRows();
    std::ranges::copy(silentRows(), std::back_inserter(rows));
    for (const CodeRow &row : rows) {
        for (const std::string &name : row.exports) {
            EXPECT_TRUE(std::ranges::any_of(calls,
                                            [&](const ServiceCallOfExport &call) {
                                                return call.exportName == name &&
                                                       (row.operation.empty() || row.operation == call.operation ||
                                                        row.operation == "the notifications");
                                            }))
                << "row: " << row.text;
        }
    }
}

TEST_F(ServiceCodesPage, NoRowRepeatsWhatIsSaidOfAnyOtherCode) {
    // But where KAL_FAIL is worth a line of its own: the page then says why.
    for (const CodeRow &row : codeRows())
        if (row.code && row.result == KAL_FAIL) {
            EXPECT_THAT(row.text, testing::AnyOf("122 `KalWrite`", "126 all", "127 all", "170 `KalWrite`"));
        }
}

TEST_F(ServiceCodesPage, AllAreTheExportsThatItNames) {
    const std::string text = sourceText(serviceCodesPage);
    for (const ServiceCallOfExport &call : serviceCalls(library))
        EXPECT_THAT(text, testing::HasSubstr("`" + call.exportName + "`"));
}

} // namespace
} // namespace kal::test
