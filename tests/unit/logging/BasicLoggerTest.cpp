#include "logging/BasicLogger.h"

#include "platform/Exception.h"
#include "tests/unit/logging/ScriptedLogger.h"
#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <ios>
#include <new>
#include <stdexcept>
#include <thread>

using namespace kal;
using namespace kal::test;
using testing::ElementsAre;

namespace {

using CreateMutexSignature = HANDLE(LPSECURITY_ATTRIBUTES, BOOL, LPCSTR);
using CreateFileSignature = HANDLE(LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE);

const LoggerComponent &component(ComponentId id) {
    return loggerComponent(id);
}

/// The time of every line.
class LocalTime {
    ImportHook<"GetLocalTime", void(LPSYSTEMTIME)> hook_{
        GetModuleHandleA(nullptr), [](LPSYSTEMTIME time) { *time = SYSTEMTIME{2012, 3, 1, 5, 14, 7, 9, 42}; }};
};

/// Where the plain logger puts a file when the Windows directory is answered so.
std::string pathIn(const std::string &windowsDirectory, UINT answer, const std::string &name = "plain.log") {
    ImportHook<"GetWindowsDirectoryA", UINT(LPSTR, UINT)> hook(GetModuleHandleA(nullptr), [&](LPSTR buffer, UINT size) {
        lstrcpynA(buffer, windowsDirectory.c_str(), static_cast<int>(size));
        return answer;
    });
    return ScriptedLogger(name).path();
}

enum class File { empty, missing };

/// What the plain logger answers for a setting; its file is its switch.
uint32_t plainSetting(const char *name, uint32_t defaultValue, File file = File::empty) {
    TemporaryFolder folder;
    const std::string logName = uniqueLogName();
    if (file == File::empty)
        folder.write(logName, "");
    BasicLogger logger((folder / logName).string(), 15);
    uint32_t value = ~defaultValue;
    logger.readSetting(name, value, defaultValue);
    return value;
}

class LevelTest : public testing::Test {
  protected:
    LogToFile log;
    ScriptedLogger &logger = log.logger;
};

class LineWriter : public testing::Test {
  protected:
    LogToFile log;
    ScriptedLogger &logger = log.logger;

    /// Whether a second thread can write, that is: whether the lock is free.
    bool anotherThreadCanWrite() {
        const std::string before = log.content();
        std::thread([&] { log.write("other"); }).join();
        return log.content() == before + bidiLine("other");
    }
};

} // namespace

TEST(LoggerSetUp, LockBearsTheFilesBaseName) {
    std::string name;
    bool hasDescriptor = false;
    ImportHook<"CreateMutexA", CreateMutexSignature> create(
        GetModuleHandleA(nullptr), [&](LPSECURITY_ATTRIBUTES attributes, BOOL initial, LPCSTR given) {
            name = given;
            hasDescriptor = attributes != nullptr && attributes->lpSecurityDescriptor != nullptr;
            return create.original(attributes, initial, given);
        });
    const std::string base = uniqueLogName();
    ScriptedLogger logger("C:\\folder\\deep\\" + base);
    EXPECT_EQ(name, "QZLOG_" + base);
    EXPECT_TRUE(hasDescriptor) << "every user may wait for it";
}

TEST(LoggerSetUp, LockOfAPathWithoutBackslashBearsTheWholePath) {
    std::string name;
    ImportHook<"CreateMutexA", CreateMutexSignature> create(
        GetModuleHandleA(nullptr), [&](LPSECURITY_ATTRIBUTES attributes, BOOL initial, LPCSTR given) {
            name = given;
            return create.original(attributes, initial, given);
        });
    ScriptedLogger logger("kal/unit.log");
    EXPECT_EQ(name, "QZLOG_kal/unit.log");
}

TEST(LoggerSetUp, PathWithABackslashStaysAsItIs) {
    EXPECT_EQ(ScriptedLogger("relative\\x.log").path(), "relative\\x.log");
}

TEST(LoggerSetUp, PathWithoutBackslashLandsInTheRootOfTheWindowsDrive) {
    EXPECT_EQ(pathIn("D:\\WINDOWS", 10), "D:\\plain.log");
}

