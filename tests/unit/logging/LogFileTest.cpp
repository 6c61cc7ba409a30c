// What other programs do to the log file between two lines.
#include "tests/unit/logging/ScriptedLogger.h"
#include "tests/unit/platform/FailingCall.h"

#include <gtest/gtest.h>

#include <fstream>

#include <winioctl.h>

using namespace kal;
using namespace kal::test;

namespace {

/// Makes the file this large without writing it: a file of gigabytes costs no room.
void setSize(const std::string &file, int64_t size) {
    const HANDLE handle = CreateFileA(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    DWORD unused = 0;
    DeviceIoControl(handle, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused, nullptr); // where it is not the default
    LARGE_INTEGER position;
    position.QuadPart = size;
    ASSERT_TRUE(SetFilePointerEx(handle, position, nullptr, FILE_BEGIN));
    ASSERT_TRUE(SetEndOfFile(handle));
    CloseHandle(handle);
}

int64_t sizeOf(const std::string &file) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    GetFileAttributesExA(file.c_str(), GetFileExInfoStandard, &data);
    return (int64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
}

std::string bytesAt(const std::string &file, int64_t offset, size_t count) {
    const HANDLE handle = CreateFileA(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER position;
    position.QuadPart = offset;
    SetFilePointerEx(handle, position, nullptr, FILE_BEGIN);
    std::string bytes(count, '\0');
    DWORD read = 0;
    ReadFile(handle, bytes.data(), static_cast<DWORD>(count), &read, nullptr);
    CloseHandle(handle);
    bytes.resize(read);
    return bytes;
}

class LogFile : public testing::Test {
  protected:
    void expectAppendedAt(int64_t size) {
        setSize(log.file, size);
        log.write("text");
        EXPECT_EQ(sizeOf(log.file), size + static_cast<int64_t>(bidiLine("text").size()));
        EXPECT_EQ(bytesAt(log.file, size, 100), bidiLine("text"));
    }

    LogToFile log;
};

} // namespace

TEST_F(LogFile, LinesAreAppended) {
    std::ofstream(log.file, std::ios::binary) << "here before\r\n";
    log.write("one");
    log.write("two");
    EXPECT_EQ(log.content(), "here before\r\n" + bidiLine("one") + bidiLine("two"));
}

TEST_F(LogFile, DeletedFileIsMadeAnew) {
    log.write("one");
    std::filesystem::remove(log.file);
    log.write("two");
    EXPECT_EQ(log.content(), bidiLine("two"));
}

TEST_F(LogFile, RenamedFileKeepsItsLinesAndANewOneBegins) {
    log.write("one");
    std::filesystem::rename(log.file, log.file + ".old");
    log.write("two");
    EXPECT_EQ(readFile(log.file + ".old"), bidiLine("one"));
    EXPECT_EQ(log.content(), bidiLine("two"));
}

TEST_F(LogFile, TruncatedFileGoesOnAtItsEnd) {
    log.write("one");
    std::ofstream(log.file, std::ios::binary | std::ios::trunc) << "cut";
    log.write("two");
    EXPECT_EQ(log.content(), "cut" + bidiLine("two"));
}

TEST_F(LogFile, FileLockedByAnotherCostsTheLinesMeanwhile) {
    log.write("one");
    const HANDLE other =
        CreateFileA(log.file.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    log.write("lost");
    CloseHandle(other);
    log.write("three");
    EXPECT_EQ(log.content(), bidiLine("one") + bidiLine("three"));
}

/// A user whom file permissions do not bind may write to it all the same.
TEST_F(LogFile, ReadOnlyFileCostsAtMostTheLinesMeanwhile) {
    log.write("one");
    ASSERT_TRUE(SetFileAttributesA(log.file.c_str(), FILE_ATTRIBUTE_READONLY));
    const HANDLE probe = CreateFileA(log.file.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                     nullptr, OPEN_EXISTING, 0, nullptr);
    const bool refused = probe == INVALID_HANDLE_VALUE;
    CloseHandle(probe);
    log.write("two");
    ASSERT_TRUE(SetFileAttributesA(log.file.c_str(), FILE_ATTRIBUTE_NORMAL));
    log.write("three");
    EXPECT_EQ(log.content(), bidiLine("one") + (refused ? "" : bidiLine("two")) + bidiLine("three"));
}

TEST_F(LogFile, FileThatRefusesWritersCostsTheLinesMeanwhile) {
    log.write("one");
    {
        using CreateFileSignature = HANDLE(LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE);
        FailingCall<"CreateFileA", CreateFileSignature> refused(INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED);
        log.write("lost");
        EXPECT_EQ(refused.calls(), 2);
    }
    log.write("three");
    EXPECT_EQ(log.content(), bidiLine("one") + bidiLine("three"));
}

TEST_F(LogFile, FileOpenedByAReaderGetsItsLines) {
    log.write("one");
    const HANDLE reader = CreateFileA(log.file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    log.write("two");
    CloseHandle(reader);
    EXPECT_EQ(log.content(), bidiLine("one") + bidiLine("two"));
}

TEST_F(LogFile, FolderOfThatNameCostsTheLinesMeanwhile) {
    std::filesystem::create_directory(log.file);
    log.write("lost");
    std::filesystem::remove(log.file);
    log.write("kept");
    EXPECT_EQ(log.content(), bidiLine("kept"));
}

TEST_F(LogFile, MissingFolderCostsTheLinesMeanwhile) {
    LogToFile gone;
    std::filesystem::remove(gone.folder.path());
    gone.write("lost");
    EXPECT_EQ(gone.logger.missing, 1);
    std::filesystem::create_directory(gone.folder.path());
    gone.write("kept");
    EXPECT_EQ(gone.content(), bidiLine("kept"));
}

TEST_F(LogFile, SizeThatCannotBeReadCostsThatLine) {
    log.write("one");
    {
        FailingCall<"GetFileSize", DWORD(HANDLE, LPDWORD)> size(INVALID_FILE_SIZE, ERROR_INVALID_FUNCTION);
        log.write("lost");
        EXPECT_EQ(size.calls(), 1);
    }
    log.write("three");
    EXPECT_EQ(log.content(), bidiLine("one") + bidiLine("three"));
}

/// The low half of a size may look like the answer of a call that failed: only the last error tells.
TEST_F(LogFile, SizeThatLooksLikeAFailureIsAppendedTo) {
    constexpr int64_t size = 0xFFFFFFFF;
    setSize(log.file, size);
    FailingCall<"GetFileSize", DWORD(HANDLE, LPDWORD)> sizeCall(0xFFFFFFFF, NO_ERROR);
    log.write("text");
    EXPECT_EQ(bytesAt(log.file, size, 100), bidiLine("text"));
}

TEST_F(LogFile, EndThatCannotBeReachedCostsThatLineAndOverwritesNone) {
    log.write("one");
    {
        FailingCall<"SetFilePointer", DWORD(HANDLE, LONG, PLONG, DWORD)> seek(INVALID_SET_FILE_POINTER,
                                                                              ERROR_NEGATIVE_SEEK);
        log.write("lost");
        EXPECT_EQ(seek.calls(), 1);
    }
    log.write("three");
    EXPECT_EQ(log.content(), bidiLine("one") + bidiLine("three"));
}

TEST_F(LogFile, LargerThanTwoGibibytesIsAppendedTo) {
    expectAppendedAt(0x80000010);
}

TEST_F(LogFile, JustBelowFourGibibytesIsAppendedTo) {
    expectAppendedAt(0xFFFFFFF0);
}

/// Only the low half of the size counts: such a log is written over from its beginning.
TEST_F(LogFile, LargerThanFourGibibytesIsWrittenAtTheLowHalfOfItsSize) {
    constexpr int64_t size = 0x100000064;
    setSize(log.file, size);
    log.write("text");
    EXPECT_EQ(sizeOf(log.file), size);
    EXPECT_EQ(bytesAt(log.file, 0x64, bidiLine("text").size()), bidiLine("text"));
}
