#include "tests/simulator/LoadedSimulator.h"

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

constexpr uint32_t invalidData = 13;

TEST(SimulatorConfiguration, WithoutFileThePrintersOfAllTransportsOpen) {
    const LoadedSimulator simulator;
    for (const uint32_t handle : {0x6001u, 0x4001u, 3u, 0x1001u})
        EXPECT_EQ(simulator.open(handle), 0u) << handle;
}

TEST(SimulatorConfiguration, BrokenTextLetsInitializeSucceedAndEveryCallFail) {
    const LoadedSimulator simulator("{ broken");
    EXPECT_EQ(simulator.initializeCode, 0u);
    EXPECT_EQ(simulator.open(3), invalidData);
    uint32_t identifier = 5;
    EXPECT_EQ((simulator.call<uint32_t(uint32_t *, const char *)>("OrxGetClientId", &identifier, "")), invalidData);
    EXPECT_EQ(simulator.call<uint32_t()>("OrxInstall"), invalidData);
    EXPECT_EQ((simulator.call<uint32_t(uint32_t, uint32_t)>("OrxOpenScanner", 7u, 1u)), invalidData);
}

TEST(SimulatorConfiguration, BrokenTextIsToldWithLineAndColumnInTheLog) {
    const LoadedSimulator simulator("{\n  \"printers\": [],\n  \"spoool\": 1\n}");
    const auto log = readFile(simulator.spool() / "simulator.log");
    EXPECT_NE(log.find("comc.json:3:13: the configuration has no \"spoool\""), std::string::npos) << log;
}

TEST(SimulatorConfiguration, BrokenTextIsToldOnceForManyLoads) {
    LoadedSimulator simulator("{ broken");
    simulator.reload();
    simulator.reload();
    const auto log = readFile(simulator.spool() / "simulator.log");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
}

TEST(SimulatorConfiguration, NamedFileThatIsNotThereIsAnError) {
    SetEnvironmentVariableA("KAL_SIMULATOR_CONFIG", "Z:\\nowhere\\comc.json");
    const LoadedSimulator simulator;
    EXPECT_EQ(simulator.open(3), invalidData);
}

TEST(SimulatorConfiguration, FileBesideTheLibraryCounts) {
    const auto file = programFolder() / "comc.json";
    std::filesystem::remove(file);
    {
        const TemporaryFolder source;
        std::filesystem::copy_file(source.write("c", LoadedSimulator::withPlainPrinters("\"logCalls\":false")), file);
    }
    uint32_t own = 1;
    uint32_t builtIn = 0;
    {
        const LoadedSimulator simulator;
        own = simulator.open(2);
        builtIn = simulator.open(0x6001);
    }
    std::filesystem::remove(file);
    EXPECT_EQ(own, 0u);
    EXPECT_EQ(builtIn, 6u);
}

TEST(SimulatorConfiguration, SpoolOfTheFileIsRelativeToTheFile) {
    LoadedSimulator simulator(LoadedSimulator::withPlainPrinters("\"spool\":\"jobs\""));
    simulator.unload();
    SetEnvironmentVariableA("KAL_SIMULATOR_SPOOL", nullptr);
    const auto module = LoadLibraryW((programFolder() / "comc.dll").c_str());
    exported<uint32_t()>(module, "OrxInitialize")();
    exported<uint32_t(uint32_t, uint32_t)>(module, "OrxOpenPrinter")(7, 1);
    exported<uint32_t(uint32_t, uint32_t, uint32_t, const char *, const char *, const char *, const char *)>(
        module, "OrxStartJobPrinter")(7, 1, 0, "", "", "", "");
    exported<uint32_t(uint32_t, uint32_t)>(module, "OrxEndJobPrinter")(7, 1);
    exported<uint32_t()>(module, "OrxUninitialize")();
    FreeLibrary(module);
    EXPECT_TRUE(std::filesystem::exists(simulator.folder() / "jobs" / "job-000001.prn"));
}

TEST(SimulatorConfiguration, CallsAreLoggedOnRequest) {
    const LoadedSimulator simulator(LoadedSimulator::withPlainPrinters("\"logCalls\":true"));
    simulator.open(9);
    EXPECT_NE(readFile(simulator.spool() / "simulator.log").find("OrxOpenPrinter answers 6"), std::string::npos);
}

} // namespace
