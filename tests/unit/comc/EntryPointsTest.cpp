#include "comc/EntryPoints.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>

using namespace comc;

namespace {

/// The interface of the service, written down apart from the table under test.
const std::map<std::string_view, std::string> described = {
#define EXPECTED_ENTRY_POINT(name, kinds) {#name, kinds},
#include "tests/support/ExpectedEntryPoints.inc"
#undef EXPECTED_ENTRY_POINT
};

const Argument &argument(std::string_view entryPoint, size_t index) {
    return findEntryPoint(entryPoint)->arguments()[index];
}

} // namespace

TEST(EntryPoints, AreThoseOfTheService) {
    ASSERT_EQ(entryPoints().size(), described.size());
    for (const EntryPoint &entryPoint : entryPoints()) {
        EXPECT_TRUE(described.contains(entryPoint.name)) << entryPoint.name;
    }
}

TEST(EntryPoints, ArgumentsAreNumbersWhereTheServiceTakesNumbers) {
    for (const EntryPoint &entryPoint : entryPoints()) {
        std::string kinds;
        for (const Argument &each : entryPoint.arguments()) {
            const bool isNumber = each.kind == ArgumentKind::number;
            kinds += each.name == "clientId" && isNumber ? 'I'
                     : each.name == "handle" && isNumber ? 'H'
                     : isNumber                          ? 'N'
                                                         : 'P';
        }
        EXPECT_EQ(kinds, described.at(entryPoint.name)) << entryPoint.name;
    }
}

TEST(EntryPoints, BytesAreFollowedByTheirCount) {
    for (const EntryPoint &entryPoint : entryPoints()) {
        const auto arguments = entryPoint.arguments();
        for (size_t index = 0; index < arguments.size(); ++index) {
            const auto kind = arguments[index].kind;
            if (kind == ArgumentKind::inputBytes || kind == ArgumentKind::outputBytes) {
                ASSERT_LT(index + 1, arguments.size()) << entryPoint.name;
                EXPECT_EQ(arguments[index + 1].kind, ArgumentKind::number) << entryPoint.name;
            }
            if (kind == ArgumentKind::outputBytes) {
                ASSERT_LT(index + 2, arguments.size()) << entryPoint.name;
                EXPECT_EQ(arguments[index + 2].kind, ArgumentKind::outputNumber) << entryPoint.name;
            }
        }
    }
}

TEST(EntryPoints, WritePrinterHasADocument) {
    EXPECT_EQ(argument("OrxWritePrinter", 2).kind, ArgumentKind::inputBytes);
    EXPECT_TRUE(argument("OrxWritePrinter", 2).isDocument);
    EXPECT_EQ(argument("OrxWritePrinter", 4).kind, ArgumentKind::outputNumber);
}

TEST(EntryPoints, BidiExchangeIsNoDocument) {
    EXPECT_EQ(argument("OrxExchangeBidiPrinter", 2).kind, ArgumentKind::inputBytes);
    EXPECT_FALSE(argument("OrxExchangeBidiPrinter", 2).isDocument);
    EXPECT_EQ(argument("OrxExchangeBidiPrinter", 4).kind, ArgumentKind::outputBytes);
}

TEST(EntryPoints, TextsAndCallbacksAreKnown) {
    EXPECT_EQ(argument("OrxGetStringPrinter", 2).kind, ArgumentKind::text);
    EXPECT_EQ(argument("OrxStartJobPrinterW", 5).kind, ArgumentKind::wideText);
    EXPECT_EQ(argument("OrxEnumPrinters", 3).kind, ArgumentKind::enumCallback);
    EXPECT_EQ(argument("OrxRegisterForAlertsPrinter", 3).kind, ArgumentKind::alertCallback);
    EXPECT_EQ(argument("OrxRegisterForNotificationsPrinter", 3).kind, ArgumentKind::notificationCallback);
    EXPECT_EQ(argument("OrxRegisterForReportsHid", 2).kind, ArgumentKind::opaque);
    EXPECT_EQ(argument("OrxSetStringPrinter", 3).kind, ArgumentKind::inputBytes);
    EXPECT_EQ(argument("OrxSetLongPrinter", 2).kind, ArgumentKind::text);
}

TEST(EntryPoints, UnknownNameIsNone) {
    EXPECT_EQ(findEntryPoint("OrxPaintPrinter"), nullptr);
}

TEST(EntryPoints, OperationsOfTheClientAloneHaveNone) {
    EXPECT_EQ(findEntryPoint("OrxcloseAllPrinters"), nullptr);
    EXPECT_EQ(findEntryPoint("OrxacquireBinding"), nullptr);
    EXPECT_NE(findEntryPoint("OrxInstall"), nullptr);
}