TEST(LoggerSetUp, UnknownWindowsDirectoryIsDriveC) {
    EXPECT_EQ(pathIn("D:\\WINDOWS", 0), "c:\\plain.log");
}

TEST(LoggerSetUp, WindowsDirectoryLongerThanTheBufferIsDriveC) {
    EXPECT_EQ(pathIn("D:\\WINDOWS", 261), "c:\\plain.log");
}

TEST(LoggerSetUp, LongestWindowsDirectoryIsTaken) {
    EXPECT_EQ(pathIn("D:\\WINDOWS", 260), "D:\\plain.log");
}

TEST(LoggerSetUp, NameLongerThanTheBufferIsCut) {
    ImportHook<"CreateMutexA", CreateMutexSignature> create(
        GetModuleHandleA(nullptr), [&](LPSECURITY_ATTRIBUTES attributes, BOOL initial, LPCSTR) {
            return create.original(attributes, initial, nullptr); // as a lock such a name would be too long
        });
    EXPECT_EQ(pathIn("D:\\WINDOWS", 10, std::string(400, 'n')), "D:\\" + std::string(257, 'n'));
}

TEST(LoggerSetUp, SecurityObjectThatCannotBeBuiltReachesTheCaller) {
    FailingCall<"InitializeSecurityDescriptor", BOOL(PSECURITY_DESCRIPTOR, DWORD)> call(FALSE, 1305);
    EXPECT_EQ(thrownBy([] { ScriptedLogger logger("C:\\folder\\x.log"); }).line, 60u);
}

TEST(LoggerSetUp, ComponentWidthOfZeroIsRefusedAndTheOldOneStays) {
    LogToFile log;
    EXPECT_EQ(log.logger.setComponentWidth(0), 87u);
    log.write("text");
    EXPECT_EQ(log.content(), bidiLine("text"));
}

TEST(LoggerSetUp, ComponentWidthIsTaken) {
    LogToFile log;
    EXPECT_EQ(log.logger.setComponentWidth(6), 0u);
    log.write("text");
    EXPECT_EQ(log.content(), "Bidi   text\r\n");
}

TEST(LoggerInstance, AskedForBeforeItIsThereThrows) {
    EXPECT_EQ(thrownBy([] { static_cast<void>(BasicLogger::getInstance()); }),
              (Thrown{"BasicLogger::getInstance()", 1, "", 0}));
}

TEST(LoggerInstance, LogsNothingBeforeItIsThere) {
    EXPECT_FALSE(logEnabled(legacyClient, 1));
}

TEST(LoggerInstance, IsTheFirstOneUntilItIsGone) {
    LogToFile first, second;
    first.logger.publishAsInstance();
    EXPECT_FALSE(second.logger.offerAsInstance());
    EXPECT_EQ(&BasicLogger::getInstance(), &first.logger);
}

TEST(BasicLoggerSettings, PlainLoggerStartsWhileItsFileExists) {
    EXPECT_EQ(plainSetting("startLog", 0), 0xFFFFFFFFu);
}

TEST(BasicLoggerSettings, PlainLoggerIsOffWithoutItsFile) {
    EXPECT_EQ(plainSetting("startLog", 7, File::missing), 0u);
}

