#include "tests/contract/RegisteredApplication.h"

#include "tests/unit/api/BidiCommands.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace kal::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

using Bytes = std::vector<uint8_t>;

/// The service's side of an exchange: keeps the request, writes a response and reports a length for it.
template <class Application>
class BidiTest : public Application {
  protected:
    BidiTest() {
        this->service.does("OrxExchangeBidiPrinter", [this](const ServiceCall &call) {
            const auto *bytes = call.template pointer<uint8_t>(2);
            request.assign(bytes, bytes + call.number(3));
            const size_t count = std::min<size_t>(response.size(), call.number(5));
            if (count != 0)
                std::memcpy(call.template pointer<char>(4), response.data(), count);
            if (reportedLength)
                *call.template pointer<uint32_t>(6) = *reportedLength;
            else if (code == 0)
                *call.template pointer<uint32_t>(6) = static_cast<uint32_t>(response.size());
            return code;
        });
    }

    int32_t send(uint16_t function, GuardedBuffer &buffer, const Bytes &data = {}) {
        size = static_cast<uint32_t>(buffer.size());
        return KalSendBidi(0, 5, 0, function, buffer.data(), &size, data.empty() ? nullptr : data.data(),
                           static_cast<uint16_t>(data.size()));
    }
    int32_t sendWithoutResponse(uint16_t function, const Bytes &data = {}) {
        return KalSendBidi(0, 5, 0, function, nullptr, nullptr, data.empty() ? nullptr : data.data(),
                           static_cast<uint16_t>(data.size()));
    }

    Bytes request;
    std::string response;
    std::optional<uint32_t> reportedLength;
    uint32_t code = 0;
    uint32_t size = 0;
};

using KalSendBidiTest = BidiTest<RegisteredApplication>;
using KalSendBidiQuietTest = BidiTest<QuietApplication>;

Bytes numberedBytes(size_t count) {
    Bytes bytes(count);
    for (size_t index = 0; index < count; ++index)
        bytes[index] = static_cast<uint8_t>(index * 3 + 1);
    return bytes;
}

// ------------------------------------------------------------------------------------------------ the exchange

TEST_F(KalSendBidiTest, OpensExchangesAndCloses) {
    GuardedBuffer buffer(32);
    EXPECT_EQ(send(1, buffer), KAL_OKAY);
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter", "OrxExchangeBidiPrinter", "OrxClosePrinter"));
    EXPECT_EQ(service.lastCall("OrxOpenPrinter").number(1), 5u);
    EXPECT_EQ(service.lastCall("OrxClosePrinter").number(1), 5u);
    const auto call = service.lastCall("OrxExchangeBidiPrinter");
    EXPECT_EQ(call.number(0), 101u);
    EXPECT_EQ(call.number(1), 5u);
    EXPECT_EQ(call.number(3), 6u);
    EXPECT_EQ(call.pointer<uint8_t>(4), buffer.data());
    EXPECT_EQ(call.number(5), 32u);
    EXPECT_NE(call.arguments[6], 0u);
    EXPECT_EQ(call.thread, GetCurrentThreadId());
}

TEST_F(KalSendBidiTest, LeavesTheHandleClosed) {
    sendWithoutResponse(1);
    EXPECT_EQ(KalClose(0, 5), DEVERR_INVHANDLE);
}

TEST_F(KalSendBidiTest, LeavesAnOpenHandleOpen) {
    ASSERT_EQ(KalOpen(0, 5, 0), KAL_OKAY);
    sendWithoutResponse(1);
    EXPECT_EQ(KalClose(0, 5), KAL_OKAY);
    EXPECT_EQ(KalClose(0, 5), DEVERR_INVHANDLE);
}

TEST_F(KalSendBidiTest, LengthWordIsZeroBeforeTheExchange) {
    uint32_t before = 1;
    service.does("OrxExchangeBidiPrinter", [&](const ServiceCall &call) {
        before = *call.pointer<uint32_t>(6);
        return 0u;
    });
    GuardedBuffer buffer(32);
    EXPECT_EQ(send(1, buffer), KAL_OKAY);
    EXPECT_EQ(before, 0u);
    EXPECT_EQ(size, 0u);
}

