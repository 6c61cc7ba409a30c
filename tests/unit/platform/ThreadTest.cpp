#include "platform/Thread.h"

#include "platform/Event.h"
#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>

using namespace kal;
using namespace kal::test;

namespace {

constexpr uint32_t infinite = 0xFFFFFFFF;

using Procedure = unsigned(__stdcall *)(void *);
using BeginThreadSignature = uintptr_t(void *, unsigned, Procedure, void *, unsigned, unsigned *);
using BeginThread = ImportHook<"_beginthreadex", BeginThreadSignature>;

uint32_t answer42(void *) {
    return 42;
}

uint32_t giveBack(void *argument) {
    return *static_cast<uint32_t *>(argument);
}

uint32_t waitForSignal(void *event) {
    return WaitForSingleObjectEx(event, infinite, FALSE);
}

/// A runnable that blocks its thread until the end of the test; not through WaitForSingleObject, which tests replace.
struct Blocked {
    ScopedHandle signal{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    RunnableFunction work{waitForSignal, signal.get()};
    void release() const { SetEvent(signal.get()); }
};

constexpr size_t startRecordOffset = 8, stackSizeOffset = 16, threadIdOffset = 20, priorityOffset = 24,
                 handleOffset = 32, runnableOffset = 40;

DWORD exitCodeOf(const Thread &thread) {
    DWORD code = 0;
    GetExitCodeThread(memberAt<HANDLE>(thread, handleOffset), &code);
    return code;
}

} // namespace

TEST(RunnableFunction, RunCallsTheFunctionWithTheArgument) {
    uint32_t value = 0x80000001;
    EXPECT_EQ(RunnableFunction(giveBack, &value).run(), 0x80000001u);
}

TEST(RunnableFunction, RunIsTheSlotBehindTheDestructor) {
    RunnableFunction work(answer42, nullptr);
    Runnable &runnable = work;
    EXPECT_EQ(operationSlot<uint32_t(Runnable *)>(runnable, 1)(&runnable), 42u);
}

TEST(RunnableFunction, MembersAreFunctionThenArgument) {
    int argument = 0;
    const RunnableFunction work(answer42, &argument);
    EXPECT_EQ(memberAt<RunnableFunction::Function *>(work, 8), &answer42);
    EXPECT_EQ(memberAt<void *>(work, 16), &argument);
}

TEST(Runnable, DeletingSlotFreesTheObject) {
    struct Counted : Runnable {
        explicit Counted(int &destroyed) : destroyed_(destroyed) {}
        ~Counted() override { ++destroyed_; }
        uint32_t run() override { return 0; }
        int &destroyed_;
    };
    int destroyed = 0;
    Runnable *runnable = new Counted(destroyed); // freed by the slot under test
    virtualSlot<void(Runnable *)>(*runnable, 1)(runnable);
    EXPECT_EQ(destroyed, 1);
}

TEST(Thread, MembersBeforeTheStart) {
    RunnableFunction work(answer42, nullptr);
    const Thread thread(work);
    EXPECT_EQ(memberAt<void *>(thread, startRecordOffset), nullptr);
    EXPECT_EQ(memberAt<uint32_t>(thread, stackSizeOffset), 4096u);
    EXPECT_EQ(memberAt<uint32_t>(thread, threadIdOffset), 0u);
    EXPECT_EQ(memberAt<int32_t>(thread, priorityOffset), 0);
    EXPECT_EQ(memberAt<HANDLE>(thread, handleOffset), nullptr);
    EXPECT_EQ(memberAt<Runnable *>(thread, runnableOffset), &work);
}

TEST(Thread, StartRecordHoldsTheRunnableFirst) {
    RunnableFunction work(answer42, nullptr);
    Thread thread(work);
    thread.start();
    const auto *record = memberAt<Runnable **>(thread, startRecordOffset);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record[0], &work);
}

TEST(Thread, DestructorIsItsOnlyVirtualOperation) {
    RunnableFunction work(answer42, nullptr);
    auto *thread = new Thread(work); // freed by the slot under test
    thread->start();
    CountedCall<"CloseHandle", BOOL(HANDLE)> closed;
    virtualSlot<void(Thread *)>(*thread, 1)(thread);
    EXPECT_EQ(closed.calls(), 1);
}

TEST(Thread, ExitCodeIsWhatTheFunctionReturned) {
    uint32_t value = 0xDEADBEEF;
    RunnableFunction work(giveBack, &value);
    Thread thread(work);
    thread.start();
    ASSERT_TRUE(thread.join(infinite));
    EXPECT_EQ(exitCodeOf(thread), 0xDEADBEEFu);
}

