#include "tests/simulator/LoadedSimulator.h"

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

std::vector<uint32_t> reported;

uint32_t report(uint32_t handle) {
    reported.push_back(handle);
    return 5; // ignored
}

std::vector<uint32_t> found(const LoadedSimulator &simulator, const char *transport) {
    reported.clear();
    EXPECT_EQ((simulator.call<uint32_t(uint32_t, const char *, const char *, OrxEnumCallback)>(
                  "OrxEnumPrinters", 7u, transport, nullptr, &report)),
              0u);
    return reported;
}

uint32_t specific(const LoadedSimulator &simulator, const char *port, uint32_t *handle) {
    return simulator.call<uint32_t(uint32_t, const char *, uint32_t *)>("OrxEnumSpecificPrinter", 7u, port, handle);
}

uint32_t discover(const LoadedSimulator &simulator, const char *transport) {
    return simulator.call<uint32_t(uint32_t, const char *, const char *)>("OrxDiscovery", 7u, transport, "Portname");
}

TEST(SimulatorEnumeration, ReportsThePrintersOfATransport) {
    const LoadedSimulator simulator;
    EXPECT_EQ(found(simulator, "USB1"), std::vector<uint32_t>{3});
    EXPECT_EQ(found(simulator, "PAR1"), std::vector<uint32_t>{0x1001});
}

TEST(SimulatorEnumeration, HostBasedPrintersAreFoundOnTheNetworkToo) {
    const LoadedSimulator simulator;
    EXPECT_EQ(found(simulator, "IPv4"), (std::vector<uint32_t>{0x6001, 0x4001}));
    EXPECT_EQ(found(simulator, "HBN3"), std::vector<uint32_t>{0x4001});
}

TEST(SimulatorEnumeration, NullTransportMeansAll) {
    const LoadedSimulator simulator;
    EXPECT_EQ(found(simulator, nullptr).size(), 4u);
}

TEST(SimulatorEnumeration, OtherTransportHasNone) {
    const LoadedSimulator simulator;
    EXPECT_TRUE(found(simulator, "usb1").empty());
}

TEST(SimulatorEnumeration, NullCallbackIsAnInvalidParameter) {
    const LoadedSimulator simulator;
    EXPECT_EQ((simulator.call<uint32_t(uint32_t, const char *, const char *, OrxEnumCallback)>(
                  "OrxEnumPrinters", 7u, "USB1", nullptr, nullptr)),
              87u);
}

TEST(SimulatorEnumeration, PrinterWithoutTransportIsAUsbPrinter) {
    const LoadedSimulator simulator(R"({"printers":[{"handle":1,"transport":null,"port":"p","device":""}]})");
    EXPECT_EQ(found(simulator, "USB1"), std::vector<uint32_t>{1});
}

TEST(SimulatorEnumeration, SpecificPortYieldsItsHandle) {
    const LoadedSimulator simulator;
    uint32_t handle = 0;
    EXPECT_EQ(specific(simulator, "LPT1", &handle), 0u);
    EXPECT_EQ(handle, 0x1001u);
}

TEST(SimulatorEnumeration, UnknownPortIsNotFound) {
    const LoadedSimulator simulator;
    uint32_t handle = 55;
    EXPECT_EQ(specific(simulator, "LPT9", &handle), 1168u);
    EXPECT_EQ(handle, 55u);
    EXPECT_EQ(specific(simulator, nullptr, &handle), 87u);
}

TEST(SimulatorEnumeration, PortNamesAreValidated) {
    const LoadedSimulator simulator;
    const auto validate = [&](const char *port) {
        return simulator.call<uint32_t(uint32_t, const char *)>("OrxValidatePortName", 7u, port);
    };
    EXPECT_EQ(validate("LPT1"), 0u);
    EXPECT_EQ(validate("LPT9"), 1168u);
}

TEST(SimulatorEnumeration, HiddenPrinterAppearsWithTheDiscoveryOfItsTransport) {
    LoadedSimulator simulator(
        R"({"printers":[{"handle":1,"transport":"USB1","port":"p","device":"","hiddenUntilDiscovery":true}]})");
    EXPECT_TRUE(found(simulator, "USB1").empty());
    EXPECT_EQ(discover(simulator, "PAR1"), 0u);
    EXPECT_TRUE(found(simulator, "USB1").empty());
    EXPECT_EQ(discover(simulator, "USB1"), 0u);
    simulator.reload();
    EXPECT_EQ(found(simulator, "USB1"), std::vector<uint32_t>{1});
}

TEST(SimulatorEnumeration, DeletedPrinterIsGoneUntilDiscovery) {
    LoadedSimulator simulator;
    const auto remove = [&] { return simulator.call<uint32_t(uint32_t, uint32_t)>("OrxDeletePrinter", 7u, 3u); };
    ASSERT_EQ(remove(), 0u);
    simulator.reload();
    EXPECT_TRUE(found(simulator, "USB1").empty());
    EXPECT_EQ(simulator.open(3), 1168u);
    ASSERT_EQ(discover(simulator, "USB1"), 0u);
    EXPECT_EQ(simulator.open(3), 0u);
    EXPECT_EQ(remove(), 170u);
}

} // namespace