TEST(BasicLoggerSettings, PlainLoggerOpensItsFileAsSharedForReadingOnly) {
    DWORD asked[4] = {};
    ImportHook<"CreateFileA", CreateFileSignature> create(
        GetModuleHandleA(nullptr), [&](LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                       DWORD disposition, DWORD attributes, HANDLE pattern) {
            asked[0] = access;
            asked[1] = share;
            asked[2] = disposition;
            asked[3] = attributes;
            return create.original(path, access, share, security, disposition, attributes, pattern);
        });
    EXPECT_EQ(plainSetting("startLog", 0), 0xFFFFFFFFu);
    EXPECT_THAT(asked,
                ElementsAre(GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
}

TEST(BasicLoggerSettings, PlainLoggerKnowsStartLogInItsExactCaseOnly) {
    EXPECT_EQ(plainSetting("StartLog", 7), 7u);
}

TEST(BasicLoggerSettings, PlainLoggerGivesTheDefaultOfEveryOtherSetting) {
    EXPECT_EQ(plainSetting("All", 5), 5u);
}

TEST(BasicLoggerSettings, PlainLoggerDoesNotMakeItsFileByLooking) {
    TemporaryFolder folder;
    const auto file = folder / uniqueLogName();
    BasicLogger logger(file.string(), 15);
    EXPECT_FALSE(logger.isEnabled(legacyClient, 2));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(LevelTest, ErrorsAreEnabledWithoutAskingSettings) {
    logger.settings["startLog"] = 0;
    EXPECT_TRUE(logger.isEnabled(comClient, 1));
    EXPECT_TRUE(logger.reads.empty());
}

TEST_F(LevelTest, LevelThatHoldsTheErrorBitIsEnabled) {
    EXPECT_TRUE(logger.isEnabled(comClient, 0x80000001));
}

TEST_F(LevelTest, NothingElseIsEnabledWithoutStartLog) {
    EXPECT_FALSE(logger.isEnabled(legacyClient, 2));
    EXPECT_THAT(logger.reads, ElementsAre("startLog"));
}

TEST_F(LevelTest, SettingsAreAskedInOrder) {
    logger.settings["startLog"] = 1;
    EXPECT_TRUE(logger.isEnabled(comClient, 2));
    EXPECT_THAT(logger.reads, ElementsAre("startLog", "All", "ComClient"));
}

TEST_F(LevelTest, WithStartLogAloneEveryComponentIsEnabled) {
    logger.settings["startLog"] = 1;
    EXPECT_TRUE(logger.isEnabled(comClient, 2));
}

TEST_F(LevelTest, WithAllStoredAsZeroTheComponentsDefaultDecides) {
    logger.settings["startLog"] = 1;
    logger.settings["All"] = 0;
    EXPECT_TRUE(logger.isEnabled(legacyClient, 2));
    EXPECT_FALSE(logger.isEnabled(comClient, 2));
}

TEST_F(LevelTest, ComponentSettingReplacesItsDefault) {
    logger.settings = {{"startLog", 1}, {"All", 0}, {"ComClient", 2}, {"LegacyClient", 0}};
    EXPECT_TRUE(logger.isEnabled(comClient, 2));
    EXPECT_FALSE(logger.isEnabled(comClient, 8));
    EXPECT_FALSE(logger.isEnabled(legacyClient, 2));
}

TEST_F(LevelTest, AllEnablesItsLevelsForEveryComponent) {
    logger.settings = {{"startLog", 1}, {"All", 8}, {"ComClient", 2}};
    EXPECT_TRUE(logger.isEnabled(comClient, 8));
    EXPECT_TRUE(logger.isEnabled(comClient, 2));
    EXPECT_FALSE(logger.isEnabled(comClient, 4));
}

TEST_F(LevelTest, LevelOfNoBitsIsNeverEnabled) {
    logger.settings["startLog"] = 1;
    EXPECT_FALSE(logger.isEnabled(legacyClient, 0));
}

TEST_F(LevelTest, DefaultMaskSetLaterIsTheOneUsed) {
    LoggerComponent own("Own", 0);
    logger.settings = {{"startLog", 1}, {"All", 0}};
    own.setLevel(4);
    EXPECT_TRUE(logger.isEnabled(own, 4));
}

TEST_F(LevelTest, SettingThatCannotBeReadCountsAsOff) {
    logger.onRead = [](const std::string &) { throw Win32Exception("type", 0, "", 0); };
    EXPECT_FALSE(logger.isEnabled(legacyClient, 2));
    EXPECT_TRUE(logger.isEnabled(legacyClient, 1));
}

TEST_F(LevelTest, SettingThatThereIsNoRoomForCountsAsOff) {
    logger.settings["startLog"] = 1;
    logger.onRead = [](const std::string &) { throw std::bad_alloc(); };
    EXPECT_FALSE(logger.isEnabled(legacyClient, 2));
    logger.onRead = nullptr;
    EXPECT_TRUE(logger.isEnabled(legacyClient, 2));
}

TEST_F(LevelTest, StartLogChangesTakeEffectWhenTheCachedValueIsFiveSecondsOld) {
    TickCount ticks(1000);
    EXPECT_FALSE(logger.isEnabled(legacyClient, 2));
    logger.settings["startLog"] = 1;
    ticks.now = 5999;
    EXPECT_FALSE(logger.isEnabled(legacyClient, 2));
    ticks.now = 6000;
    EXPECT_TRUE(logger.isEnabled(legacyClient, 2));
}

TEST_F(LevelTest, EachSettingIsReadOnceInFiveSeconds) {
    TickCount ticks(1000);
    logger.settings["startLog"] = 1;
    for (; ticks.now < 5990; ticks.now += 10)
        static_cast<void>(logger.isEnabled(legacyClient, 2));
    EXPECT_THAT(logger.reads, ElementsAre("startLog", "All", "LegacyClient"));
}

TEST_F(LevelTest, SettingIsReadAnewWhenTheTickCounterWrapped) {
    TickCount ticks(0xFFFFFFF0);
    EXPECT_FALSE(logger.isEnabled(legacyClient, 2));
    logger.settings["startLog"] = 1;
    ticks.now = 5;
    EXPECT_TRUE(logger.isEnabled(legacyClient, 2));
}

TEST_F(LevelTest, CachedSettingHandsOutTheDefaultOfAnAbsentSetting) {
    uint32_t value = 0;
    logger.cachedSetting("Own", value, 33, 5000);
    EXPECT_EQ(value, 33u);
}

TEST_F(LevelTest, CachedSettingIsReadAnewWithinTheSameTick) {
    TickCount ticks(1000);
    uint32_t value = 0;
    logger.cachedSetting("Own", value, 1, 5000);
    logger.settings["Own"] = 2;
    logger.cachedSetting("Own", value, 1, 5000);
    EXPECT_EQ(value, 2u);
}

TEST_F(LineWriter, DefaultsAreTimeWithoutIdentifiers) {
    LocalTime time;
    logger.settings.clear();
    log.write("text");
    EXPECT_EQ(log.content(), "2012/03/05-14:07:09.042 " + bidiLine("text"));
}

TEST_F(LineWriter, AllHeaderFieldsStandInOrder) {
    LocalTime time;
    ImportHook<"GetCurrentProcessId", DWORD()> process(GetModuleHandleA(nullptr), [] { return DWORD{0xA3C}; });
    ImportHook<"GetCurrentThreadId", DWORD()> thread(GetModuleHandleA(nullptr), [] { return DWORD{0xB04}; });
    logger.settings = {{"Clocktime_In_Header", 1}, {"Proc_Id_In_Header", 1}, {"Thread_Id_In_Header", 1}};
    log.write("text");
    EXPECT_EQ(log.content(), "2012/03/05-14:07:09.042 pid=0a3c tid=0b04 " + bidiLine("text"));
}

TEST_F(LineWriter, HeaderFieldIsOnForAnyNumberButZero) {
    ImportHook<"GetCurrentProcessId", DWORD()> process(GetModuleHandleA(nullptr), [] { return DWORD{0xA3C}; });
    logger.settings["Proc_Id_In_Header"] = 0x80000000;
    log.write("text");
    EXPECT_EQ(log.content(), "pid=0a3c " + bidiLine("text"));
}

TEST_F(LineWriter, HeaderSettingsAreCachedForFiveSeconds) {
    TickCount ticks(1000);
    log.write("one");
    logger.settings["Clocktime_In_Header"] = 1;
    ticks.now = 5999;
    log.write("two");
    EXPECT_EQ(log.content(), bidiLine("one") + bidiLine("two"));
    EXPECT_THAT(logger.reads, ElementsAre("Clocktime_In_Header", "Proc_Id_In_Header", "Thread_Id_In_Header"));
}

TEST_F(LineWriter, PrefixAndSuffixStandAtTheEnds) {
    logger.prefix = "<";
    logger.suffix = ">";
    log.write("text");
    EXPECT_EQ(log.content(), "<Bidi            text>\r\n");
}

TEST_F(LineWriter, LongComponentIsWhole) {
    log.write("text", ComponentId::ComponentInstall);
    EXPECT_EQ(log.content(), "ComponentInstall text\r\n");
}

TEST_F(LineWriter, TextIsWrittenAsItStands) {
    log.write("100% %s \t\xE4");
    EXPECT_EQ(log.content(), bidiLine("100% %s \t\xE4"));
}

TEST_F(LineWriter, EmptyTextIsALine) {
    log.write("");
    EXPECT_EQ(log.content(), bidiLine(""));
}

TEST_F(LineWriter, LongTextIsWhole) {
    const std::string text(100000, 'x');
    logger.write(component(ComponentId::Bidi), 2, text);
    EXPECT_EQ(log.content(), bidiLine(text));
}

TEST_F(LineWriter, StringIsForwardedToTheTextWriter) {
    class Forwarded : public ScriptedLogger {
      public:
        using BasicLogger::write;
        using ScriptedLogger::ScriptedLogger;
        void write(const LoggerComponent &, uint32_t level, const char *text) override {
            forwarded = text + std::to_string(level);
        }
        std::string forwarded;
    };
    Forwarded forwarding(log.file);
    forwarding.write(comClient, 8, std::string("text"));
    EXPECT_EQ(forwarding.forwarded, "text8");
}

TEST_F(LineWriter, WriterDoesNotAskForTheLevel) {
    logger.settings["startLog"] = 0;
    logger.write(comClient, 0, "text");
    EXPECT_EQ(log.content(), "ComClient       text\r\n");
}

TEST_F(LineWriter, DepthOfTheThreadIsABlankEach) {
    logger.indent();
    logger.indent();
    log.write("deep");
    logger.unindent();
    log.write("less");
    logger.unindent();
    log.write("flat");
    EXPECT_EQ(log.content(), bidiLine("  deep") + bidiLine(" less") + bidiLine("flat"));
}

TEST_F(LineWriter, DepthOfAThreadLeavesTheOthersAlone) {
    logger.indent();
    std::thread([&] { log.write("other"); }).join();
    log.write("own");
    EXPECT_EQ(log.content(), bidiLine("other") + bidiLine(" own"));
}

TEST_F(LineWriter, FileIsOpenedTwiceAsSharedAndClosed) {
    struct Opening {
        DWORD access, share, disposition, attributes;
        bool hasDescriptor;
        bool operator==(const Opening &) const = default;
    };
    std::vector<Opening> openings;
    ImportHook<"CreateFileA", CreateFileSignature> create(
        GetModuleHandleA(nullptr), [&](LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                       DWORD disposition, DWORD attributes, HANDLE pattern) {
            openings.push_back({access, share, disposition, attributes,
                                security != nullptr && security->lpSecurityDescriptor != nullptr});
            return create.original(path, access, share, security, disposition, attributes, pattern);
        });
    const DWORD readWrite = GENERIC_READ | GENERIC_WRITE;
    const DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE;
    log.write("text");
    EXPECT_EQ(openings, (std::vector<Opening>{{readWrite, shared, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, true},
                                              {readWrite, shared, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, true}}));
}

TEST_F(LineWriter, EveryHandleIsClosed) {
    log.write("one");
    CountedCall<"CloseHandle", BOOL(HANDLE)> closed;
    log.write("two");
    EXPECT_EQ(closed.calls(), 2);
}

TEST_F(LineWriter, LineIsOneWrite) {
    CountedCall<"WriteFile", BOOL(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED)> writes;
    log.write("text");
    EXPECT_EQ(writes.calls(), 1);
}

TEST_F(LineWriter, MissingFileIsReportedToTheHookOnce) {
    log.write("one");
    EXPECT_EQ(logger.missing, 1);
    log.write("two");
    EXPECT_EQ(logger.missing, 1);
}

TEST_F(LineWriter, WaitsForTheLockWithoutTimeout) {
    DWORD timeout = 0;
    ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(GetModuleHandleA(nullptr),
                                                                 [&](HANDLE handle, DWORD milliseconds) {
                                                                     timeout = milliseconds;
                                                                     return wait.original(handle, milliseconds);
                                                                 });
    log.write("text");
    EXPECT_EQ(timeout, 0xFFFFFFFFu);
    EXPECT_EQ(wait.calls(), 1);
}

TEST_F(LineWriter, LockIsHeldWhileTheFileIsWritten) {
    std::vector<std::string> order;
    ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(GetModuleHandleA(nullptr),
                                                                 [&](HANDLE handle, DWORD milliseconds) {
                                                                     order.emplace_back("lock");
                                                                     return wait.original(handle, milliseconds);
                                                                 });
    ImportHook<"WriteFile", BOOL(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED)> write(
        GetModuleHandleA(nullptr),
        [&](HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
            order.emplace_back("write");
            return write.original(file, bytes, size, written, overlapped);
        });
    ImportHook<"ReleaseMutex", BOOL(HANDLE)> release(GetModuleHandleA(nullptr), [&](HANDLE handle) {
        order.emplace_back("unlock");
        return release.original(handle);
    });
    log.write("text");
    EXPECT_THAT(order, ElementsAre("lock", "write", "unlock"));
}

TEST_F(LineWriter, WaitsForAnotherHolderOfTheLock) {
    const std::string name = "QZLOG_" + std::filesystem::path(log.file).filename().string();
    const HANDLE mutex = OpenMutexA(MUTEX_ALL_ACCESS, FALSE, name.c_str());
    ASSERT_EQ(WaitForSingleObject(mutex, 1000), WAIT_OBJECT_0);
    std::atomic<DWORD> writersId = 0;
    std::atomic<bool> isWaiting = false;
    std::atomic<bool> isReleased = false;
    std::atomic<bool> hasWaitedForRelease = false;
    ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(
        GetModuleHandleA(nullptr), [&](HANDLE handle, DWORD milliseconds) {
            const bool isLock = GetCurrentThreadId() == writersId && !isWaiting.exchange(true);
            const DWORD answer = wait.original(handle, milliseconds);
            if (isLock) {
                hasWaitedForRelease = isReleased.load();
            }
            return answer;
        });
    std::atomic<bool> isOver = false;
    std::thread writer([&] {
        writersId = GetCurrentThreadId();
        log.write("text");
        isOver = true;
    });
    while (!isWaiting && !isOver) {
        std::this_thread::yield();
    }
    const std::string whileHeld = log.content();
    isReleased = true;
    ReleaseMutex(mutex);
    while (!isOver) { // joining waits through the hook
        std::this_thread::yield();
    }
    EXPECT_TRUE(hasWaitedForRelease);
    writer.join();
    CloseHandle(mutex);
    EXPECT_EQ(whileHeld, "");
    EXPECT_EQ(log.content(), bidiLine("text"));
}

TEST_F(LineWriter, KeepsTheThreadsLastError) {
    SetLastError(1234);
    log.write("text");
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST_F(LineWriter, KeepsTheThreadsLastErrorWhenTheLineIsLost) {
    FailingCall<"CreateFileA", CreateFileSignature> create(INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED);
    SetLastError(1234);
    log.write("text");
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST_F(LineWriter, LockThatCannotBeWaitedForCostsThatLine) {
    {
        FailingWait wait(WAIT_FAILED, ERROR_INVALID_HANDLE);
        EXPECT_NO_THROW(log.write("lost"));
    }
    log.write("kept");
    EXPECT_EQ(log.content(), bidiLine("kept"));
}

TEST_F(LineWriter, LockThatCannotBeReleasedIsNotNoticed) {
    {
        ImportHook<"ReleaseMutex", BOOL(HANDLE)> release(GetModuleHandleA(nullptr), [&](HANDLE mutex) {
            release.original(mutex);
            return FALSE;
        });
        EXPECT_NO_THROW(log.write("one"));
    }
    log.write("two");
    EXPECT_EQ(log.content(), bidiLine("one") + bidiLine("two"));
    EXPECT_TRUE(anotherThreadCanWrite());
}

TEST_F(LineWriter, FileThatCannotBeOpenedCostsThatLine) {
    {
        FailingCall<"CreateFileA", CreateFileSignature> create(INVALID_HANDLE_VALUE, ERROR_SHARING_VIOLATION);
        EXPECT_NO_THROW(log.write("lost"));
    }
    log.write("kept");
    EXPECT_EQ(log.content(), bidiLine("kept"));
    EXPECT_TRUE(anotherThreadCanWrite());
}

TEST_F(LineWriter, WriteThatFailsCostsThatLine) {
    {
        FailingCall<"WriteFile", BOOL(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED)> write(FALSE, ERROR_DISK_FULL);
        EXPECT_NO_THROW(log.write("lost"));
        EXPECT_EQ(write.calls(), 1);
    }
    log.write("kept");
    EXPECT_EQ(log.content(), bidiLine("kept"));
}

TEST_F(LineWriter, HeaderSettingThatCannotBeReadCostsThatLine) {
    logger.onRead = [](const std::string &) { throw Win32Exception("type", 0, "", 0); };
    EXPECT_NO_THROW(log.write("lost"));
    logger.onRead = nullptr;
    log.write("kept");
    EXPECT_EQ(log.content(), bidiLine("kept"));
}

class LineWriterHook : public LineWriter, public testing::WithParamInterface<std::function<void()>> {};

TEST_P(LineWriterHook, ThatThrowsCostsThatLineAndFreesTheLock) {
    logger.onPrefix = GetParam();
    SetLastError(1234);
    EXPECT_NO_THROW(log.write("lost"));
    EXPECT_EQ(GetLastError(), 1234u);
    logger.onPrefix = nullptr;
    EXPECT_EQ(log.content(), "");
    EXPECT_TRUE(anotherThreadCanWrite());
}

INSTANTIATE_TEST_SUITE_P(EveryKind, LineWriterHook,
                         testing::Values([] { throw Win32Exception("hook", 5, "", 0); },
                                         [] { throw std::ios_base::failure("hook"); },
                                         [] { throw std::length_error("hook"); },
                                         [] { throw std::runtime_error("hook"); }, [] { throw std::bad_alloc(); }));

TEST_F(LineWriter, DeletionTakesTheFileUnderTheLock) {
    log.write("text");
    CountedCall<"WaitForSingleObject", DWORD(HANDLE, DWORD)> waits;
    logger.deleteLogFile();
    EXPECT_EQ(waits.calls(), 1);
    EXPECT_FALSE(std::filesystem::exists(log.file));
    EXPECT_TRUE(anotherThreadCanWrite());
}

TEST_F(LineWriter, DeletionThatFailsIsQuietAndFreesTheLock) {
    log.write("kept");
    {
        FailingCall<"DeleteFileA", BOOL(LPCSTR)> deletion(FALSE, ERROR_SHARING_VIOLATION);
        EXPECT_NO_THROW(logger.deleteLogFile());
        EXPECT_EQ(deletion.calls(), 1);
    }
    EXPECT_EQ(log.content(), bidiLine("kept"));
    EXPECT_TRUE(anotherThreadCanWrite());
}

TEST_F(LineWriter, DeletionOfAMissingFileIsQuiet) {
    EXPECT_NO_THROW(logger.deleteLogFile());
}

TEST_F(LineWriter, SlotsInOrder) {
    using Self = BasicLogger;
    using Component = const LoggerComponent &;
    ScriptedLogger &self = logger;
    const auto &bidi = component(ComponentId::Bidi);
    operationSlot<void(Self *, Component, uint32_t, const std::string &)>(self, 1)(&self, bidi, 2, "one");
    operationSlot<void(Self *, Component, uint32_t, const char *)>(self, 2)(&self, bidi, 2, "two");
    EXPECT_EQ(log.content(), bidiLine("one") + bidiLine("two"));
    operationSlot<void(Self *)>(self, 3)(&self);
    EXPECT_EQ(log.content(), "");
    uint32_t value = 0;
    operationSlot<void(Self *, const std::string &, uint32_t &, uint32_t)>(self, 4)(&self, "slot", value, 44);
    EXPECT_EQ(value, 44u);
    const int missing = self.missing;
    operationSlot<void(Self *)>(self, 5)(&self);
    EXPECT_EQ(self.missing, missing + 1);
    self.prefix = "six";
    self.suffix = "seven";
    EXPECT_EQ((operationSlot<std::string(Self *, Component, uint32_t, const char *)>(self, 6)(&self, bidi, 2, "")),
              "six");
    EXPECT_EQ((operationSlot<std::string(Self *, Component, uint32_t, const char *)>(self, 7)(&self, bidi, 2, "")),
              "seven");
}

TEST(BasicLoggerHooks, AreEmptyInTheBase) {
    BasicLogger logger("C:\\folder\\" + uniqueLogName(), 15);
    EXPECT_EQ(logger.linePrefix(comClient, 2, "text"), "");
    EXPECT_EQ(logger.lineSuffix(comClient, 2, "text"), "");
    EXPECT_NO_THROW(logger.onLogFileMissing());
}