TEST(Thread, RunsOnAThreadOfItsOwnWhoseIdItKnows) {
    RunnableFunction work([](void *) { return static_cast<uint32_t>(GetCurrentThreadId()); }, nullptr);
    Thread thread(work);
    thread.start();
    ASSERT_TRUE(thread.join(infinite));
    EXPECT_EQ(exitCodeOf(thread), thread.threadId());
    EXPECT_NE(thread.threadId(), GetCurrentThreadId());
}

TEST(Thread, JoinWithZeroOnARunningThreadIsFalseAtOnce) {
    Blocked blocked;
    Thread thread(blocked.work);
    thread.start();
    EXPECT_FALSE(thread.join(0));
    blocked.release();
}

TEST(Thread, JoinWithZeroOnAnEndedThreadIsTrue) {
    RunnableFunction work(answer42, nullptr);
    Thread thread(work);
    thread.start();
    ASSERT_TRUE(thread.join(infinite));
    EXPECT_TRUE(thread.join(0));
}

TEST(Thread, JoinTimesOut) {
    Blocked blocked;
    Thread thread(blocked.work);
    thread.start();
    EXPECT_FALSE(thread.join(20));
    blocked.release();
}

TEST(Thread, JoinOnAnAbandonedHandleIsTrue) {
    Blocked blocked;
    Thread thread(blocked.work);
    thread.start();
    {
        FailingWait abandoned(WAIT_ABANDONED, 0);
        EXPECT_TRUE(thread.join(infinite));
    }
    blocked.release();
}

TEST(Thread, JoinWhoseWaitFailsIsFalse) {
    Blocked blocked;
    Thread thread(blocked.work);
    thread.start();
    {
        FailingWait failed(WAIT_FAILED, ERROR_INVALID_HANDLE);
        EXPECT_FALSE(thread.join(infinite));
    }
    blocked.release();
}

TEST(Thread, DestroyingAThreadNeverStartedWaitsForNothing) {
    RunnableFunction work(answer42, nullptr);
    CountedCall<"WaitForSingleObject", DWORD(HANDLE, DWORD)> waits;
    CountedCall<"CloseHandle", BOOL(HANDLE)> closed;
    { Thread thread(work); }
    EXPECT_EQ(waits.calls(), 0);
    EXPECT_EQ(closed.calls(), 0);
}

TEST(Thread, DestroyingAStartedThreadWaitsForItsEnd) {
    bool ended = false;
    RunnableFunction work(
        [](void *flag) {
            Sleep(50);
            *static_cast<bool *>(flag) = true;
            return 0u;
        },
        &ended);
    {
        Thread thread(work);
        thread.start();
    }
    EXPECT_TRUE(ended);
}

TEST(Thread, StartReturnsOnlyWhenTheNewThreadHasBegun) {
    RunnableFunction work(answer42, nullptr);
    Thread thread(work);
    int signalsAtTheEnd = 0;
    {
        CountedCall<"SetEvent", BOOL(HANDLE)> signals;
        thread.start();
        signalsAtTheEnd = signals.calls();
        static_cast<void>(thread.join(infinite));
    }
    EXPECT_EQ(signalsAtTheEnd, 1);
}

TEST(Thread, StartEventIsUnnamedManualResetAndNotSignalled) {
    RunnableFunction work(answer42, nullptr);
    Thread thread(work);
    BOOL manualReset = FALSE, initialState = TRUE;
    std::string name = "?";
    ImportHook<"CreateEventA", HANDLE(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCSTR)> create(
        GetModuleHandleA(nullptr), [&](LPSECURITY_ATTRIBUTES attributes, BOOL manual, BOOL initial, LPCSTR given) {
            manualReset = manual;
            initialState = initial;
            name = given == nullptr ? "" : given;
            return create.original(attributes, manual, initial, given);
        });
    thread.start();
    EXPECT_TRUE(manualReset);
    EXPECT_FALSE(initialState);
    EXPECT_EQ(name, "");
}

TEST(Thread, StartGivesTheRuntimeStackSizeAndStartRecord) {
    RunnableFunction work(answer42, nullptr);
    Thread thread(work);
    unsigned stackSize = 0, flags = 99;
    void *security = &flags, *argument = nullptr;
    unsigned *identifier = nullptr;
    BeginThread begin(GetModuleHandleA(nullptr), [&](void *attributes, unsigned stack, Procedure procedure, void *given,
                                                     unsigned initFlags, unsigned *place) {
        security = attributes;
        stackSize = stack;
        argument = given;
        flags = initFlags;
        identifier = place;
        return begin.original(attributes, stack, procedure, given, initFlags, place);
    });
    thread.start();
    EXPECT_EQ(security, nullptr);
    EXPECT_EQ(stackSize, 4096u);
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(argument, memberAt<void *>(thread, startRecordOffset));
    EXPECT_EQ(reinterpret_cast<char *>(identifier) - reinterpret_cast<char *>(&thread),
              static_cast<ptrdiff_t>(threadIdOffset));
}

