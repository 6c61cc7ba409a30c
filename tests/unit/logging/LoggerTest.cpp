#include "logging/Logger.h"

#include "logging/FunctionTrace.h"
#include "logging/LogMessage.h"
#include "settings/Localize.h"
#include "tests/support/EveryCore.h"
#include "tests/support/ImportHook.h"
#include "tests/support/PrivateMachine.h"
#include "tests/unit/logging/ScriptedLogger.h"
#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"
#include "tests/unit/settings/ModuleName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <thread>

using namespace kal;
using namespace kal::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string brandCode = "kalu";

using OpenSignature = LSTATUS(HKEY, LPCSTR, DWORD, REGSAM, PHKEY);
using ExpandSignature = DWORD(LPCSTR, LPSTR, DWORD);

/// A machine whose library is called "kalunit.dll", with its settings key and no logger yet.
class ProcessLogger : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        ModuleName name("C:\\Product\\KALUNIT.DLL");
        Localize::createInstance(GetModuleHandleA(nullptr));
    }
    ProcessLogger() { machine.setLogger("Clocktime_In_Header", 0, brandCode); }
    ~ProcessLogger() override { Logger::destroyInstance(); }

    void switchOn() { machine.setLogger("startLog", 1, brandCode); }
    void setText(const char *name, const char *text) {
        RegSetKeyValueA(HKEY_LOCAL_MACHINE, (PrivateMachine::localRoot(brandCode) + "Logger").c_str(), name, REG_SZ,
                        text, static_cast<DWORD>(strlen(text) + 1));
    }
    void log(uint32_t level, const char *text) { logMessage(legacyClient, level, text); }
    std::vector<std::string> texts() const { return machine.logTexts(brandCode); }

    PrivateMachine machine;
};

/// A piece of a message that cannot be written.
template <class Thrown>
struct Raising {
    Thrown thrown;
};

template <class Thrown>
MessageText &operator<<(MessageText &, const Raising<Thrown> &piece) {
    throw piece.thrown;
}

} // namespace

TEST_F(ProcessLogger, IsNotThereBeforeItsCreation) {
    EXPECT_EQ(thrownBy([] { static_cast<void>(BasicLogger::getInstance()); }),
              (Thrown{"BasicLogger::getInstance()", 1, "", 0}));
    EXPECT_FALSE(logEnabled(legacyClient, 1));
}

TEST_F(ProcessLogger, IsGoneAfterItsDestruction) {
    Logger::createInstance();
    Logger::destroyInstance();
    EXPECT_THROW(static_cast<void>(BasicLogger::getInstance()), Win32Exception);
    EXPECT_FALSE(logEnabled(legacyClient, 1));
}

TEST_F(ProcessLogger, SecondCreationKeepsTheFirst) {
    Logger::createInstance();
    const BasicLogger *first = &BasicLogger::getInstance();
    Logger::createInstance();
    EXPECT_EQ(&BasicLogger::getInstance(), first);
}

TEST_F(ProcessLogger, SecondCreationMakesNoLock) {
    Logger::createInstance();
    int made = 0;
    const ImportHook<"CreateMutexA", HANDLE(SECURITY_ATTRIBUTES *, BOOL, const char *)> lock(
        GetModuleHandleA(nullptr), [&](SECURITY_ATTRIBUTES *attributes, BOOL isOwned, const char *name) {
            ++made;
            return lock.original(attributes, isOwned, name);
        });
    Logger::createInstance();
    EXPECT_EQ(made, 0);
}

TEST_F(ProcessLogger, SecondDestructionDoesNothing) {
    Logger::createInstance();
    Logger::destroyInstance();
    EXPECT_NO_THROW(Logger::destroyInstance());
}

TEST_F(ProcessLogger, MayBeCreatedAgain) {
    Logger::createInstance();
    Logger::destroyInstance();
    Logger::createInstance();
    log(1, "again");
    EXPECT_THAT(texts(), ElementsAre("again"));
}

TEST_F(ProcessLogger, KeptLoggerIsNotThatOfTheProcess) {
    Logger::createInstance();
    Logger::keepInstance();
    EXPECT_THROW(static_cast<void>(BasicLogger::getInstance()), Win32Exception);
    EXPECT_FALSE(logEnabled(legacyClient, 1));
    EXPECT_EQ(BasicLogger::instanceNumber(), 0u);
    Logger::createInstance();
}

