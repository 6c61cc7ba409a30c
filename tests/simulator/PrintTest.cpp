#include "tests/simulator/LoadedSimulator.h"
#include "tests/support/EveryCore.h"

#include <random>

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

std::string noise(size_t size) {
    std::mt19937 engine(4711);
    std::string bytes(size, '\0');
    for (auto &byte : bytes)
        byte = static_cast<char>(engine());
    return bytes;
}

TEST(SimulatorPrint, JobIsSpooledByteForByte) {
    const LoadedSimulator simulator;
    const std::string bytes("a\0b\r\n\x1a\xff", 7);
    ASSERT_EQ(simulator.print(3, bytes), 0u);
    EXPECT_EQ(readFile(simulator.spool() / "job-000001.prn"), bytes);
}

TEST(SimulatorPrint, EmptyJobIsAnEmptyFile) {
    const LoadedSimulator simulator;
    simulator.open(3);
    ASSERT_EQ(simulator.start(3), 0u);
    ASSERT_EQ(simulator.end(3), 0u);
    EXPECT_EQ(std::filesystem::file_size(simulator.spool() / "job-000001.prn"), 0u);
}

TEST(SimulatorPrint, SeveralMegabytesInOddPiecesArriveWhole) {
    const LoadedSimulator simulator;
    const auto bytes = noise(5'000'003);
    simulator.open(3);
    simulator.start(3);
    size_t offset = 0;
    for (size_t piece = 1; offset < bytes.size(); piece = piece * 3 + 1) {
        uint32_t written = 0;
        ASSERT_EQ(simulator.write(3, bytes.substr(offset, std::min<size_t>(piece, 1 << 20)), &written), 0u);
        offset += written;
        if (piece > (1u << 20))
            piece = 1;
    }
    ASSERT_EQ(simulator.end(3), 0u);
    EXPECT_EQ(readFile(simulator.spool() / "job-000001.prn"), bytes);
}

TEST(SimulatorPrint, WriteReportsTheBytesTaken) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.start(3);
    uint32_t written = 99;
    ASSERT_EQ(simulator.write(3, "12345", &written), 0u);
    EXPECT_EQ(written, 5u);
}

TEST(SimulatorPrint, UnfinishedJobHasNoFinalName) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.start(3);
    simulator.write(3, "data");
    EXPECT_TRUE(simulator.spooled(".prn").empty());
    EXPECT_EQ(simulator.spooled(".part").size(), 1u);
}

TEST(SimulatorPrint, CancelledJobLeavesNothing) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.start(3);
    simulator.write(3, "data");
    ASSERT_EQ(simulator.cancel(3), 0u);
    EXPECT_TRUE(simulator.spooled(".prn").empty());
    EXPECT_TRUE(simulator.spooled(".part").empty());
    EXPECT_TRUE(simulator.spooled(".json").empty());
}

TEST(SimulatorPrint, CloseWithinAJobDropsIt) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.start(3);
    simulator.write(3, "data");
    ASSERT_EQ(simulator.close(3), 0u);
    EXPECT_TRUE(simulator.spooled(".prn").empty());
    EXPECT_TRUE(simulator.spooled(".part").empty());
}

TEST(SimulatorPrint, UnloadWithinAJobDropsIt) {
    LoadedSimulator simulator;
    simulator.open(3);
    simulator.start(3);
    simulator.unload();
    EXPECT_TRUE(simulator.spooled(".part").empty());
}

TEST(SimulatorPrint, CompanionTellsOfTheJob) {
    const LoadedSimulator simulator;
    simulator.open(0x6001);
    simulator.start(0x6001, "Quarter \"1\"\xE4.pdf");
    simulator.write(0x6001, "12345");
    simulator.end(0x6001);
    const auto text = readFile(simulator.spool() / "job-000001.json");
    EXPECT_NE(text.find("\"documentName\": \"Quarter \\\"1\\\"\xEF\xBF\xBD.pdf\""), std::string::npos) << text;
    EXPECT_NE(text.find("\"handle\": 24577"), std::string::npos);
    EXPECT_NE(text.find("\"printer\": \"Network printer\""), std::string::npos);
    EXPECT_NE(text.find("\"bytes\": 5"), std::string::npos);
    EXPECT_NE(text.find("\"clientId\": 7"), std::string::npos);
    EXPECT_NE(text.find("\"ended\": \"20"), std::string::npos);
}

TEST(SimulatorPrint, WideDocumentNameIsKept) {
    const LoadedSimulator simulator;
    simulator.open(3);
    const auto code =
        simulator.call<uint32_t(uint32_t, uint32_t, uint32_t, const wchar_t *, const wchar_t *, const wchar_t *,
                                const wchar_t *)>("OrxStartJobPrinterW", 7u, 3u, 0u, L"", L"", L"\u00e4", L"");
    ASSERT_EQ(code, 0u);
    simulator.end(3);
    EXPECT_NE(readFile(simulator.spool() / "job-000001.json").find("\"documentName\": \"\xC3\xA4\""),
              std::string::npos);
}

TEST(SimulatorPrint, JobNumbersGoOnAfterAReload) {
    LoadedSimulator simulator;
    simulator.print(3, "1");
    simulator.reload();
    simulator.print(3, "2");
    EXPECT_EQ(simulator.spooled(".prn"), (std::vector<std::string>{"job-000001.prn", "job-000002.prn"}));
}

