#include "tests/examples/ProgramUnderTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kal::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char *printers =
    R"("logCalls": true, "printers": [{ "handle": 3, "transport": "USB1", "port": "USB001", "device": "BpdPrinter" }])";

std::string configuration(const std::string &entryPoints) {
    return std::string("{ ") + printers + ", \"entryPoints\": { " + entryPoints + " } }";
}

/// Every byte value, and no length that a chunk would divide.
std::string document(size_t size) {
    std::string bytes(size, '\0');
    unsigned state = 1;
    for (char &byte : bytes) {
        state = state * 1103515245u + 12345u;
        byte = static_cast<char>(state >> 16);
    }
    return bytes;
}

class PrintExample : public testing::Test {
  protected:
    /// Prints and waits for the end. @return the exit code
    DWORD print(const std::string &bytes, const std::wstring &handle = L"3") {
        const std::string file = folder_.write("document.prn", bytes);
        return run(handle + L" \"" + std::wstring(file.begin(), file.end()) + L"\"");
    }

    DWORD run(const std::wstring &arguments) {
        const ProgramUnderTest program(programFolder(), L"print_example.exe " + arguments);
        const DWORD code = program.exitCode(60000);
        errors_ = program.errorOutput();
        return code;
    }

    TemporaryFolder folder_;
    std::string errors_;
};

TEST_F(PrintExample, DocumentReachesTheSpoolByteForByte) {
    const VirtualPrinters service(configuration(""));
    const std::string bytes = document(1'000'003);
    ASSERT_EQ(print(bytes), 0u) << errors_;
    ASSERT_EQ(service.documents().size(), 1u);
    EXPECT_TRUE(service.documents().front() == bytes);
}

TEST_F(PrintExample, PartialWritesLoseAndRepeatNothing) {
    const VirtualPrinters service(configuration(R"("OrxWritePrinter": { "accept": 9973 })"));
    const std::string bytes = document(300'007);
    ASSERT_EQ(print(bytes), 0u) << errors_;
    ASSERT_EQ(service.documents().size(), 1u);
    EXPECT_TRUE(service.documents().front() == bytes);
}

TEST_F(PrintExample, FullBufferIsWaitedFor) {
    const VirtualPrinters service(configuration(R"("OrxWritePrinter": { "call": 2, "code": 122 })"));
    const std::string bytes = document(200'000);
    ASSERT_EQ(print(bytes), 0u) << errors_;
    ASSERT_EQ(service.documents().size(), 1u);
    EXPECT_TRUE(service.documents().front() == bytes);
}

TEST_F(PrintExample, ServiceThatTakesNothingEndsInACancelledJob) {
    const VirtualPrinters service(configuration(R"("OrxWritePrinter": { "fromCall": 2, "accept": 0 })"));
    EXPECT_EQ(print(document(200'000)), 1u);
    EXPECT_THAT(service.documents(), IsEmpty());
    EXPECT_EQ(service.calls("OrxCancelJobPrinter"), 1u);
}

TEST_F(PrintExample, FailedWriteCancelsTheJob) {
    const VirtualPrinters service(configuration(R"("OrxWritePrinter": { "fromCall": 2, "code": 1168 })"));
    EXPECT_EQ(print(document(200'000)), 1u);
    EXPECT_THAT(service.documents(), IsEmpty());
    EXPECT_EQ(service.calls("OrxCancelJobPrinter"), 1u);
}

TEST_F(PrintExample, FailedWriteIsExplained) {
    const VirtualPrinters service(configuration(R"("OrxWritePrinter": { "fromCall": 2, "code": 1168 })"));
    print(document(200'000));
    EXPECT_THAT(errors_, HasSubstr("the printer cannot be reached (-10)"));
}

TEST_F(PrintExample, FailedEndCancelsTheJob) {
    const VirtualPrinters service(configuration(R"("OrxEndJobPrinter": { "code": 5 })"));
    EXPECT_EQ(print("x"), 1u);
    EXPECT_EQ(service.calls("OrxCancelJobPrinter"), 1u);
}

TEST_F(PrintExample, BusyPrinterIsExplained) {
    const VirtualPrinters service(configuration(R"("OrxStartJobPrinter": { "code": 170 })"));
    EXPECT_EQ(print("x"), 1u);
    EXPECT_THAT(errors_, HasSubstr("the printer is busy (-27)"));
}

TEST_F(PrintExample, BusyPrinterIsClosedAgain) {
    const VirtualPrinters service(configuration(R"("OrxStartJobPrinter": { "code": 170 })"));
    print("x");
    EXPECT_EQ(service.calls("OrxClosePrinter"), 1u);
}

TEST_F(PrintExample, UnknownHandleIsExplained) {
    const VirtualPrinters service(configuration(""));
    EXPECT_EQ(print("x", L"0x77"), 1u);
    EXPECT_THAT(errors_, HasSubstr("there is no such printer (-8)"));
}

TEST_F(PrintExample, MissingFileAsksNothingOfTheService) {
    const VirtualPrinters service(configuration(""));
    EXPECT_EQ(run(L"3 no-such-file.prn"), 2u);
    EXPECT_EQ(service.calls("OrxOpenPrinter"), 0u);
}

TEST_F(PrintExample, HandleBeyondSixteenBitsIsAUsageError) {
    const VirtualPrinters service(configuration(""));
    EXPECT_EQ(print("x", L"65539"), 2u);
}

TEST_F(PrintExample, EmptyDocumentIsAnEmptyJob) {
    const VirtualPrinters service(configuration(""));
    EXPECT_EQ(print(""), 0u) << errors_;
    EXPECT_THAT(service.documents(), ElementsAre(""));
}

} // namespace
