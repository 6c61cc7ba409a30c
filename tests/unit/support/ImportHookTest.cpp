#include "tests/support/ImportHook.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

using kal::test::ImportHook;

namespace {

HMODULE thisProgram() {
    return GetModuleHandleA(nullptr);
}

// A function of its own, not inlined: within one function the compiler reads an imported address only once.
[[gnu::noinline]] bool readComputerName() {
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof name;
    return GetComputerNameA(name, &size) != FALSE;
}

} // namespace

TEST(ImportHook, ReplacesAndRestores) {
    {
        ImportHook<"GetComputerNameA", BOOL(char *, DWORD *)> hook(thisProgram(), [](char *, DWORD *) {
            SetLastError(5);
            return FALSE;
        });
        EXPECT_FALSE(readComputerName());
        EXPECT_EQ(hook.calls(), 1);
    }
    EXPECT_TRUE(readComputerName());
}

TEST(ImportHook, OriginalCanBeCalled) {
    ImportHook<"GetTickCount", DWORD()> hook(thisProgram(), [&] { return hook.original() | 1u; });
    EXPECT_EQ(GetTickCount() & 1u, 1u);
}

TEST(ImportHook, EndWaitsForAThreadThatIsInside) {
    std::promise<void> inside;
    std::atomic<bool> hasLeft = false;
    std::thread caller;
    {
        ImportHook<"GetComputerNameA", BOOL(char *, DWORD *)> hook(thisProgram(), [&](char *, DWORD *) {
            inside.set_value();
            Sleep(50);
            hasLeft = true;
            return FALSE;
        });
        caller = std::thread([] { readComputerName(); });
        inside.get_future().wait();
    }
    EXPECT_TRUE(hasLeft);
    caller.join();
}

// A thread may have read the address and not have jumped there yet.
TEST(ImportHook, AddressOfAnEndedHookLeadsToTheOriginal) {
    void **const place = kal::test::findImport(thisProgram(), "GetComputerNameA");
    BOOL(WINAPI * hooked)(char *, DWORD *) = nullptr;
    {
        ImportHook<"GetComputerNameA", BOOL(char *, DWORD *)> hook(thisProgram(),
                                                                   [](char *, DWORD *) { return FALSE; });
        hooked = reinterpret_cast<decltype(hooked)>(*place);
    }
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof name;
    EXPECT_TRUE(hooked(name, &size));
}

TEST(ImportHook, UnknownImportIsReported) {
    using Hook = ImportHook<"NoSuchSystemCall", void()>;
    EXPECT_THROW(Hook(thisProgram(), [] {}), std::logic_error);
}

TEST(ImportHook, ListsImportedLibraries) {
    EXPECT_THAT(kal::test::importedLibraries(thisProgram()), testing::Contains("KERNEL32.dll"));
}
