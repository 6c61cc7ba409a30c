#include "platform/Mutex.h"

#include "platform/InterProcessLock.h"
#include "platform/Thread.h"
#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

using namespace kal;
using namespace kal::test;

namespace {

using CreateMutexSignature = HANDLE(LPSECURITY_ATTRIBUTES, BOOL, LPCSTR);

constexpr size_t nameOffset = 8, holdCountOffset = 40, ownerThreadOffset = 44;

uint32_t holdCountOf(const Mutex &mutex) {
    return memberAt<uint32_t>(mutex, holdCountOffset);
}

/// A name that no other run of the tests uses.
std::string uniqueName() {
    static int number = 0;
    return "kal-mutex-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number);
}

void onAnotherThread(const std::function<void()> &operation) {
    RunnableFunction work(
        [](void *function) {
            (*static_cast<const std::function<void()> *>(function))();
            return 0u;
        },
        const_cast<std::function<void()> *>(&operation));
    Thread thread(work);
    thread.start();
    ASSERT_TRUE(thread.join(10000));
}

bool isFreeForOthers(Mutex &mutex) {
    bool acquired = false;
    onAnotherThread([&] {
        acquired = mutex.acquire(1);
        if (acquired)
            mutex.release();
    });
    return acquired;
}

} // namespace

TEST(Mutex, MembersAreHandleNameCountOwner) {
    Mutex mutex(false, "", false);
    ASSERT_TRUE(mutex.acquire(1000));
    EXPECT_NE(memberAt<HANDLE>(mutex, 0), nullptr);
    EXPECT_EQ(reinterpret_cast<const char *>(&mutex.name()) - reinterpret_cast<const char *>(&mutex),
              static_cast<ptrdiff_t>(nameOffset));
    EXPECT_EQ(memberAt<uint32_t>(mutex, holdCountOffset), 1u);
    EXPECT_EQ(memberAt<uint32_t>(mutex, ownerThreadOffset), GetCurrentThreadId());
    mutex.release();
}

TEST(Mutex, NameReachesTheKernelAsItStands) {
    const std::string name = uniqueName();
    Mutex mutex(false, name, false);
    const HANDLE opened = OpenMutexA(SYNCHRONIZE, FALSE, name.c_str());
    EXPECT_NE(opened, nullptr);
    CloseHandle(opened);
    EXPECT_EQ(mutex.name(), name);
}

TEST(Mutex, HandleIsClosedAtTheEnd) {
    const std::string name = uniqueName();
    { Mutex mutex(false, name, false); }
    EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, name.c_str()), nullptr);
}

TEST(Mutex, WithoutEveryoneAccessNoSecurityAttributesAreGiven) {
    LPSECURITY_ATTRIBUTES given = reinterpret_cast<LPSECURITY_ATTRIBUTES>(1);
    ImportHook<"CreateMutexA", CreateMutexSignature> create(
        GetModuleHandleA(nullptr), [&](LPSECURITY_ATTRIBUTES attributes, BOOL initial, LPCSTR name) {
            given = attributes;
            return create.original(attributes, initial, name);
        });
    Mutex mutex(false, "", false);
    EXPECT_EQ(given, nullptr);
}

TEST(Mutex, WithEveryoneAccessADescriptorIsGiven) {
    bool hasDescriptor = false;
    ImportHook<"CreateMutexA", CreateMutexSignature> create(
        GetModuleHandleA(nullptr), [&](LPSECURITY_ATTRIBUTES attributes, BOOL initial, LPCSTR name) {
            hasDescriptor = attributes != nullptr && attributes->lpSecurityDescriptor != nullptr;
            return create.original(attributes, initial, name);
        });
    Mutex mutex(false, "", true);
    EXPECT_TRUE(hasDescriptor);
}

TEST(Mutex, CreationThatFailsThrows) {
    FailingCall<"CreateMutexA", CreateMutexSignature> create(nullptr, ERROR_INVALID_HANDLE);
    EXPECT_EQ(thrownBy([] { Mutex mutex(false, "", false); }),
              (Thrown{"Mutex::createMutex() CreateMutex failed", ERROR_INVALID_HANDLE, ".\\Mutex", 120}));
}