// ---------------------------------------------------------------------------------------------------- requests

TEST_F(KalSendBidiQuietTest, EveryFunctionCodeSendsItsFrameOrNothing) {
    for (uint32_t function = 0; function <= 65535; ++function) {
        service.forgetCalls();
        request = {1};
        const int32_t result = sendWithoutResponse(static_cast<uint16_t>(function));
        const auto frame = bidiFrames().find(static_cast<uint16_t>(function));
        if (function == 170) {
            EXPECT_EQ(result, KAL_OKAY);
            EXPECT_EQ(request, Bytes());
        } else if (frame == bidiFrames().end()) {
            ASSERT_EQ(result, -15) << "code " << function;
            ASSERT_THAT(service.sequence(), IsEmpty()) << "code " << function;
        } else {
            EXPECT_EQ(result, KAL_OKAY) << "code " << function;
            EXPECT_EQ(request, frame->second) << "code " << function;
        }
    }
}

TEST_F(KalSendBidiTest, DataIsAppendedAndTheLengthRewritten) {
    EXPECT_EQ(sendWithoutResponse(1, {0xAA, 0xBB}), KAL_OKAY);
    EXPECT_THAT(request, ElementsAre(0xA5, 0x00, 0x05, 0x50, 0x04, 0x00, 0xAA, 0xBB));
}

TEST_F(KalSendBidiTest, TheLengthsHighByteIsUsed) {
    sendWithoutResponse(1, numberedBytes(253));
    EXPECT_EQ(request.size(), 259u);
    EXPECT_EQ(request[1], 0x01);
    EXPECT_EQ(request[2], 0x00);
}

TEST_F(KalSendBidiTest, DataOf506BytesGoesWithATemplateOfSix) {
    EXPECT_EQ(sendWithoutResponse(1, numberedBytes(506)), KAL_OKAY);
    ASSERT_EQ(request.size(), 512u);
    EXPECT_EQ(request[1], 0x01);
    EXPECT_EQ(request[2], 0xFD);
    EXPECT_EQ(Bytes(request.begin() + 6, request.end()), numberedBytes(506));
}

TEST_F(KalSendBidiTest, DataOf507BytesIsLeftOffATemplateOfSix) {
    EXPECT_EQ(sendWithoutResponse(1, numberedBytes(507)), KAL_OKAY);
    EXPECT_THAT(request, ElementsAre(0xA5, 0x00, 0x03, 0x50, 0x04, 0x00));
}

TEST_F(KalSendBidiTest, MostDataIsLeftOff) {
    EXPECT_EQ(sendWithoutResponse(1, numberedBytes(65535)), KAL_OKAY);
    EXPECT_EQ(request.size(), 6u);
}

TEST_F(KalSendBidiTest, FrameWithoutACommandTakesData) {
    EXPECT_EQ(sendWithoutResponse(0, {0x77}), KAL_OKAY);
    EXPECT_THAT(request, ElementsAre(0xA5, 0x00, 0x01, 0x77));
}

TEST_F(KalSendBidiTest, DataOfLengthZeroIsNoData) {
    const uint8_t data = 0x77;
    EXPECT_EQ(KalSendBidi(0, 5, 0, 1, nullptr, nullptr, &data, 0), KAL_OKAY);
    EXPECT_EQ(request.size(), 6u);
}

TEST_F(KalSendBidiTest, NullDataWithALengthIsNoData) {
    EXPECT_EQ(KalSendBidi(0, 5, 0, 1, nullptr, nullptr, nullptr, 10), KAL_OKAY);
    EXPECT_EQ(request.size(), 6u);
}

TEST_F(KalSendBidiTest, TableIsNotChangedByAppending) {
    sendWithoutResponse(1, numberedBytes(100));
    sendWithoutResponse(1);
    EXPECT_THAT(request, ElementsAre(0xA5, 0x00, 0x03, 0x50, 0x04, 0x00));
}