TEST(Thread, StartThatFailsThrowsTheLastError) {
    RunnableFunction work(answer42, nullptr);
    Thread thread(work);
    FailingCall<"_beginthreadex", BeginThreadSignature> begin(~uintptr_t{0}, ERROR_NOT_ENOUGH_MEMORY);
    Thrown thrown = thrownBy([&] { thread.start(); });
    EXPECT_GT(thrown.line, 0u); // the real line of the throw: it moves with the source
    thrown.line = 0;
    EXPECT_EQ(thrown, (Thrown{"Thread::start()", ERROR_NOT_ENOUGH_MEMORY, ".\\Thread", 0}));
}

TEST(Thread, StartThatFailsGivesTheStartEventBack) {
    RunnableFunction work(answer42, nullptr);
    CountedCall<"CloseHandle", BOOL(HANDLE)> closed;
    CountedCall<"WaitForSingleObject", DWORD(HANDLE, DWORD)> waits;
    {
        Thread thread(work);
        FailingCall<"_beginthreadex", BeginThreadSignature> begin(~uintptr_t{0}, ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_THROW(thread.start(), Win32Exception);
        EXPECT_EQ(memberAt<HANDLE>(thread, handleOffset), nullptr);
    }
    EXPECT_EQ(closed.calls(), 1);
    EXPECT_EQ(waits.calls(), 0);
}

TEST(Thread, StartWhoseWaitFailsEndsTheThreadBeforeItThrows) {
    uint32_t value = 42;
    RunnableFunction work(giveBack, &value);
    Thread thread(work);
    DWORD joinTimeout = 0;
    ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(GetModuleHandleA(nullptr),
                                                                 [&](HANDLE handle, DWORD milliseconds) {
                                                                     if (wait.calls() == 1) {
                                                                         SetLastError(ERROR_INVALID_HANDLE);
                                                                         return WAIT_FAILED;
                                                                     }
                                                                     joinTimeout = milliseconds;
                                                                     return wait.original(handle, milliseconds);
                                                                 });
    EXPECT_EQ(thrownBy([&] { thread.start(); }),
              (Thrown{"Event::wait() failed", ERROR_INVALID_HANDLE, ".\\Event", 145}));
    EXPECT_EQ(joinTimeout, infinite);
    EXPECT_EQ(exitCodeOf(thread), 42u);
}

TEST(Thread, ThreadThatCanNeitherBeWaitedForNorAskedIsLeftToItself) {
    RunnableFunction work(answer42, nullptr);
    std::optional<Thread> thread(std::in_place, work);
    thread->start();
    ASSERT_TRUE(thread->join(infinite));
    const FailingWait wait(WAIT_FAILED, ERROR_INVALID_HANDLE);
    int asked = 0;
    const ImportHook<"GetExitCodeThread", BOOL(HANDLE, DWORD *)> ask(
        GetModuleHandleA(nullptr), [&](HANDLE, DWORD *code) {
            *code = STILL_ACTIVE;
            return ++asked > 1; // were the failure taken for an answer, it would be asked again
        });
    thread.reset();
    EXPECT_EQ(asked, 1);
}

TEST(Thread, StartWithoutEventThrowsTheEventsException) {
    RunnableFunction work(answer42, nullptr);
    Thread thread(work);
    FailingCall<"CreateEventA", HANDLE(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCSTR)> create(nullptr, ERROR_OUTOFMEMORY);
    EXPECT_EQ(thrownBy([&] { thread.start(); }), (Thrown{"Event::createEvent() failed", ERROR_OUTOFMEMORY, "", 0}));
}

TEST(Thread, NullHandleOfTheRuntimeIsNoFailure) {
    RunnableFunction work(answer42, nullptr);
    Thread thread(work);
    BeginThread begin(GetModuleHandleA(nullptr),
                      [](void *, unsigned, Procedure procedure, void *argument, unsigned, unsigned *) {
                          procedure(argument);
                          return uintptr_t{0};
                      });
    EXPECT_NO_THROW(thread.start());
    EXPECT_EQ(memberAt<HANDLE>(thread, handleOffset), nullptr);
}

TEST(Thread, PriorityIsSetToNormalAndItsFailureIgnored) {
    RunnableFunction work(answer42, nullptr);
    Thread thread(work);
    int priority = 99;
    ImportHook<"SetThreadPriority", BOOL(HANDLE, int)> set(GetModuleHandleA(nullptr), [&](HANDLE, int given) {
        priority = given;
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    EXPECT_NO_THROW(thread.start());
    EXPECT_EQ(priority, 0);
}
