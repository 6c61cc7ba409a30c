#include "logging/FunctionTrace.h"

#include "platform/Exception.h"
#include "tests/unit/logging/ScriptedLogger.h"
#include "tests/unit/platform/VirtualTable.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <thread>

using namespace kal;
using namespace kal::test;

namespace {

class Trace : public testing::Test {
  protected:
    Trace() {
        log.logger.settings["startLog"] = 1;
        log.logger.publishAsInstance();
    }

    FunctionTrace trace(const char *text, uint32_t level = 2, bool check = true) {
        return FunctionTrace(log.logger, loggerComponent(ComponentId::Bidi), text, level, check);
    }

    LogToFile log;
};

} // namespace

TEST_F(Trace, WritesEntryAndExitAtTheSameDepth) {
    { const auto call = trace("Call() x=1"); }
    EXPECT_EQ(log.content(), bidiLine("+Call() x=1") + bidiLine("-Call() x=1"));
}

TEST_F(Trace, WritesItsResultAtTheExit) {
    {
        auto call = trace("Call()");
        call.setResult("KAL_OKAY");
    }
    EXPECT_EQ(log.content(), bidiLine("+Call()") + bidiLine("-Call() rc=KAL_OKAY"));
}

TEST_F(Trace, LastResultIsTheOneWritten) {
    {
        auto call = trace("Call()");
        call.setResult("first");
        call.setResult("second");
    }
    EXPECT_TRUE(log.content().ends_with("-Call() rc=second\r\n"));
}

TEST_F(Trace, EmptyResultIsNone) {
    {
        auto call = trace("Call()");
        call.setResult("");
    }
    EXPECT_TRUE(log.content().ends_with("-Call()\r\n"));
}

TEST_F(Trace, LinesInBetweenAreIndentedByOneBlankATrace) {
    {
        const auto outer = trace("Outer()");
        log.write("one");
        {
            const auto inner = trace("Inner()");
            log.write("two");
        }
        log.write("three");
    }
    EXPECT_EQ(log.content(), bidiLine("+Outer()") + bidiLine(" one") + bidiLine(" +Inner()") + bidiLine("  two") +
                                 bidiLine(" -Inner()") + bidiLine(" three") + bidiLine("-Outer()"));
}

TEST_F(Trace, OtherThreadsAreNotIndented) {
    const auto call = trace("Call()");
    std::thread([&] { log.write("other"); }).join();
    EXPECT_EQ(log.content(), bidiLine("+Call()") + bidiLine("other"));
}

TEST_F(Trace, WithoutCheckIsInactive) {
    {
        const auto call = trace("Call()", 2, false);
        EXPECT_FALSE(call.isActive());
        log.write("text");
    }
    EXPECT_EQ(log.content(), bidiLine("text"));
}

TEST_F(Trace, OfADisabledLevelIsInactive) {
    log.logger.settings["startLog"] = 0;
    {
        const auto call = trace("Call()");
        EXPECT_FALSE(call.isActive());
    }
    EXPECT_EQ(log.content(), "");
}

TEST_F(Trace, WritesItsExitThoughTheLogWasSwitchedOffMeanwhile) {
    TickCount ticks(1000);
    {
        const auto call = trace("Call()");
        log.logger.settings["startLog"] = 0;
        ticks.now = 20000;
    }
    EXPECT_EQ(log.content(), bidiLine("+Call()") + bidiLine("-Call()"));
}

TEST_F(Trace, WritesNoExitThoughTheLogWasSwitchedOnMeanwhile) {
    TickCount ticks(1000);
    log.logger.settings["startLog"] = 0;
    {
        const auto call = trace("Call()");
        log.logger.settings["startLog"] = 1;
        ticks.now = 20000;
    }
    EXPECT_EQ(log.content(), "");
}

TEST_F(Trace, WritesThroughTheTextSlot) {
    class Captured : public ScriptedLogger {
      public:
        using BasicLogger::write;
        using ScriptedLogger::ScriptedLogger;
        void write(const LoggerComponent &, uint32_t level, const char *text) override {
            captured += std::to_string(level) + text + ";";
        }
        std::string captured;
    };
    Captured logger(log.file);
    logger.settings["startLog"] = 1;
    logger.publishAsInstance();
    { const FunctionTrace call(logger, loggerComponent(ComponentId::Bidi), "Call()", 8, true); }
    EXPECT_EQ(logger.captured, "8+Call();8-Call();");
}

TEST_F(Trace, ExceptionOfItsExitIsSwallowed) {
    class Throwing : public ScriptedLogger {
      public:
        using BasicLogger::write;
        using ScriptedLogger::ScriptedLogger;
        void write(const LoggerComponent &, uint32_t, const char *text) override {
            if (text[0] == '-')
                throw Win32Exception("exit", 5, "", 0);
        }
    };
    Throwing logger(log.file);
    logger.settings["startLog"] = 1;
    logger.publishAsInstance();
    EXPECT_NO_THROW(FunctionTrace(logger, loggerComponent(ComponentId::Bidi), "Call()", 2, true));
}

TEST_F(Trace, WritesNothingAfterItsLoggerIsGone) {
    TemporaryFolder folder;
    const std::string file = (folder / uniqueLogName()).string();
    auto logger = std::make_unique<ScriptedLogger>(file);
    logger->settings["startLog"] = 1;
    logger->publishAsInstance();
    {
        const FunctionTrace call(*logger, loggerComponent(ComponentId::Bidi), "Call()", 2, true);
        logger.reset();
    }
    EXPECT_EQ(readFile(file), bidiLine("+Call()"));
}

TEST_F(Trace, WritesNothingThroughALaterLoggerAtTheSameAddress) {
    TemporaryFolder folder;
    const std::string file = (folder / uniqueLogName()).string();
    alignas(ScriptedLogger) std::byte place[sizeof(ScriptedLogger)];
    const auto makeLogger = [&] {
        auto *const logger = new (place) ScriptedLogger(file);
        logger->settings["startLog"] = 1;
        logger->publishAsInstance();
        return logger;
    };
    ScriptedLogger *logger = makeLogger();
    std::optional<FunctionTrace> call(std::in_place, *logger, loggerComponent(ComponentId::Bidi), "Call()", 2, true);
    std::destroy_at(logger);
    logger = makeLogger();
    call.reset();
    {
        const FunctionTrace later(*logger, loggerComponent(ComponentId::Bidi), "Later()", 2, true);
        logger->write(loggerComponent(ComponentId::Bidi), 2, "text");
    }
    EXPECT_EQ(readFile(file), bidiLine("+Call()") + bidiLine("+Later()") + bidiLine(" text") + bidiLine("-Later()"));
    std::destroy_at(logger);
}

TEST_F(Trace, MembersAreTextComponentResultLoggerLevelFlag) {
    auto call = trace("Call()", 6);
    call.setResult("R");
    EXPECT_EQ(memberAt<const char *>(call, 0)[0], 'C');
    EXPECT_EQ(memberAt<const LoggerComponent *>(call, 32), &loggerComponent(ComponentId::Bidi));
    EXPECT_EQ(memberAt<const char *>(call, 40)[0], 'R');
    EXPECT_EQ(memberAt<BasicLogger *>(call, 72), &log.logger);
    EXPECT_EQ(memberAt<uint32_t>(call, 80), 6u);
    EXPECT_TRUE(memberAt<bool>(call, 84));
}
