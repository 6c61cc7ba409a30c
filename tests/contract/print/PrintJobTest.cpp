#include "tests/contract/print/ClientFixture.h"

#include "tests/support/GuardedBuffer.h"

using namespace kal::test;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const Translation standardTranslation[] = {
    {0, 0, "KAL_OKAY"},          {170, -27, "KAL_PRNBUSY"}, {1168, -10, "DEVERR_CONNECT"},
    {6, -8, "DEVERR_INVHANDLE"}, {1, 1, "KAL_FAIL"},        {2, 1, "KAL_FAIL"},
    {5, 1, "KAL_FAIL"},          {50, 1, "KAL_FAIL"},       {122, 1, "KAL_FAIL"},
    {127, 1, "KAL_FAIL"},        {1460, 1, "KAL_FAIL"},     {0xFFFFFFFF, 1, "KAL_FAIL"},
};

std::string text(uint32_t number) {
    return std::to_string(number);
}

} // namespace

/// A registered client with one open printer.
class PrintJob : public RegisteredClient {
  protected:
    PrintJob() { openPrinter(); }

    int32_t write(uint32_t requested, uint32_t portType = 0) {
        count = requested;
        return kal.KalWrite(0, fitting, portType, "data", &count);
    }
    /// The total that the latest write's trace shows.
    std::string tracedTotal() const {
        const auto line = log().at(0);
        return line.substr(line.find("totalByteCount="));
    }
    uint32_t count = 0;
    const std::string handleText = text(fitting);
};

// --------------------------------------------------------------------------------- start

class StartTranslation : public PrintJob, public testing::WithParamInterface<Translation> {};