TEST_F(ProcessLogger, KeptLoggerMayStillBeWrittenTo) {
    Logger::createInstance();
    BasicLogger &logger = BasicLogger::getInstance();
    Logger::keepInstance();
    logger.write(legacyClient, 1, "late");
    EXPECT_THAT(texts(), ElementsAre("late"));
    Logger::createInstance();
}

TEST_F(ProcessLogger, NextCreationTakesTheKeptLogger) {
    Logger::createInstance();
    BasicLogger &logger = BasicLogger::getInstance();
    Logger::keepInstance();
    Logger::createInstance();
    EXPECT_EQ(&BasicLogger::getInstance(), &logger);
    Logger::destroyInstance();
    EXPECT_THROW(static_cast<void>(BasicLogger::getInstance()), Win32Exception);
}

TEST_F(ProcessLogger, TraceOfAKeptLoggerWritesNoExitWhenItIsTakenAgain) {
    switchOn();
    Logger::createInstance();
    std::optional<FunctionTrace> call(std::in_place, BasicLogger::getInstance(), legacyClient, "Call()", 2, true);
    Logger::keepInstance();
    Logger::createInstance();
    call.reset();
    { const FunctionTrace later(BasicLogger::getInstance(), legacyClient, "Later()", 2, true); }
    EXPECT_THAT(machine.logLines(brandCode),
                ElementsAre("LegacyClient    +Call()", "LegacyClient    +Later()", "LegacyClient    -Later()"));
}

TEST_F(ProcessLogger, KeepingNoLoggerDoesNothing) {
    Logger::keepInstance();
    EXPECT_FALSE(logEnabled(legacyClient, 1));
}

TEST_F(ProcessLogger, WritesToTheLocalIdsFileInTheAllUsersFolder) {
    Logger::createInstance();
    EXPECT_EQ(BasicLogger::getInstance().path(), machine.logFile(brandCode).string());
}

TEST_F(ProcessLogger, LocksUnderTheFilesName) {
    Logger::createInstance();
    const HANDLE mutex = OpenMutexA(SYNCHRONIZE, FALSE, "QZLOG_kalu.log");
    EXPECT_NE(mutex, nullptr);
    CloseHandle(mutex);
}

TEST_F(ProcessLogger, HasAComponentColumnOfFifteen) {
    Logger::createInstance();
    log(1, "text");
    EXPECT_THAT(machine.logLines(brandCode), ElementsAre("LegacyClient    text"));
}

TEST_F(ProcessLogger, ColumnIsTwentyFiveBeforeItIsThePublishedOne) {
    Logger logger;
    logger.write(legacyClient, 2, "text");
    EXPECT_THAT(machine.logLines(brandCode), ElementsAre("LegacyClient              text"));
}

TEST_F(ProcessLogger, WritesErrorsThoughStartLogIsOff) {
    Logger::createInstance();
    log(1, "error");
    log(2, "trace");
    EXPECT_THAT(texts(), ElementsAre("error"));
}

TEST_F(ProcessLogger, WithoutLoggerSubkeyHasItsDefaults) {
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, (PrivateMachine::localRoot(brandCode) + "Logger").c_str());
    Logger::createInstance();
    log(1, "error");
    log(2, "trace");
    ASSERT_EQ(machine.logLines(brandCode).size(), 1u);
    const std::string line = machine.logLines(brandCode).front();
    EXPECT_EQ(line.substr(23), " LegacyClient    error") << line;
    EXPECT_EQ(line.substr(4, 1) + line.substr(7, 1) + line.substr(10, 1), "//-") << line;
}

TEST_F(ProcessLogger, WithStartLogAloneWritesEveryComponent) {
    switchOn();
    Logger::createInstance();
    logMessage(comClient, 2, "trace");
    EXPECT_THAT(texts(), ElementsAre("trace"));
}

TEST_F(ProcessLogger, WithAllStoredAsZeroFollowsTheComponents) {
    switchOn();
    machine.setLogger("All", 0, brandCode);
    Logger::createInstance();
    logMessage(comClient, 2, "off");
    logMessage(legacyClient, 2, "on");
    EXPECT_THAT(texts(), ElementsAre("on"));
}