TEST(Mutex, InitialOwnerHoldsItOnce) {
    Mutex mutex(true, "", false);
    EXPECT_EQ(holdCountOf(mutex), 1u);
    EXPECT_EQ(memberAt<uint32_t>(mutex, ownerThreadOffset), GetCurrentThreadId());
    EXPECT_FALSE(isFreeForOthers(mutex));
    mutex.release();
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST(Mutex, AcquireWithZeroIsFalseThoughFree) {
    Mutex mutex(false, "", false);
    CountedCall<"WaitForSingleObject", DWORD(HANDLE, DWORD)> waits;
    EXPECT_FALSE(mutex.acquire(0));
    EXPECT_EQ(waits.calls(), 0);
}

TEST(Mutex, AcquireWithZeroIsFalseForTheHolderToo) {
    Mutex mutex(true, "", false);
    EXPECT_FALSE(mutex.acquire(0));
    EXPECT_EQ(holdCountOf(mutex), 1u);
    mutex.release();
}

TEST(Mutex, AcquireOfAHeldOneTimesOut) {
    Mutex mutex(true, "", false);
    bool acquired = true;
    onAnotherThread([&] { acquired = mutex.acquire(20); });
    EXPECT_FALSE(acquired);
    EXPECT_EQ(holdCountOf(mutex), 1u);
    mutex.release();
}

TEST(Mutex, OneReleaseUndoesNestedAcquires) {
    Mutex mutex(false, "", false);
    ASSERT_TRUE(mutex.acquire(1000));
    ASSERT_TRUE(mutex.acquire(1000));
    EXPECT_EQ(holdCountOf(mutex), 2u);
    mutex.release();
    EXPECT_EQ(holdCountOf(mutex), 0u);
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST(Mutex, ReleaseOfAnotherThreadDoesNothing) {
    Mutex mutex(true, "", false);
    CountedCall<"ReleaseMutex", BOOL(HANDLE)> released;
    onAnotherThread([&] { mutex.release(); });
    EXPECT_EQ(released.calls(), 0);
    EXPECT_EQ(holdCountOf(mutex), 1u);
    mutex.release();
}

TEST(Mutex, ReleaseWithoutHoldDoesNothing) {
    Mutex mutex(true, "", false);
    mutex.release();
    CountedCall<"ReleaseMutex", BOOL(HANDLE)> released;
    EXPECT_NO_THROW(mutex.release());
    EXPECT_EQ(released.calls(), 0);
}

TEST(Mutex, ReleaseKeepsTheOwnersThread) {
    Mutex mutex(true, "", false);
    mutex.release();
    EXPECT_EQ(memberAt<uint32_t>(mutex, ownerThreadOffset), GetCurrentThreadId());
}

TEST(Mutex, ReleaseThatFailsThrowsAndKeepsTheOtherHolds) {
    Mutex mutex(true, "", false);
    ASSERT_TRUE(mutex.acquire(1000));
    ASSERT_TRUE(mutex.acquire(1000));
    {
        FailingCall<"ReleaseMutex", BOOL(HANDLE)> release(FALSE, ERROR_NOT_OWNER, 2);
        EXPECT_EQ(thrownBy([&] { mutex.release(); }),
                  (Thrown{"Mutex::release() ReleaseMutex failed", ERROR_NOT_OWNER, ".\\Mutex", 70}));
    }
    EXPECT_EQ(holdCountOf(mutex), 1u);
    mutex.release();
}

TEST(Mutex, AcquireWhoseWaitFailsThrows) {
    Mutex mutex(false, "", false);
    FailingWait wait(WAIT_FAILED, ERROR_INVALID_HANDLE);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(mutex.acquire(5)); }),
              (Thrown{"Mutex::acquire() WaitForSingleObject failed", ERROR_INVALID_HANDLE, ".\\Mutex", 103}));
}

TEST(Mutex, AcquireWithAnUnknownWaitResultThrows) {
    Mutex mutex(false, "", false);
    FailingWait wait(WAIT_IO_COMPLETION, 77);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(mutex.acquire(5)); }),
              (Thrown{"Mutex::acquire() WaitForSingleObject failed", 77, ".\\Mutex", 103}));
}