TEST_F(KalSendBidiTest, DataIsNotReadBeyondItsLength) {
    GuardedBuffer data(3, 0x11);
    KalSendBidi(0, 5, 0, 1, nullptr, nullptr, data.data(), 3);
    EXPECT_EQ(request.size(), 9u);
}

class KalSendBidiRawTest : public KalSendBidiTest, public testing::WithParamInterface<size_t> {};

TEST_P(KalSendBidiRawTest, RawRequestGoesOutAsItStands) {
    const Bytes data = numberedBytes(GetParam());
    EXPECT_EQ(sendWithoutResponse(170, data), KAL_OKAY);
    EXPECT_EQ(request, data);
}

INSTANTIATE_TEST_SUITE_P(Lengths, KalSendBidiRawTest, testing::Values(1u, 5u, 511u, 512u, 513u, 4096u, 65535u));

TEST_F(KalSendBidiTest, RawRequestOfNullDataWithALengthFailsWithoutTheService) {
    EXPECT_EQ(KalSendBidi(0, 5, 0, 170, nullptr, nullptr, nullptr, 5), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(machine.logTexts(), testing::Contains("KalSendBidi() data = NULL"));
}

// --------------------------------------------------------------------------------------------------- responses

TEST_F(KalSendBidiTest, HeadOfTheResponseIsDropped) {
    response = "HHHHHabcdef";
    GuardedBuffer buffer(11);
    EXPECT_EQ(send(1, buffer), KAL_OKAY);
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(buffer.bytes().substr(0, 6), "abcdef");
}

TEST_F(KalSendBidiTest, RawResponseIsReturnedWhole) {
    response = "HHHHHabcdef";
    GuardedBuffer buffer(11);
    EXPECT_EQ(send(170, buffer, {1}), KAL_OKAY);
    EXPECT_EQ(size, 11u);
    EXPECT_EQ(buffer.bytes(), "HHHHHabcdef");
}

TEST_F(KalSendBidiTest, LongResponseMovesOverlapping) {
    const Bytes body = numberedBytes(60000);
    response = "HHHHH" + std::string(body.begin(), body.end());
    GuardedBuffer buffer(60005);
    EXPECT_EQ(send(1, buffer), KAL_OKAY);
    ASSERT_EQ(size, 60000u);
    EXPECT_EQ(buffer.bytes().substr(0, 60000), std::string(body.begin(), body.end()));
}

class KalSendBidiShortTest : public KalSendBidiTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(KalSendBidiShortTest, ResponseNoLongerThanItsHeadIsEmpty) {
    response = std::string(GetParam(), 'H');
    GuardedBuffer buffer(GetParam());
    EXPECT_EQ(send(1, buffer), KAL_OKAY);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(machine.logTexts().back(), "-KalSendBidi() handle=5 function=1 rc=KAL_OKAY, response=");
}

TEST_P(KalSendBidiShortTest, RawResponseHasNoHead) {
    response = std::string(GetParam(), 'H');
    GuardedBuffer buffer(GetParam());
    EXPECT_EQ(send(170, buffer, {1}), KAL_OKAY);
    EXPECT_EQ(size, GetParam());
    EXPECT_EQ(buffer.bytes(), response);
}

INSTANTIATE_TEST_SUITE_P(Lengths, KalSendBidiShortTest, testing::Values(0u, 1u, 2u, 3u, 4u, 5u));

TEST_F(KalSendBidiTest, ResponseOfSixBytesIsOne) {
    response = "HHHHHz";
    GuardedBuffer buffer(6);
    EXPECT_EQ(send(1, buffer), KAL_OKAY);
    EXPECT_EQ(size, 1u);
    EXPECT_EQ(buffer.bytes()[0], 'z');
}

class KalSendBidiBeyondTest : public KalSendBidiTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(KalSendBidiBeyondTest, ReportedLengthBeyondTheBufferIsCut) {
    response = "HHHHHabcdefghijk";
    reportedLength = GetParam();
    GuardedBuffer buffer(16);
    EXPECT_EQ(send(1, buffer), KAL_OKAY);
    EXPECT_EQ(size, 11u);
    EXPECT_EQ(buffer.bytes().substr(0, 11), "abcdefghijk");
}

TEST_P(KalSendBidiBeyondTest, ReportedLengthBeyondTheBufferIsCutForARawRequest) {
    response = "HHHHHabcdefghijk";
    reportedLength = GetParam();
    GuardedBuffer buffer(16);
    EXPECT_EQ(send(170, buffer, {1}), KAL_OKAY);
    EXPECT_EQ(size, 16u);
    EXPECT_EQ(buffer.bytes(), "HHHHHabcdefghijk");
}

TEST_P(KalSendBidiBeyondTest, ReportedLengthBeyondTheLibrarysOwnBufferIsHarmless) {
    reportedLength = GetParam();
    EXPECT_EQ(sendWithoutResponse(1), KAL_OKAY);
    EXPECT_EQ(sendWithoutResponse(170, {1}), KAL_OKAY);
}

INSTANTIATE_TEST_SUITE_P(Lengths, KalSendBidiBeyondTest, testing::Values(17u, 65u, 1000000u, 0x80000000u, 0xFFFFFFFFu));

TEST_F(KalSendBidiTest, ReportedLengthBeyondAnEmptyBufferIsNothing) {
    reportedLength = 100;
    GuardedBuffer buffer(0);
    EXPECT_EQ(send(1, buffer), KAL_OKAY);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(service.lastCall("OrxExchangeBidiPrinter").number(5), 0u);
}

TEST_F(KalSendBidiTest, NullSizeExchangesWithTheLibrarysOwnBuffer) {
    response = "HHHHHabc";
    GuardedBuffer buffer(16, 'x');
    EXPECT_EQ(KalSendBidi(0, 5, 0, 1, buffer.data(), nullptr, nullptr, 0), KAL_OKAY);
    EXPECT_EQ(buffer.bytes(), std::string(16, 'x'));
    const auto call = service.lastCall("OrxExchangeBidiPrinter");
    EXPECT_EQ(call.number(5), 64u);
    EXPECT_NE(call.pointer<uint8_t>(4), buffer.data());
    EXPECT_NE(call.pointer<uint8_t>(4), nullptr);
}

TEST_F(KalSendBidiTest, NullBufferExchangesWithTheLibrarysOwnBuffer) {
    response = "HHHHHabc";
    uint32_t stated = 1000;
    EXPECT_EQ(KalSendBidi(0, 5, 0, 1, nullptr, &stated, nullptr, 0), KAL_OKAY);
    const auto call = service.lastCall("OrxExchangeBidiPrinter");
    EXPECT_EQ(call.number(5), 64u);
    EXPECT_NE(call.pointer<uint8_t>(4), nullptr);
}

TEST_F(KalSendBidiTest, NullBufferReceivesNothingOfTheSizeEither) {
    response = "HHHHHabc";
    uint32_t stated = 1000;
    KalSendBidi(0, 5, 0, 1, nullptr, &stated, nullptr, 0);
    EXPECT_EQ(stated, 1000u);
}

// ---------------------------------------------------------------------------------------------------- failures

struct BidiResult {
    uint32_t code;
    int32_t result;
    const char *text;
};

void PrintTo(const BidiResult &row, std::ostream *stream) {
    *stream << "code " << row.code;
}

class KalSendBidiCodeTest : public KalSendBidiTest, public testing::WithParamInterface<BidiResult> {};

TEST_P(KalSendBidiCodeTest, FailedExchangeZeroesTheBufferAndCloses) {
    response = "partly";
    code = GetParam().code;
    GuardedBuffer buffer(8, 'x');
    EXPECT_EQ(send(1, buffer), GetParam().result);
    EXPECT_EQ(buffer.bytes(), std::string(8, '\0'));
    EXPECT_EQ(size, 8u);
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter", "OrxExchangeBidiPrinter", "OrxClosePrinter"));
    const std::string description = "KalSendBidi() handle=5 function=1";
    EXPECT_THAT(machine.logTexts(), ElementsAre("+" + description, "sending A5 00 03 50 04 00",
                                                "exchangeBidiPrinter() returned " + std::to_string(code) + ", failing",
                                                "-" + description + " rc=" + GetParam().text));
}

TEST_P(KalSendBidiCodeTest, FailedRawExchangeZeroesTheBufferToo) {
    response = "partly";
    code = GetParam().code;
    GuardedBuffer buffer(8, 'x');
    EXPECT_EQ(send(170, buffer, {1}), GetParam().result);
    EXPECT_EQ(buffer.bytes(), std::string(8, '\0'));
}

TEST_P(KalSendBidiCodeTest, FailedExchangeWithoutABufferIsTheSameResult) {
    code = GetParam().code;
    EXPECT_EQ(sendWithoutResponse(1), GetParam().result);
}

constexpr char moreDataText[] = "KAL_MOREDATA, ERROR_INSUFFICIENT_BUFFER, Response=00 00 00 00 00 00 00 00";

INSTANTIATE_TEST_SUITE_P(
    Codes, KalSendBidiCodeTest,
    testing::Values(BidiResult{122, KAL_MOREDATA, moreDataText}, BidiResult{6, DEVERR_INVHANDLE, "DEVERR_INVHANDLE"},
                    BidiResult{1, KAL_PRNBUSY, "KAL_PRNBUSY"}, BidiResult{1460, DEVERR_READFAIL, "DEVERR_READFAIL"},
                    BidiResult{2, KAL_FAIL, "KAL_FAIL"}, BidiResult{170, KAL_FAIL, "KAL_FAIL"},
                    BidiResult{1168, KAL_FAIL, "KAL_FAIL"}, BidiResult{0xFFFFFFFF, KAL_FAIL, "KAL_FAIL"}));

TEST_F(KalSendBidiTest, InsufficientBufferTellsTheLengthThatTheServiceReported) {
    code = 122;
    reportedLength = 300;
    GuardedBuffer buffer(8);
    EXPECT_EQ(send(1, buffer), KAL_MOREDATA);
    EXPECT_EQ(size, 300u);
    EXPECT_EQ(buffer.bytes(), std::string(8, '\0'));
}

TEST_F(KalSendBidiTest, InsufficientBufferWithoutALengthLeavesTheSize) {
    code = 122;
    reportedLength = 0;
    GuardedBuffer buffer(8);
    EXPECT_EQ(send(1, buffer), KAL_MOREDATA);
    EXPECT_EQ(size, 8u);
}

TEST_F(KalSendBidiTest, InsufficientLibrarysOwnBufferTellsNobody) {
    code = 122;
    reportedLength = 300;
    EXPECT_EQ(sendWithoutResponse(1), KAL_MOREDATA);
}

TEST_F(KalSendBidiTest, OtherFailureLeavesTheSizeWhateverTheServiceReported) {
    code = 1460;
    reportedLength = 300;
    GuardedBuffer buffer(8);
    EXPECT_EQ(send(1, buffer), DEVERR_READFAIL);
    EXPECT_EQ(size, 8u);
}

TEST_F(KalSendBidiTest, FailedExchangeWithAnEmptyBufferWritesNothing) {
    code = 5;
    GuardedBuffer buffer(0);
    EXPECT_EQ(send(1, buffer), KAL_FAIL);
}

TEST_F(KalSendBidiTest, FailedOpenIsAnInvalidHandleWithAnEmptyResponse) {
    service.answers("OrxOpenPrinter", 170);
    GuardedBuffer buffer(8, 'x');
    EXPECT_EQ(send(1, buffer), DEVERR_INVHANDLE);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(buffer.bytes(), std::string(8, 'x'));
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter"));
    const std::string description = "KalSendBidi() handle=5 function=1";
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+" + description, "sending A5 00 03 50 04 00", "openPrinter() returned 170, failing",
                            "-" + description + " rc=DEVERR_INVHANDLE"));
}

