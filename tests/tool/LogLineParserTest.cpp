#include "tools/log/LogLineParser.h"
#include "logging/LogLine.h"

#include <gtest/gtest.h>

using namespace tool;

TEST(ParseLogLine, AllHeaderFieldsAreRead) {
    const auto line =
        parseLogLine("2012/03/05-14:07:09.042 pid=0a3c tid=0b04 LegacyClient      +KalOpen() handle =5\r\n");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->clock, (LogClock{2012, 3, 5, 14, 7, 9, 42}));
    EXPECT_EQ(line->processId, 0xA3Cu);
    EXPECT_EQ(line->threadId, 0xB04u);
    EXPECT_EQ(line->component, "LegacyClient");
    EXPECT_EQ(line->depth, 2u);
    EXPECT_EQ(line->text, "+KalOpen() handle =5");
}

TEST(ParseLogLine, LineWithoutHeaderFieldsIsRead) {
    const auto line = parseLogLine("Bidi            text");
    ASSERT_TRUE(line);
    EXPECT_FALSE(line->clock || line->processId || line->threadId);
    EXPECT_EQ(line->component, "Bidi");
    EXPECT_EQ(line->depth, 0u);
    EXPECT_EQ(line->text, "text");
}

TEST(ParseLogLine, ProcessIdMayHaveEightDigits) {
    EXPECT_EQ(parseLogLine("pid=00012abc Bidi            x")->processId, 0x12ABCu);
    EXPECT_EQ(parseLogLine("pid=ffffffff Bidi            x")->processId, 0xFFFFFFFFu);
}

TEST(ParseLogLine, NameThatFillsOrExceedsItsColumnIsFollowedByOneBlank) {
    EXPECT_EQ(parseLogLine("ComponentInstal x")->text, "x");
    const auto longer = parseLogLine("ComponentInstall  x");
    ASSERT_TRUE(longer);
    EXPECT_EQ(longer->component, "ComponentInstall");
    EXPECT_EQ(longer->depth, 1u);
}

TEST(ParseLogLine, WhatTheLibraryComposesIsReadBack) {
    for (const int depth : {0, 1, 7}) {
        kal::MessageText text;
        kal::composeHeader(text,
                           {kal::LogTime{2026, 12, 31, 23, 59, 58, 7}, 0x12u, 0x12345678u, "Usb1Discovery", 15, depth});
        text << "message";
        const auto line = parseLogLine(text.view());
        ASSERT_TRUE(line);
        EXPECT_EQ(line->clock, (LogClock{2026, 12, 31, 23, 59, 58, 7}));
        EXPECT_EQ(line->processId, 0x12u);
        EXPECT_EQ(line->threadId, 0x12345678u);
        EXPECT_EQ(line->component, "Usb1Discovery");
        EXPECT_EQ(line->depth, static_cast<size_t>(depth));
        EXPECT_EQ(line->text, "message");
    }
}

TEST(ParseLogLine, EmptyTextIsALine) {
    const auto line = parseLogLine("Bidi            ");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->text, "");
}

TEST(ParseLogLine, RestOfAMessageIsNoLine) {
    for (const char *text : {"", "\r\n", "rest", "two words", " Bidi           x", "Bidi           x", "Bidi x",
                             "Bidi     x      y", "B.di            x"}) {
        EXPECT_FALSE(parseLogLine(text)) << "'" << text << "'";
    }
}

TEST(ParseLogLine, ClockThatNoCalendarHasIsNone) {
    EXPECT_FALSE(parseLogLine("2012/13/05-14:07:09.042 Bidi            x"));
    EXPECT_FALSE(parseLogLine("2012/03/05-24:07:09.042 Bidi            x"));
    EXPECT_FALSE(parseLogLine("2012/03/05-14:60:09.042 Bidi            x"));
}