TEST_F(ProcessLogger, HeaderSettingsComeFromTheRegistry) {
    machine.setLogger("Proc_Id_In_Header", 1, brandCode);
    machine.setLogger("Thread_Id_In_Header", 1, brandCode);
    Logger::createInstance();
    log(1, "text");
    char expected[64];
    std::snprintf(expected, sizeof expected, "pid=%04lx tid=%04lx LegacyClient    text", GetCurrentProcessId(),
                  GetCurrentThreadId());
    EXPECT_THAT(machine.logLines(brandCode), ElementsAre(expected));
}

TEST_F(ProcessLogger, RemovedKeySilencesErrorsToo) {
    switchOn();
    Logger::createInstance();
    machine.removeKey(brandCode);
    log(1, "error");
    EXPECT_FALSE(logEnabled(legacyClient, 1));
    EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(ProcessLogger, KeyMadeAnewIsSeenAtOnce) {
    machine.removeKey(brandCode);
    Logger::createInstance();
    EXPECT_FALSE(logEnabled(legacyClient, 1));
    machine.setLogger("Clocktime_In_Header", 0, brandCode);
    EXPECT_TRUE(logEnabled(legacyClient, 1));
}

TEST_F(ProcessLogger, RefusedKeySilencesErrorsToo) {
    switchOn();
    Logger::createInstance();
    FailingCall<"RegOpenKeyExA", OpenSignature> open(ERROR_ACCESS_DENIED, 0);
    EXPECT_FALSE(logEnabled(legacyClient, 1));
}

TEST_F(ProcessLogger, KeyIsAskedForWithTheRightsOf31) {
    Logger::createInstance();
    REGSAM mask = 0;
    ImportHook<"RegOpenKeyExA", OpenSignature> open(
        GetModuleHandleA(nullptr), [&](HKEY root, LPCSTR path, DWORD options, REGSAM given, PHKEY key) {
            mask = given;
            return open.original(root, path, options, given, key);
        });
    EXPECT_TRUE(logEnabled(legacyClient, 1));
    EXPECT_EQ(mask, REGSAM{31 | 256});
}

TEST_F(ProcessLogger, LogTestClosesWhatItOpened) {
    Logger::createInstance();
    CountedCall<"RegOpenKeyExA", OpenSignature> opened;
    CountedCall<"RegCloseKey", LSTATUS(HKEY)> closed;
    static_cast<void>(logEnabled(legacyClient, 2));
    EXPECT_EQ(opened.calls(), closed.calls());
}

TEST_F(ProcessLogger, StartLogStoredLaterIsSeenWhenTheCachedValueIsFiveSecondsOld) {
    TickCount ticks(1000);
    Logger::createInstance();
    log(2, "before");
    switchOn();
    ticks.now = 5999;
    log(2, "cached");
    ticks.now = 6000;
    log(2, "seen");
    EXPECT_THAT(texts(), ElementsAre("seen"));
}

TEST_F(ProcessLogger, StartLogOfAnotherTypeIsOffButErrorsAreWritten) {
    setText("startLog", "1");
    Logger::createInstance();
    log(2, "trace");
    log(1, "error");
    EXPECT_THAT(texts(), ElementsAre("error"));
}

TEST_F(ProcessLogger, ComponentSettingOfAnotherTypeIsOff) {
    switchOn();
    setText("LegacyClient", "all of them");
    Logger::createInstance();
    EXPECT_FALSE(BasicLogger::getInstance().isEnabled(legacyClient, 2));
}

TEST_F(ProcessLogger, HeaderSettingOfAnotherTypeCostsTheLine) {
    setText("Proc_Id_In_Header", "1");
    Logger::createInstance();
    log(1, "error");
    EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(ProcessLogger, SettingOfAnotherTypeThrowsWhereItIsRead) {
    setText("startLog", "1");
    Logger logger;
    uint32_t value = 0;
    EXPECT_EQ(thrownBy([&] { logger.readSetting("startLog", value, 0); }).message,
              "RegistryKey64::getValue(ulong) : incorrect value type");
}

TEST_F(ProcessLogger, UncachedReadGivesTheDefaultOfAnAbsentValue) {
    Logger logger;
    uint32_t value = 0;
    logger.readSetting("Utility", value, 55);
    EXPECT_EQ(value, 55u);
}

TEST_F(ProcessLogger, OverridesDestructorAndSettingReadOnly) {
    Logger derived;
    BasicLogger base("C:\\folder\\" + uniqueLogName(), 15);
    const auto slot = [](const BasicLogger &object, size_t operation) {
        return reinterpret_cast<void *>(operationSlot<void()>(object, operation));
    };
    for (size_t operation : {1u, 2u, 3u, 5u, 6u, 7u})
        EXPECT_EQ(slot(base, operation), slot(derived, operation)) << operation;
    EXPECT_NE(slot(base, 4), slot(derived, 4));
}

TEST_F(ProcessLogger, WithoutAllUsersFolderLosesItsLinesQuietly) {
    SetEnvironmentVariableA("ALLUSERSPROFILE", nullptr);
    Logger::createInstance();
    EXPECT_EQ(BasicLogger::getInstance().path(), "%ALLUSERSPROFILE%\\kalu.log");
    EXPECT_NO_THROW(log(1, "error"));
    EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(ProcessLogger, AllUsersFolderOfUnknownSizePutsTheLogIntoTheRootOfTheWindowsDrive) {
    FailingCall<"ExpandEnvironmentStringsA", ExpandSignature> expand(0, ERROR_OUTOFMEMORY);
    EXPECT_EQ(Logger().path().substr(1), ":\\kalu.log");
}

TEST_F(ProcessLogger, AllUsersFolderThatCannotBeExpandedPutsTheLogIntoTheRootOfTheWindowsDrive) {
    FailingCall<"ExpandEnvironmentStringsA", ExpandSignature> expand(0, ERROR_OUTOFMEMORY, 2);
    EXPECT_EQ(Logger().path().substr(1), ":\\kalu.log");
}

TEST_F(ProcessLogger, LeftoversOfAFailedExpansionAreNotPartOfThePath) {
    ImportHook<"ExpandEnvironmentStringsA", ExpandSignature> expand(
        GetModuleHandleA(nullptr), [&](const char *unexpanded, char *expanded, DWORD size) {
            const DWORD needed = expand.original(unexpanded, expanded, size);
            return expanded == nullptr ? needed : DWORD{0};
        });
    EXPECT_EQ(Logger().path().substr(1), ":\\kalu.log");
}

TEST_F(ProcessLogger, LongAllUsersFolderIsTakenWhole) {
    const std::string folder = "C:\\" + std::string(600, 'f');
    SetEnvironmentVariableA("ALLUSERSPROFILE", folder.c_str());
    EXPECT_EQ(Logger().path(), folder + "\\kalu.log");
}

TEST_F(ProcessLogger, TraceWritesItsExitThoughTheKeyVanishedInBetween) {
    TickCount ticks(1000);
    switchOn();
    Logger::createInstance();
    {
        const FunctionTrace call(BasicLogger::getInstance(), legacyClient, "Call()", 2, true);
        machine.removeKey(brandCode);
        ticks.now = 1001;
        log(2, "silenced");
    }
    EXPECT_THAT(texts(), ElementsAre("+Call()", "-Call()"));
}

TEST_F(ProcessLogger, MessageKeepsTheThreadsLastError) {
    switchOn();
    Logger::createInstance();
    SetLastError(1234);
    log(2, "text");
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST_F(ProcessLogger, MessageBeforeItsCreationIsNothing) {
    EXPECT_NO_THROW(log(1, "error"));
    EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(ProcessLogger, MessageWhosePieceRaisesIsLostQuietly) {
    Logger::createInstance();
    EXPECT_NO_THROW(logMessage(legacyClient, 1, Raising<Win32Exception>{Win32Exception("piece", 5, "", 0)}));
    EXPECT_NO_THROW(logMessage(legacyClient, 1, Raising<std::bad_alloc>{}));
    log(1, "next");
    EXPECT_THAT(texts(), ElementsAre("next"));
}

TEST_F(ProcessLogger, CreatedByManyThreadsAtOnceIsOne) {
    const EveryCore everyCore;
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number)
        threads.emplace_back([] { Logger::createInstance(); });
    for (std::thread &thread : threads)
        thread.join();
    log(1, "one");
    EXPECT_THAT(texts(), ElementsAre("one"));
}