TEST_P(StartTranslation, MapsTheServiceCode) {
    service.answers("OrxStartJobPrinter", GetParam().code);
    EXPECT_EQ(kal.KalStartDoc(fitting, 0, "d"), GetParam().result);
    EXPECT_THAT(log(), ElementsAre("+KalStartDoc()  handle=" + handleText,
                                   "-KalStartDoc()  handle=" + handleText + " rc=" + GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(Code, StartTranslation, testing::ValuesIn(standardTranslation), codeOf);

TEST_F(PrintJob, StartPassesNumberNameAndEmptyStringsInOrder) {
    kal.KalStartDoc(fitting, 2, "report.pdf");
    const ServiceCall call = service.lastCall("OrxStartJobPrinter");
    EXPECT_EQ(call.number(1), fitting);
    EXPECT_EQ(call.number(2), 0u);
    EXPECT_EQ(call.text(3), "");
    EXPECT_EQ(call.text(4), "");
    EXPECT_EQ(call.text(5), "report.pdf");
    EXPECT_EQ(call.text(6), "");
    for (const size_t index : {3u, 4u, 5u, 6u})
        EXPECT_NE(call.arguments[index], 0u) << index;
    EXPECT_THAT(service.operations(), ElementsAre("OrxStartJobPrinter"));
}

TEST_F(PrintJob, StartWithoutNamePassesTheEmptyString) {
    kal.KalStartDoc(fitting, 2, nullptr);
    EXPECT_NE(service.lastCall("OrxStartJobPrinter").arguments[5], 0u);
    EXPECT_EQ(service.lastCall("OrxStartJobPrinter").text(5), "");
}

TEST_F(PrintJob, StartOnAHandleThatIsNotOpenIsPlainFailure) {
    EXPECT_EQ(kal.KalStartDoc(handle, 0, "d"), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(PrintJob, StartOnAMisfitTracesIt) {
    EXPECT_EQ(kal.KalStartDoc(handle, 2, "d"), DEVERR_PROTOCOL);
    EXPECT_THAT(log().back(), EndsWith(" rc=DEVERR_PROTOCOL"));
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(PrintJob, StartCutsItsArgumentsToTheirWidths) {
    const auto name = static_cast<uint64_t>(reinterpret_cast<uintptr_t>("d"));
    as<AnyExport>("KalStartDoc")(0xDEADBEEF'CAFE0000 | fitting, 0xDEADBEEF'00000002, name, 0, 0, 0, 0, 0);
    EXPECT_EQ(service.lastCall("OrxStartJobPrinter").number(1), fitting);
}

TEST_F(PrintJob, StartThatTheServiceLacksClosesTheHandle) {
    service.lacks("OrxStartJobPrinter");
    EXPECT_EQ(kal.KalStartDoc(fitting, 0, "d"), KAL_FAIL);
    EXPECT_EQ(service.count("OrxClosePrinter"), 1u);
    EXPECT_EQ(kal.KalClose(0, fitting), DEVERR_INVHANDLE);
}

// --------------------------------------------------------------------------------- end and cancel

class EndTranslation : public PrintJob, public testing::WithParamInterface<Translation> {};

TEST_P(EndTranslation, MapsTheServiceCode) {
    service.answers("OrxEndJobPrinter", GetParam().code);
    EXPECT_EQ(kal.KalEndDoc(fitting, 0), GetParam().result);
    EXPECT_THAT(log(), ElementsAre("+KalEndDoc() handle=" + handleText,
                                   "-KalEndDoc() handle=" + handleText + " rc=" + GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(Code, EndTranslation, testing::ValuesIn(standardTranslation), codeOf);

TEST_F(PrintJob, EndOnAMisfitTracesIt) {
    EXPECT_EQ(kal.KalEndDoc(handle, 512), DEVERR_PROTOCOL);
    EXPECT_THAT(log().back(), EndsWith(" rc=DEVERR_PROTOCOL"));
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(PrintJob, EndCutsItsArgumentsToTheirWidths) {
    EXPECT_EQ(static_cast<int32_t>(
                  as<AnyExport>("KalEndDoc")(0xDEADBEEF'CAFE0000 | fitting, 0xDEADBEEF'00000800, 0, 0, 0, 0, 0, 0)),
              KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxEndJobPrinter").number(1), fitting);
}

TEST_F(PrintJob, EndThatTheServiceLacksClosesTheHandle) {
    service.lacks("OrxEndJobPrinter");
    EXPECT_EQ(kal.KalEndDoc(fitting, 0), KAL_FAIL);
    EXPECT_EQ(kal.KalClose(0, fitting), DEVERR_INVHANDLE);
}

class CancelTranslation : public PrintJob, public testing::WithParamInterface<Translation> {};

TEST_P(CancelTranslation, MapsTheServiceCode) {
    service.answers("OrxCancelJobPrinter", GetParam().code);
    EXPECT_EQ(kal.KalCancelJob(0, fitting), GetParam().result);
    EXPECT_THAT(log(), ElementsAre("+KalCancelJob() handle=" + handleText,
                                   "-KalCancelJob() handle=" + handleText + " rc=" + GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(Code, CancelTranslation,
                         testing::Values(Translation{0, 0, "KAL_OKAY"}, Translation{170, 1, "KAL_FAIL"},
                                         Translation{1168, 1, "KAL_FAIL"}, Translation{6, 1, "KAL_FAIL"},
                                         Translation{1, 1, "KAL_FAIL"}, Translation{0xFFFFFFFF, 1, "KAL_FAIL"}),
                         codeOf);

TEST_F(PrintJob, CancelOnAHandleThatIsNotOpenIsPlainFailure) {
    EXPECT_EQ(kal.KalCancelJob(0, handle), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(PrintJob, CancelCutsItsHandleToSixteenBits) {
    as<AnyExport>("KalCancelJob")(~0ull, 0xDEADBEEF'CAFE0000 | fitting, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(service.lastCall("OrxCancelJobPrinter").number(1), fitting);
}

// --------------------------------------------------------------------------------- write

class WriteTranslation : public PrintJob, public testing::WithParamInterface<Translation> {};

TEST_P(WriteTranslation, MapsTheServiceCode) {
    const ImportHook<"Sleep", void(DWORD)> sleep(library.module(), [](DWORD) {});
    service.does("OrxWritePrinter", [](const ServiceCall &call) {
        *call.pointer<uint32_t>(4) = 3;
        return GetParam().code;
    });
    EXPECT_EQ(write(4), GetParam().result);
    EXPECT_THAT(log().back(), EndsWith(" rc=" + std::to_string(GetParam().result) + ", bytesWritten=3"));
    EXPECT_EQ(service.count("OrxWritePrinter"), 1u);
}

INSTANTIATE_TEST_SUITE_P(Code, WriteTranslation,
                         testing::Values(Translation{0, 0, ""}, Translation{1168, -10, ""}, Translation{50, -14, ""},
                                         Translation{6, -8, ""}, Translation{1, 1, ""}, Translation{170, 1, ""},
                                         Translation{122, 1, ""}, Translation{5, 1, ""}, Translation{127, 1, ""},
                                         Translation{0xFFFFFFFF, 1, ""}),
                         codeOf);

TEST_F(PrintJob, WritePassesTheCallersOwnPointers) {
    const GuardedBuffer data(std::string(100, 'x'));
    uint32_t requested = 100;
    EXPECT_EQ(kal.KalWrite(0, fitting, 0, data.data(), &requested), KAL_OKAY);
    const ServiceCall call = service.lastCall("OrxWritePrinter");
    EXPECT_EQ(call.number(1), fitting);
    EXPECT_EQ(call.pointer<uint8_t>(2), data.data());
    EXPECT_EQ(call.number(3), 100u);
    EXPECT_EQ(call.pointer<uint32_t>(4), &requested);
}

TEST_F(PrintJob, WriteReportsWhatTheServiceTook) {
    service.does("OrxWritePrinter", [](const ServiceCall &call) {
        *call.pointer<uint32_t>(4) = 7;
        return 0u;
    });
    write(10);
    EXPECT_EQ(count, 7u);
}

TEST_F(PrintJob, WriteTracesCountTotalAndBytesWritten) {
    kal.KalStartDoc(fitting, 0, "d");
    forget();
    EXPECT_EQ(write(4096), KAL_OKAY);
    const std::string description = "KalWrite() handle=" + handleText + " byteCount=4096 totalByteCount=4096";
    EXPECT_THAT(log(), ElementsAre("+" + description, "-" + description + " rc=0, bytesWritten=4096"));
}

TEST_F(PrintJob, TotalGrowsWithEveryWriteOfEveryHandle) {
    openPrinter(handle);
    kal.KalStartDoc(fitting, 0, "d");
    write(10);
    uint32_t other = 5;
    kal.KalWrite(0, handle, 0, "x", &other);
    forget();
    write(1);
    EXPECT_EQ(tracedTotal(), "totalByteCount=16");
}

TEST_F(PrintJob, StartOfAnyJobResetsTheTotal) {
    openPrinter(handle);
    write(10);
    kal.KalStartDoc(handle, 0, "d");
    forget();
    write(1);
    EXPECT_EQ(tracedTotal(), "totalByteCount=1");
}

TEST_F(PrintJob, StartThatTheServiceRefusesResetsTheTotal) {
    service.answers("OrxStartJobPrinter", 170);
    write(10);
    kal.KalStartDoc(fitting, 0, "d");
    forget();
    write(1);
    EXPECT_EQ(tracedTotal(), "totalByteCount=1");
}

TEST_F(PrintJob, MisfittingStartLeavesTheTotal) {
    write(10);
    kal.KalStartDoc(handle, 2, "d");
    forget();
    write(1);
    EXPECT_EQ(tracedTotal(), "totalByteCount=11");
}

TEST_F(PrintJob, TotalWrapsSilently) {
    kal.KalStartDoc(fitting, 0, "d");
    write(0xFFFFFFFF);
    forget();
    write(3);
    EXPECT_EQ(tracedTotal(), "totalByteCount=2");
}

TEST_F(PrintJob, FailedWriteRaisesTheTotalAllTheSame) {
    kal.KalStartDoc(fitting, 0, "d");
    service.answers("OrxWritePrinter", 5);
    write(10);
    forget();
    write(1);
    EXPECT_EQ(tracedTotal(), "totalByteCount=11");
}

TEST_F(PrintJob, MisfittingWriteRaisesTheTotalAndSendsNothing) {
    constexpr uint16_t parallel = 0x1005;
    openPrinter(parallel);
    kal.KalStartDoc(parallel, 0, "d");
    forget();
    uint32_t requested = 10;
    EXPECT_EQ(kal.KalWrite(0, parallel, 2, "x", &requested), DEVERR_PROTOCOL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    const std::string description = "KalWrite() handle=4101 byteCount=10 totalByteCount=10";
    EXPECT_THAT(log(), ElementsAre("+" + description, "-" + description + " rc=DEVERR_PROTOCOL"));
}

TEST_F(PrintJob, BusyIsPlainFailureForAWriteAndBusyForAStart) {
    service.answers("OrxWritePrinter", 170);
    service.answers("OrxStartJobPrinter", 170);
    EXPECT_EQ(write(1), KAL_FAIL);
    EXPECT_EQ(kal.KalStartDoc(fitting, 0, "d"), KAL_PRNBUSY);
}

TEST_F(PrintJob, FullServiceBufferPausesOnceAndIsNotRetried) {
    std::vector<DWORD> pauses;
    const ImportHook<"Sleep", void(DWORD)> sleep(library.module(),
                                                 [&](DWORD milliseconds) { pauses.push_back(milliseconds); });
    service.answers("OrxWritePrinter", 122);
    EXPECT_EQ(write(10), KAL_FAIL);
    EXPECT_THAT(pauses, ElementsAre(2000));
    EXPECT_EQ(service.count("OrxWritePrinter"), 1u);
}

TEST_F(PrintJob, WriteOnAHandleThatIsNotOpenIsPlainFailure) {
    uint32_t requested = 1;
    EXPECT_EQ(kal.KalWrite(0, handle, 0, "x", &requested), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(PrintJob, WriteThatTheServiceLacksLeavesTheHandleOpen) {
    service.lacks("OrxWritePrinter");
    EXPECT_EQ(write(1), KAL_FAIL);
    EXPECT_EQ(kal.KalClose(0, fitting), KAL_OKAY);
}

TEST_F(PrintJob, WriteOfNullDataAsksNobody) {
    uint32_t requested = 10;
    EXPECT_EQ(kal.KalWrite(0, fitting, 0, nullptr, &requested), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(log(), Contains("KalWrite() data = NULL"));
    EXPECT_EQ(requested, 10u);
}

TEST_F(PrintJob, WriteOfNoBytesNeedsNoData) {
    uint32_t requested = 0;
    EXPECT_EQ(kal.KalWrite(0, fitting, 0, nullptr, &requested), KAL_OKAY);
    ASSERT_THAT(service.operations(), ElementsAre("OrxWritePrinter"));
    EXPECT_EQ(service.lastCall("OrxWritePrinter").pointer<void>(2), nullptr);
    EXPECT_EQ(service.lastCall("OrxWritePrinter").number(3), 0u);
}

TEST_F(PrintJob, PortTypeIsTestedBeforeThePointers) {
    openPrinter(handle);
    uint32_t requested = 10;
    EXPECT_EQ(kal.KalWrite(0, handle, 2, nullptr, &requested), DEVERR_PROTOCOL);
    EXPECT_EQ(kal.KalWrite(0, handle, 2, "x", nullptr), DEVERR_PROTOCOL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(log(), Not(Contains(testing::HasSubstr("= NULL"))));
}

TEST_F(PrintJob, WriteOfNullCountAsksNobody) {
    EXPECT_EQ(kal.KalWrite(0, fitting, 0, "x", nullptr), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(log(), Contains("KalWrite() byteCount = NULL"));
}

TEST_F(PrintJob, WriteOfNullCountIsTracedAsOneOfNoBytes) {
    uint32_t requested = 10;
    kal.KalWrite(0, fitting, 0, nullptr, &requested);
    kal.KalWrite(0, fitting, 0, "x", nullptr);
    EXPECT_THAT(log(), Contains(testing::ContainsRegex("^\\+KalWrite.* byteCount=0 totalByteCount=10$")));
}

TEST_F(PrintJob, NullArgumentsAreErrors) {
    unregisterApp();
    machine.setLogger("startLog", 0);
    openPrinter();
    uint32_t requested = 10;
    kal.KalWrite(0, fitting, 0, nullptr, &requested);
    kal.KalWrite(0, fitting, 0, "x", nullptr);
    EXPECT_THAT(log(), ElementsAre("KalWrite() data = NULL", "KalWrite() byteCount = NULL"));
}

TEST_F(PrintJob, WriteCutsItsArgumentsToTheirWidths) {
    uint32_t requested = 4;
    const auto word = [](const void *pointer) { return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(pointer)); };
    const int64_t result = as<AnyExport>("KalWrite")(~0ull, 0xDEADBEEF'CAFE0000 | fitting, 0xDEADBEEF'00000200,
                                                     word("data"), word(&requested), 0, 0, 0);
    EXPECT_EQ(static_cast<int32_t>(result), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxWritePrinter").number(1), fitting);
}

// --------------------------------------------------------------------------------- write overlapped

TEST_F(PrintJob, OverlappedWriteHoldsTheTraceOfAPlainWrite) {
    kal.KalStartDoc(fitting, 0, "d");
    forget();
    count = 5;
    EXPECT_EQ(kal.KalWriteOverlapped(1, fitting, 0, "data!", &count, 9), KAL_OKAY);
    const auto lines = indentedLog();
    const std::string plain = "KalWrite() handle=" + handleText + " byteCount=5 totalByteCount=5";
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "+KalWriteOverlapped() handle=" + handleText);
    EXPECT_EQ(lines[1], " +" + plain);
    EXPECT_EQ(lines[2], " -" + plain + " rc=0, bytesWritten=5");
    EXPECT_THAT(lines[3], StartsWith("-KalWriteOverlapped() handle=" + handleText));
}

TEST_F(PrintJob, OverlappedWriteWritesOnceWithItsFirstFiveArguments) {
    const GuardedBuffer data(std::string(8, 'x'));
    count = 8;
    kal.KalWriteOverlapped(1, fitting, 512, data.data(), &count, 9);
    const ServiceCall call = service.lastCall("OrxWritePrinter");
    EXPECT_THAT(service.operations(), ElementsAre("OrxWritePrinter"));
    EXPECT_EQ(call.number(1), fitting);
    EXPECT_EQ(call.pointer<uint8_t>(2), data.data());
    EXPECT_EQ(call.number(3), 8u);
    EXPECT_EQ(call.pointer<uint32_t>(4), &count);
}

TEST_F(PrintJob, OverlappedWriteReturnsOnlyWhenTheServiceTookTheData) {
    service.does("OrxWritePrinter", [](const ServiceCall &call) {
        Sleep(30);
        *call.pointer<uint32_t>(4) = 2;
        return 0u;
    });
    count = 4;
    kal.KalWriteOverlapped(0, fitting, 0, "data", &count, 0);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(service.lastCall("OrxWritePrinter").thread, GetCurrentThreadId());
}

class OverlappedTranslation : public PrintJob, public testing::WithParamInterface<Translation> {};

TEST_P(OverlappedTranslation, IsThatOfAPlainWrite) {
    const ImportHook<"Sleep", void(DWORD)> sleep(library.module(), [](DWORD) {});
    service.answers("OrxWritePrinter", GetParam().code);
    count = 4;
    EXPECT_EQ(kal.KalWriteOverlapped(0, fitting, 0, "data", &count, 0), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Code, OverlappedTranslation,
                         testing::Values(Translation{0, 0, ""}, Translation{1168, -10, ""}, Translation{50, -14, ""},
                                         Translation{6, -8, ""}, Translation{170, 1, ""}, Translation{122, 1, ""}),
                         codeOf);

TEST_F(PrintJob, OverlappedWriteOnAMisfitSendsNothing) {
    count = 4;
    EXPECT_EQ(kal.KalWriteOverlapped(0, handle, 2, "data", &count, 0), DEVERR_PROTOCOL);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(PrintJob, OverlappedWriteOfNullsAsksNobody) {
    EXPECT_EQ(kal.KalWriteOverlapped(0, fitting, 0, "x", nullptr, 0), KAL_FAIL);
    count = 1;
    EXPECT_EQ(kal.KalWriteOverlapped(0, fitting, 0, nullptr, &count, 0), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

// --------------------------------------------------------------------------------- a whole document

TEST_F(PrintJob, DocumentArrivesByteForByteAndInOrder) {
    std::string document;
    for (int byte = 0; byte < 100'000; ++byte)
        document.push_back(static_cast<char>(byte * 31 + byte / 256));
    std::string arrived;
    service.does("OrxWritePrinter", [&](const ServiceCall &call) {
        const uint32_t taken = std::min(call.number(3), 4000u); // takes part of what is offered
        arrived.append(call.pointer<const char>(2), taken);
        *call.pointer<uint32_t>(4) = taken;
        return 0u;
    });
    ASSERT_EQ(kal.KalStartDoc(fitting, 2, "document"), KAL_OKAY);
    for (size_t sent = 0; sent < document.size();) {
        count = static_cast<uint32_t>(std::min<size_t>(document.size() - sent, 4096));
        ASSERT_EQ(kal.KalWrite(0, fitting, 2, document.data() + sent, &count), KAL_OKAY);
        sent += count;
    }
    ASSERT_EQ(kal.KalEndDoc(fitting, 2), KAL_OKAY);
    ASSERT_EQ(kal.KalClose(0, fitting), KAL_OKAY);
    EXPECT_EQ(arrived, document);
}
