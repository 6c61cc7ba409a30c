#include "simulator/printers/StoredPrinter.h"

#include <gtest/gtest.h>

using namespace simulator;

namespace {

std::string storedWith(const std::string &property, const std::string &printingUntil = "0") {
    return R"({"properties":{"a":)" + property +
           R"(},"jobStrings":{},"discovered":true,"deleted":false,"printingUntilMs":)" + printingUntil + "}";
}

TEST(StoredPrinter, IsReadBackWhole) {
    StoredPrinter printer;
    printer.properties = {{"Device", "CpdPrinter"}, {"Count", 4294967295u}, {"MacAddress", Bytes{0x00, 0xFF}}};
    printer.jobStrings = {{"TeojDuration", "50"}};
    printer.isDiscovered = true;
    printer.isDeleted = true;
    printer.printingUntilMs = 18446744073709551615u;
    EXPECT_EQ(readStoredPrinter(composeStoredPrinter(printer)), printer);
}

TEST(StoredPrinter, StringThatIsNotUtf8LosesItsBytesAndNothingElse) {
    StoredPrinter printer;
    printer.properties = {{"a", "\xFF"}};
    printer.isDiscovered = true;
    const auto again = readStoredPrinter(composeStoredPrinter(printer));
    EXPECT_TRUE(again.isDiscovered);
    EXPECT_EQ(std::get<std::string>(again.properties.at("a")), "\xEF\xBF\xBD");
}

TEST(StoredPrinter, OtherTextRemembersNothing) {
    ASSERT_TRUE(readStoredPrinter(storedWith("1")).isDiscovered);
    for (const auto &text : {std::string(), std::string("{}"), std::string("null"), storedWith("1").substr(1)}) {
        EXPECT_EQ(readStoredPrinter(text), StoredPrinter()) << text;
    }
}

TEST(StoredPrinter, NumberOutOfRangeRemembersNothing) {
    for (const char *property :
         {"-1", "4294967296", "1.5", "1e30", R"({"bytes":[256]})", R"({"bytes":[-1]})", R"({"bytes":7})"}) {
        EXPECT_EQ(readStoredPrinter(storedWith(property)), StoredPrinter()) << property;
    }
    for (const char *until : {"-1", "1.5", "1e30"}) {
        EXPECT_EQ(readStoredPrinter(storedWith("1", until)), StoredPrinter()) << until;
    }
}

} // namespace
