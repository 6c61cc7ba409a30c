#include "simulator/configuration/AlertFormat.h"

#include <gtest/gtest.h>

using namespace simulator;

namespace {

Bytes alert(std::string_view name, DeviceKind kind) {
    return alertByName(name, kind).value();
}

TEST(AlertFormat, PowerOnResetOfCpdPrinterHasItsPattern) {
    EXPECT_EQ(alert("powerOnReset", DeviceKind::cpdPrinter), (Bytes{0xA5, 0, 5, 0, 0xFF, 1, 0, 0}));
}

TEST(AlertFormat, PrintResyncOfCpdPrinterIsTwelveBytes) {
    EXPECT_EQ(alert("printResync", DeviceKind::cpdPrinter), (Bytes{0xA5, 0, 9, 0, 0xF0, 0x73, 1, 1, 8, 1, 8, 0}));
}

TEST(AlertFormat, StatusOfCpdPrinterIsTwentyFourBytesWithItsPattern) {
    const auto bytes = alert("tonerLow", DeviceKind::cpdPrinter);
    ASSERT_EQ(bytes.size(), 24u);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 12), (Bytes{0xA5, 0, 21, 0, 0xF0, 0x73, 1, 1, 0x10, 1, 0x10, 0}));
}

TEST(AlertFormat, ExtendedAlertsOfBpdPrinterHaveTheirTypeAtTen) {
    EXPECT_EQ(alert("jobStatus", DeviceKind::bpdPrinter)[10], 1);
    EXPECT_EQ(alert("tonerLow", DeviceKind::bpdPrinter)[10], 2);
    EXPECT_EQ(alert("configurationChange", DeviceKind::bpdPrinter)[10], 4);
}

TEST(AlertFormat, TonerPredictionOfBpdPrinterIsTwentyOneBytesOfItsClass) {
    const auto bytes = alert("tonerPrediction", DeviceKind::bpdPrinter);
    ASSERT_EQ(bytes.size(), 21u);
    EXPECT_EQ(Bytes(bytes.begin() + 4, bytes.begin() + 8), (Bytes{0xF0, 0x03, 0x80, 0x01}));
}

TEST(AlertFormat, AlertOfTheOtherKindIsUnknown) {
    EXPECT_FALSE(alertByName("powerOnReset", DeviceKind::bpdPrinter));
    EXPECT_FALSE(alertByName("tonerPrediction", DeviceKind::cpdPrinter));
}

TEST(AlertFormat, EveryNameThatIsToldIsKnown) {
    for (const auto kind : {DeviceKind::cpdPrinter, DeviceKind::bpdPrinter}) {
        auto names = alertNames(kind) + ", ";
        while (!names.empty()) {
            const auto comma = names.find(", ");
            EXPECT_TRUE(alertByName(names.substr(0, comma), kind)) << names.substr(0, comma);
            names.erase(0, comma + 2);
        }
    }
}

} // namespace
