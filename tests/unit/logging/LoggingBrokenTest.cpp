// A logger whose set-up failed silences the whole process for good; hence a program of its own, whose first act it is.
#include "tests/unit/logging/ScriptedLogger.h"
#include "tests/unit/platform/FailingCall.h"

#include <gtest/gtest.h>

using namespace kal;
using namespace kal::test;

namespace {

/// Before and after one logger's lock could not be made.
struct Course {
    Course() {
        enabledBefore = healthy.logger.isEnabled(legacyClient, 1);
        FailingCall<"CreateMutexA", HANDLE(LPSECURITY_ATTRIBUTES, BOOL, LPCSTR)> create(nullptr, ERROR_ACCESS_DENIED);
        broken = std::make_unique<LogToFile>();
    }
    LogToFile healthy;
    std::unique_ptr<LogToFile> broken;
    bool enabledBefore = false;
};

Course &course() {
    static Course once;
    return once;
}

} // namespace

TEST(LoggingBroken, LoggerIsThereThoughItsLockIsNot) {
    EXPECT_NE(course().broken, nullptr);
    EXPECT_TRUE(course().enabledBefore);
}

TEST(LoggingBroken, SilencesErrorsToo) {
    EXPECT_FALSE(course().broken->logger.isEnabled(legacyClient, 1));
}

TEST(LoggingBroken, SilencesEveryLoggerOfTheProcess) {
    EXPECT_FALSE(course().healthy.logger.isEnabled(legacyClient, 1));
}

TEST(LoggingBroken, SilencesLoggersMadeLater) {
    static_cast<void>(course());
    LogToFile later;
    later.logger.settings["startLog"] = 1;
    EXPECT_FALSE(later.logger.isEnabled(legacyClient, 2));
}

TEST(LoggingBroken, WritingWithoutALockIsQuiet) {
    LogToFile &broken = *course().broken;
    SetLastError(1234);
    EXPECT_NO_THROW(broken.write("text"));
    EXPECT_EQ(GetLastError(), 1234u);
    EXPECT_EQ(course().broken->content(), "");
}

TEST(LoggingBroken, DeletingTheFileWithoutALockIsQuiet) {
    EXPECT_NO_THROW(course().broken->logger.deleteLogFile());
}