TEST(ParseLogLine, IdThatIsTooShortOrTooLongIsNone) {
    EXPECT_FALSE(parseLogLine("pid=a3c Bidi            x"));
    EXPECT_FALSE(parseLogLine("pid=123456789 Bidi            x"));
}

TEST(ParseLogLine, IdThatGoesOnInOtherCharactersIsNone) {
    EXPECT_FALSE(parseLogLine("pid=0a3cxBidi            x"));
    EXPECT_FALSE(parseLogLine("pid=0a3c"));
}

TEST(LogClock, MillisecondsCountFromTheEpoch) {
    EXPECT_EQ((LogClock{1970, 1, 1, 0, 0, 0, 0}).milliseconds(), 0);
    EXPECT_EQ((LogClock{1970, 1, 2, 0, 0, 0, 1}).milliseconds(), 86400001);
    EXPECT_EQ((LogClock{2000, 2, 29, 12, 0, 0, 0}).milliseconds(), 951825600000);
    EXPECT_EQ((LogClock{2000, 3, 1, 0, 0, 0, 0}).milliseconds(), 951868800000);
    EXPECT_EQ((LogClock{2026, 11, 20, 20, 14, 48, 95}).milliseconds(), 1795205688095);
}

TEST(LogClock, TextsAreThoseOfTheLog) {
    const LogClock clock{2012, 3, 5, 4, 7, 9, 2};
    EXPECT_EQ(clock.date(), "2012/03/05");
    EXPECT_EQ(clock.time(), "04:07:09.002");
}

TEST(CallEvent, SignTellsEntryAndExit) {
    EXPECT_EQ(callEvent("+KalOpen()"), CallEvent::entry);
    EXPECT_EQ(callEvent("-KalOpen()"), CallEvent::exit);
    EXPECT_EQ(callEvent("KalOpen() exception=5"), CallEvent::message);
    EXPECT_EQ(callEvent(""), CallEvent::message);
}

TEST(MatchExit, ResultIsWhatFollowsTheDescription) {
    const auto exit = matchExit("-KalWrite() handle=5 rc=0, bytesWritten=4096", "KalWrite() handle=5");
    ASSERT_TRUE(exit && exit->result);
    EXPECT_EQ(*exit->result, "0, bytesWritten=4096");
}

TEST(MatchExit, ExitWithoutResultMatches) {
    const auto exit = matchExit("-KalOpenRunnable()", "KalOpenRunnable()");
    ASSERT_TRUE(exit);
    EXPECT_FALSE(exit->result);
}

TEST(MatchExit, ResultLabelInsideAnArgumentIsNotTheResult) {
    const auto exit = matchExit("-KalX() value= rc=9 rc=KAL_OKAY", "KalX() value= rc=9");
    ASSERT_TRUE(exit && exit->result);
    EXPECT_EQ(*exit->result, "KAL_OKAY");
}

TEST(MatchExit, OtherCallsExitDoesNotMatch) {
    EXPECT_FALSE(matchExit("-KalClose() handle=51 rc=KAL_OKAY", "KalClose() handle=5"));
    EXPECT_FALSE(matchExit("-KalOpen()", "KalClose()"));
    EXPECT_FALSE(matchExit("+KalOpen()", "KalOpen()"));
}

TEST(SplitExit, LastResultLabelCounts) {
    const auto exit = splitExit("-KalX() value= rc=9 rc=KAL_OKAY");
    EXPECT_EQ(exit.description, "KalX() value= rc=9");
    EXPECT_EQ(exit.result, "KAL_OKAY");
}

TEST(CallName, StandsBeforeTheParentheses) {
    EXPECT_EQ(callName("KalWrite() handle=5"), "KalWrite");
    EXPECT_EQ(callName("KalEnumPrinters"), "KalEnumPrinters");
    EXPECT_EQ(callName("()"), "()");
}

namespace {

std::string argumentText(std::string_view description) {
    std::string text;
    for (const CallArgument &argument : callArguments(description)) {
        text += "[" + std::string(argument.name) + "|" + std::string(argument.value) + "]";
    }
    return text;
}

} // namespace