TEST_F(KalSendBidiTest, FailedOpenWithoutABufferIsAnInvalidHandle) {
    service.answers("OrxOpenPrinter", 6);
    EXPECT_EQ(sendWithoutResponse(1), DEVERR_INVHANDLE);
}

TEST_F(KalSendBidiTest, FailedCloseIsOnlyLogged) {
    service.answers("OrxClosePrinter", 4711);
    response = "HHHHHabc";
    GuardedBuffer buffer(8);
    EXPECT_EQ(send(1, buffer), KAL_OKAY);
    EXPECT_EQ(size, 3u);
    const std::string description = "KalSendBidi() handle=5 function=1";
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+" + description, "sending A5 00 03 50 04 00", StartsWith("closePrinter() returned 4711"),
                            "-" + description + " rc=KAL_OKAY, response=61 62 63"));
}

TEST_F(KalSendBidiTest, FailedCloseAfterAFailedExchangeKeepsItsResult) {
    code = 1;
    service.answers("OrxClosePrinter", 6);
    EXPECT_EQ(sendWithoutResponse(1), KAL_PRNBUSY);
}

TEST_F(KalSendBidiTest, MissingExchangeIsAFailureAndCloses) {
    service.lacks("OrxExchangeBidiPrinter");
    EXPECT_EQ(sendWithoutResponse(1), KAL_FAIL);
    EXPECT_THAT(service.operations(), ElementsAre("OrxOpenPrinter", "OrxClosePrinter"));
}

