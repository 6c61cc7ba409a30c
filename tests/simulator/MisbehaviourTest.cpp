#include "tests/simulator/LoadedSimulator.h"

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

std::string misbehaving(const std::string &entryPoints) {
    return LoadedSimulator::withPlainPrinters("\"entryPoints\":{" + entryPoints + "}");
}

TEST(SimulatorMisbehaviour, NthCallAnswersTheCode) {
    const LoadedSimulator simulator(misbehaving(R"("OrxOpenPrinter":{"call":2,"code":170})"));
    EXPECT_EQ(simulator.open(1), 0u);
    EXPECT_EQ(simulator.open(1), 170u);
    EXPECT_EQ(simulator.open(1), 0u);
}

TEST(SimulatorMisbehaviour, CallsCountOnAfterAReload) {
    LoadedSimulator simulator(misbehaving(R"("OrxOpenPrinter":{"call":2,"code":170})"));
    EXPECT_EQ(simulator.open(1), 0u);
    simulator.reload();
    EXPECT_EQ(simulator.open(1), 170u);
}

TEST(SimulatorMisbehaviour, FromACallOnTheCodeStays) {
    const LoadedSimulator simulator(misbehaving(R"("OrxOpenPrinter":{"fromCall":2,"code":1168})"));
    EXPECT_EQ(simulator.open(1), 0u);
    EXPECT_EQ(simulator.open(1), 1168u);
    EXPECT_EQ(simulator.open(1), 1168u);
}

TEST(SimulatorMisbehaviour, DelayComesBeforeTheAnswer) {
    const LoadedSimulator simulator(misbehaving(R"("OrxOpenPrinter":{"delayMs":120})"));
    const auto before = nowMs();
    EXPECT_EQ(simulator.open(1), 0u);
    EXPECT_GE(nowMs() - before, 110u);
}

TEST(SimulatorMisbehaviour, PartOfAWriteIsTaken) {
    const LoadedSimulator simulator(misbehaving(R"("OrxWritePrinter":{"call":1,"accept":3})"));
    simulator.open(1);
    simulator.start(1);
    uint32_t written = 0;
    EXPECT_EQ(simulator.write(1, "12345", &written), 0u);
    EXPECT_EQ(written, 3u);
    EXPECT_EQ(simulator.write(1, "45", &written), 0u);
    EXPECT_EQ(written, 2u);
    simulator.end(1);
    EXPECT_EQ(readFile(simulator.spool() / "job-000001.prn"), "12345");
}

TEST(SimulatorMisbehaviour, FailedWriteTakesNothing) {
    const LoadedSimulator simulator(misbehaving(R"("OrxWritePrinter":{"call":1,"code":122})"));
    simulator.open(1);
    simulator.start(1);
    uint32_t written = 99;
    EXPECT_EQ(simulator.write(1, "12345", &written), 122u);
    EXPECT_EQ(written, 0u);
}

TEST(SimulatorMisbehaviour, MissingEntryPointIsNotFoundAndTheOthersAre) {
    const LoadedSimulator simulator(
        misbehaving(R"("OrxStartJobPrinterW":{"missing":true},"OrxAddMonitor":{"missing":true})"));
    SetLastError(0);
    EXPECT_EQ(GetProcAddress(simulator.module(), "OrxStartJobPrinterW"), nullptr);
    EXPECT_EQ(GetLastError(), 127u);
    EXPECT_EQ(GetProcAddress(simulator.module(), "OrxAddMonitor"), nullptr);
    EXPECT_EQ(simulator.print(1, "x"), 0u);
}

TEST(SimulatorMisbehaviour, MissingEntryPointIsBackWithAnotherConfiguration) {
    { const LoadedSimulator simulator(misbehaving(R"("OrxStartJobPrinterW":{"missing":true})")); }
    const LoadedSimulator simulator;
    EXPECT_NE(GetProcAddress(simulator.module(), "OrxStartJobPrinterW"), nullptr);
}

TEST(SimulatorMisbehaviour, InitializeMayBeMissing) {
    const LoadedSimulator simulator(misbehaving(R"("OrxInitialize":{"missing":true})"));
    EXPECT_EQ(GetProcAddress(simulator.module(), "OrxInitialize"), nullptr);
}

TEST(SimulatorMisbehaviour, InitializeMayFail) {
    const LoadedSimulator simulator(misbehaving(R"("OrxInitialize":{"call":1,"code":1450})"));
    EXPECT_EQ(simulator.initializeCode, 1450u);
    EXPECT_EQ(GetLastError(), 1450u);
    EXPECT_EQ(simulator.open(1), 1062u);
}

TEST(SimulatorMisbehaviour, ClientIdMayBeRefused) {
    const LoadedSimulator simulator(misbehaving(R"("OrxGetClientId":{"code":5})"));
    uint32_t identifier = 0;
    EXPECT_EQ((simulator.call<uint32_t(uint32_t *, const char *)>("OrxGetClientId", &identifier, "")), 5u);
}

TEST(SimulatorMisbehaviour, InstallMayFail) {
    const LoadedSimulator simulator(misbehaving(R"("OrxInstall":{"code":5})"));
    EXPECT_EQ(simulator.call<uint32_t()>("OrxInstall"), 5u);
}

} // namespace