TEST(CallArguments, LabelsAndValuesAreTakenApart) {
    EXPECT_EQ(argumentText("KalWrite() handle=5 byteCount=4096 totalByteCount=8192"),
              "[handle|5][byteCount|4096][totalByteCount|8192]");
    EXPECT_EQ(argumentText("KalOpen() handle =5"), "[handle|5]");
    EXPECT_EQ(argumentText("KalStartDoc()  handle=5"), "[handle|5]");
    EXPECT_EQ(argumentText("KalCaptureAlerts() handle=5, hwnd=0x0000000000010020"),
              "[handle|5][hwnd|0x0000000000010020]");
}

TEST(CallArguments, ValueMayHoldBlanksAndEqualsSigns) {
    EXPECT_EQ(argumentText("KalSetJobStringPrinter() handle=5 key=a=b value=two words"),
              "[handle|5][key|a=b][value|two words]");
}

TEST(CallArguments, CommaBelongsToAValueOnlyAtItsBeginning) {
    EXPECT_EQ(argumentText("KalX() key=,a, value=b,"), "[key|,a][value|b]");
}

TEST(CallArguments, EqualsSignsWithoutALabelAreValue) {
    EXPECT_EQ(argumentText("KalX() key==a = =b"), "[key|=a = =b]");
}

TEST(CallArguments, EmptyValueStaysEmpty) {
    EXPECT_EQ(argumentText("KalX() key= value="), "[key|][value|]");
}

TEST(CallArguments, CallWithoutLabelsHasNone) {
    EXPECT_EQ(argumentText("KalOpenRunnable()"), "");
    EXPECT_EQ(argumentText("KalEnumPrinters"), "");
    EXPECT_EQ(argumentText("KalX() ="), "");
}

TEST(IsFailureResult, NamesOfFailuresAreFailures) {
    for (const char *result : {"KAL_FAIL", "KAL_FAIL (unsupported)", "DEVERR_INVHANDLE", "DEVERR_CONNECT",
                               "KAL_MOREDATA, ERROR_INSUFFICIENT_BUFFER", "KAL_PRNBUSY", "1", "-8", "-15",
                               "-10, bytesWritten=0", "1, bytesWritten=0"}) {
        EXPECT_TRUE(isFailureResult(result)) << result;
    }
}

TEST(IsFailureResult, SuccessesPortTypesAndBooleansAreNone) {
    for (const char *result :
         {"KAL_OKAY", "KAL_OKAY, response=A5", "0", "0, bytesWritten=4096", "512", "1024", "TRUE", "", "-", "10"}) {
        EXPECT_FALSE(isFailureResult(result)) << result;
    }
}

namespace {

bool textIsFailure(std::string_view text) {
    LogLine line;
    line.text = text;
    return isFailure(line);
}

} // namespace

TEST(IsFailure, ExitIsJudgedByItsResult) {
    EXPECT_TRUE(textIsFailure("-KalClose() handle=5 rc=DEVERR_INVHANDLE"));
    EXPECT_FALSE(textIsFailure("-KalClose() handle=5 rc=KAL_OKAY"));
    EXPECT_FALSE(textIsFailure("-KalOpenRunnable()"));
}

TEST(IsFailure, EntryIsNone) {
    EXPECT_FALSE(textIsFailure("+KalX() value=failed"));
}

TEST(IsFailure, MessagesThatSaySoAre) {
    EXPECT_TRUE(textIsFailure("orxClient=NULL."));
    EXPECT_TRUE(textIsFailure("KalOpen() exception=1455"));
    EXPECT_TRUE(textIsFailure("openPrinter() failed, rc=6"));
    EXPECT_TRUE(textIsFailure("KalSetJobStringPrinter() Key or Value = NULL"));
    EXPECT_FALSE(textIsFailure("Just before callback"));
}