TEST(Mutex, AbandonedByItsEndedHolderIsAcquired) {
    const std::string name = uniqueName();
    Mutex mutex(false, name, false);
    Mutex ofTheHolder(false, name, false);
    onAnotherThread([&] { ASSERT_TRUE(ofTheHolder.acquire(1000)); });
    EXPECT_TRUE(mutex.acquire(1000));
    EXPECT_EQ(holdCountOf(mutex), 1u);
    EXPECT_EQ(memberAt<uint32_t>(mutex, ownerThreadOffset), GetCurrentThreadId());
    mutex.release();
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST(Mutex, AbandonedWaitResultCountsAsAcquired) {
    Mutex mutex(false, "", false);
    FailingWait wait(WAIT_ABANDONED, 0);
    EXPECT_TRUE(mutex.acquire(5));
    EXPECT_EQ(holdCountOf(mutex), 1u);
}

TEST(ScopedMutex, HoldsTheMutexForItsLife) {
    Mutex mutex(false, "", false);
    {
        const ScopedMutex guard(mutex);
        EXPECT_FALSE(isFreeForOthers(mutex));
    }
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST(ScopedMutex, WaitsWithoutTimeout) {
    Mutex mutex(false, "", false);
    DWORD timeout = 0;
    ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(GetModuleHandleA(nullptr),
                                                                 [&](HANDLE handle, DWORD milliseconds) {
                                                                     timeout = milliseconds;
                                                                     return wait.original(handle, milliseconds);
                                                                 });
    { const ScopedMutex guard(mutex); }
    EXPECT_EQ(timeout, 0xFFFFFFFFu);
}

TEST(ScopedMutex, ReleaseThatFailsIsNotNoticed) {
    Mutex mutex(false, "", false);
    FailingCall<"ReleaseMutex", BOOL(HANDLE)> release(FALSE, ERROR_NOT_OWNER);
    EXPECT_NO_THROW({ const ScopedMutex guard(mutex); });
    EXPECT_EQ(release.calls(), 1);
}

TEST(InterProcessLock, HoldsTheMutexForItsLife) {
    Mutex mutex(false, uniqueName(), true);
    {
        InterProcessLock lock(mutex);
        EXPECT_FALSE(isFreeForOthers(mutex));
    }
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST(InterProcessLock, WaitsWithoutTimeout) {
    Mutex mutex(false, uniqueName(), false);
    DWORD timeout = 0;
    ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(GetModuleHandleA(nullptr),
                                                                 [&](HANDLE handle, DWORD milliseconds) {
                                                                     timeout = milliseconds;
                                                                     return wait.original(handle, milliseconds);
                                                                 });
    { InterProcessLock lock(mutex); }
    EXPECT_EQ(timeout, 0xFFFFFFFFu);
}

TEST(InterProcessLock, MutexWithoutNameThrowsBeforeWaiting) {
    Mutex mutex(false, "", false);
    CountedCall<"WaitForSingleObject", DWORD(HANDLE, DWORD)> waits;
    EXPECT_EQ(thrownBy([&] { InterProcessLock lock(mutex); }),
              (Thrown{"InterProcessLock has no name", 0, ".\\InterProcessLock", 16}));
    EXPECT_EQ(waits.calls(), 0);
}

TEST(InterProcessLock, IgnoresThatTheMutexWasNotAcquired) {
    Mutex mutex(false, uniqueName(), false);
    FailingWait wait(WAIT_TIMEOUT, 0);
    EXPECT_NO_THROW({ InterProcessLock lock(mutex); });
}

TEST(InterProcessLock, ReleaseThatFailsThrows) {
    Mutex mutex(false, uniqueName(), false);
    FailingCall<"ReleaseMutex", BOOL(HANDLE)> release(FALSE, ERROR_NOT_OWNER);
    EXPECT_EQ(thrownBy([&] { InterProcessLock lock(mutex); }),
              (Thrown{"Mutex::release() ReleaseMutex failed", ERROR_NOT_OWNER, ".\\Mutex", 70}));
}

TEST(InterProcessLock, ReleaseThatFailsLeavesAnotherExceptionOnItsWay) {
    Mutex mutex(false, uniqueName(), false);
    FailingCall<"ReleaseMutex", BOOL(HANDLE)> release(FALSE, ERROR_NOT_OWNER);
    EXPECT_THROW(
        {
            InterProcessLock lock(mutex);
            throw std::length_error("on its way");
        },
        std::length_error);
    EXPECT_EQ(release.calls(), 1);
}