TEST(SimulatorPrint, ExistingJobIsNeverOverwritten) {
    const LoadedSimulator simulator;
    std::filesystem::create_directories(simulator.spool());
    simulator.folder().write("spool\\job-000001.prn", "old");
    simulator.print(3, "new");
    EXPECT_EQ(readFile(simulator.spool() / "job-000001.prn"), "old");
    EXPECT_EQ(readFile(simulator.spool() / "job-000002.prn"), "new");
}

TEST(SimulatorPrint, SpoolThatCannotBeMadeAnswersWriteFault) {
    const LoadedSimulator simulator;
    simulator.folder().write("spool", "a file stands where the folder should be");
    simulator.open(3);
    EXPECT_EQ(simulator.start(3), 29u);
}

TEST(SimulatorPrint, SpoolThatVanishesAnswersWriteFaultAtTheEnd) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.start(3);
    simulator.write(3, "data");
    std::filesystem::create_directories(simulator.spool() / "job-000001.json");
    EXPECT_EQ(simulator.end(3), 29u);
    EXPECT_TRUE(simulator.spooled(".prn").empty());
    EXPECT_TRUE(simulator.spooled(".part").empty());
}

TEST(SimulatorPrint, FullSpoolAnswersDiskFullAndKeepsNothing) {
    const LoadedSimulator simulator(LoadedSimulator::withPlainPrinters("\"spoolCapacity\":10"));
    simulator.open(1);
    simulator.start(1);
    uint32_t written = 99;
    EXPECT_EQ(simulator.write(1, "1234567890"), 0u);
    EXPECT_EQ(simulator.write(1, "x", &written), 112u);
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(simulator.end(1), 112u);
    EXPECT_TRUE(simulator.spooled(".prn").empty());
    EXPECT_TRUE(simulator.spooled(".part").empty());
}

TEST(SimulatorPrint, NextJobAfterAFailedOneSucceeds) {
    const LoadedSimulator simulator(LoadedSimulator::withPlainPrinters("\"spoolCapacity\":3"));
    simulator.open(1);
    simulator.start(1);
    simulator.write(1, "1234");
    simulator.end(1);
    simulator.close(1);
    EXPECT_EQ(simulator.print(1, "123"), 0u);
}

TEST(SimulatorPrint, HandleThatIsNotOpenIsInvalid) {
    const LoadedSimulator simulator;
    EXPECT_EQ(simulator.start(3), 6u);
    EXPECT_EQ(simulator.write(3, "x"), 6u);
    EXPECT_EQ(simulator.end(3), 6u);
    EXPECT_EQ(simulator.cancel(3), 6u);
    EXPECT_EQ(simulator.close(3), 6u);
}

TEST(SimulatorPrint, UnknownHandleIsInvalid) {
    const LoadedSimulator simulator;
    EXPECT_EQ(simulator.open(4), 6u);
    EXPECT_EQ(simulator.open(0x10003), 6u);
}

TEST(SimulatorPrint, UnreachablePrinterIsNotFound) {
    const LoadedSimulator simulator(
        R"({"printers":[{"handle":1,"transport":"USB1","port":"p","device":"","reachable":false}]})");
    EXPECT_EQ(simulator.open(1), 1168u);
}

TEST(SimulatorPrint, OutsideAJobNothingIsSupported) {
    const LoadedSimulator simulator;
    simulator.open(3);
    EXPECT_EQ(simulator.write(3, "x"), 50u);
    EXPECT_EQ(simulator.end(3), 50u);
    EXPECT_EQ(simulator.cancel(3), 50u);
}

TEST(SimulatorPrint, SecondJobOnAHandleIsBusy) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.start(3);
    EXPECT_EQ(simulator.start(3), 170u);
}

TEST(SimulatorPrint, OpensAreCounted) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.open(3);
    EXPECT_EQ(simulator.close(3), 0u);
    EXPECT_EQ(simulator.start(3), 0u);
    EXPECT_EQ(simulator.close(3), 0u);
    EXPECT_EQ(simulator.close(3), 6u);
}

TEST(SimulatorPrint, NullDataIsAnInvalidParameter) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.start(3);
    EXPECT_EQ((simulator.call<uint32_t(uint32_t, uint32_t, const void *, uint32_t, uint32_t *)>(
                  "OrxWritePrinter", 7u, 3u, nullptr, 5u, nullptr)),
              87u);
}

struct PrintOften {
    const LoadedSimulator *simulator;
    uint32_t handle;
    uint32_t failures = 0;

    static DWORD WINAPI run(void *argument) {
        auto &self = *static_cast<PrintOften *>(argument);
        for (int job = 0; job < 20; ++job)
            self.failures += self.simulator->print(self.handle, "job of " + std::to_string(self.handle)) != 0;
        return 0;
    }
};

TEST(SimulatorPrint, ThreadsPrintAtOnceWithoutLosingAJob) {
    const EveryCore everyCore;
    const LoadedSimulator simulator;
    PrintOften jobs[] = {{&simulator, 3}, {&simulator, 0x6001}, {&simulator, 0x4001}, {&simulator, 0x1001}};
    HANDLE threads[4];
    for (int index = 0; index < 4; ++index)
        threads[index] = CreateThread(nullptr, 0, &PrintOften::run, &jobs[index], 0, nullptr);
    WaitForMultipleObjects(4, threads, TRUE, INFINITE);
    for (int index = 0; index < 4; ++index) {
        CloseHandle(threads[index]);
        EXPECT_EQ(jobs[index].failures, 0u);
    }
    EXPECT_EQ(simulator.spooled(".prn").size(), 80u);
}

} // namespace