TEST_F(KalSendBidiTest, CodeWithoutARequestLeavesSizeAndBuffer) {
    GuardedBuffer buffer(8, 'x');
    EXPECT_EQ(send(182, buffer), -15);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(buffer.bytes(), std::string(8, 'x'));
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_EQ(machine.logTexts().front(), "+KalSendBidi() handle=5 function=182");
    EXPECT_THAT(machine.logTexts().back(), StartsWith("-KalSendBidi() handle=5 function=182"));
}

// Behind the last stored request the bound test admits one code more, whose entry must never be sent.
TEST_F(KalSendBidiTest, CodeThatTheBoundAdmitsBehindTheRequestsIsInvalid) {
    for (const uint16_t function : {uint16_t{181}, uint16_t{182}, uint16_t{183}}) {
        EXPECT_EQ(sendWithoutResponse(function), -15) << function;
        EXPECT_EQ(sendWithoutResponse(function, numberedBytes(506)), -15) << function;
    }
    EXPECT_THAT(service.sequence(), IsEmpty());
}

// ------------------------------------------------------------------------------------------------------- trace

TEST_F(KalSendBidiTest, SuccessIsTracedWithRequestAndResponse) {
    response = std::string("HHHHH\x00\x0A\xFF", 8);
    GuardedBuffer buffer(8);
    send(20, buffer, {0xAB});
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalSendBidi() handle=5 function=20", "sending A5 00 04 50 01 04 AB",
                                                "-KalSendBidi() handle=5 function=20 rc=KAL_OKAY, response=00 0A FF"));
}

TEST_F(KalSendBidiTest, DirtAboveTheArgumentsIsCutOff) {
    const auto call =
        library<int32_t(uint64_t, uint64_t, uint64_t, uint64_t, void *, void *, const void *, uint64_t)>("KalSendBidi");
    const uint8_t data[] = {1, 2};
    EXPECT_EQ(call(dirty16(0), dirty16(0x8001), dirty16(0), dirty16(1), nullptr, nullptr, data, dirty16(2)), KAL_OKAY);
    EXPECT_EQ(service.lastCall("OrxOpenPrinter").number(1), 0x8001u);
    EXPECT_EQ(request.size(), 8u);
    EXPECT_EQ(call(dirty16(0), dirty16(0x8001), dirty16(0), dirty16(182), nullptr, nullptr, data, dirty16(2)), -15);
}

} // namespace
} // namespace kal::test
