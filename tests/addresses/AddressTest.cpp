// The run at high addresses is one: the library is not where it asks to be, and heaps and stacks are above 4 GiB.

#include "tests/support/StagedLibrary.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include <windows.h>

namespace kal::test {

namespace {

constexpr uintptr_t fourGigabytes = uintptr_t{1} << 32;

uintptr_t addressOf(const volatile void *pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

/// The address that a library's file asks for. The header in memory has the one that it got.
uintptr_t preferredAddress(const std::filesystem::path &file) {
    const std::string bytes = readFile(file);
    IMAGE_DOS_HEADER dos = {};
    std::memcpy(&dos, bytes.data(), sizeof dos);
    IMAGE_NT_HEADERS64 headers = {};
    std::memcpy(&headers, bytes.data() + dos.e_lfanew, sizeof headers);
    return headers.OptionalHeader.ImageBase;
}

DWORD WINAPI noteStack(void *argument) {
    const int local = 0;
    *static_cast<uintptr_t *>(argument) = addressOf(&local);
    return 0;
}

} // namespace

TEST(HighAddresses, LibraryIsRelocatedAboveFourGigabytes) {
    const StagedLibrary library;
    EXPECT_NE(addressOf(library.module()), preferredAddress(programFolder() / "kalclient.dll"));
    EXPECT_GT(addressOf(library.module()), uintptr_t{0x7f0000000000});
}

TEST(HighAddresses, BlocksOfMemoryAreAboveFourGigabytes) {
    const std::unique_ptr<void, decltype(&std::free)> block(std::malloc(100), &std::free);
    EXPECT_GT(addressOf(block.get()), fourGigabytes);
    const std::vector<char> large(10 << 20);
    EXPECT_GT(addressOf(large.data()), fourGigabytes);
    void *const pages = VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    EXPECT_GT(addressOf(pages), fourGigabytes);
    VirtualFree(pages, 0, MEM_RELEASE);
}

TEST(HighAddresses, StacksAreAboveFourGigabytes) {
    const int local = 0;
    EXPECT_GT(addressOf(&local), fourGigabytes);
    uintptr_t stack = 0;
    const HANDLE thread = CreateThread(nullptr, 0, noteStack, &stack, 0, nullptr);
    ASSERT_NE(thread, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    EXPECT_GT(stack, fourGigabytes);
}

} // namespace kal::test
