#include "platform/MadeAtFirstUse.h"

#include "platform/Mutex.h"
#include "tests/support/ImportHook.h"
#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

using namespace kal;
using namespace kal::test;

namespace {

struct Counted {
    explicit Counted(std::atomic<int> &made) { ++made; }
};

} // namespace

TEST(MadeAtFirstUse, IsMadeOnceOfTheFirstUsesArguments) {
    MadeAtFirstUse<std::string> text;
    EXPECT_EQ(text.get(3, 'x'), "xxx");
    text.get(3, 'x') += "y";
    EXPECT_EQ(text.get(2, 'z'), "xxxy");
}

TEST(MadeAtFirstUse, FailureGoesToTheUserAndTheNextUseTriesAgain) {
    ProcessMutex mutex;
    {
        const FailingCall<"CreateMutexA", HANDLE(SECURITY_ATTRIBUTES *, BOOL, const char *)> call(nullptr, 5);
        const Thrown expected = {"Mutex::createMutex() CreateMutex failed", 5, ".\\Mutex", 120};
        EXPECT_EQ(thrownBy([&] { static_cast<void>(mutex.get()); }), expected);
        EXPECT_EQ(thrownBy([&] { static_cast<void>(mutex.get()); }), expected);
    }
    EXPECT_TRUE(mutex.get().acquire(waitWithoutTimeout));
    mutex.get().release();
}

TEST(MadeAtFirstUse, ThreadsThatComeTogetherShareOneObject) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> made = 0;
        MadeAtFirstUse<Counted> object;
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] { static_cast<void>(object.get(std::ref(made))); });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        ASSERT_EQ(made, 1);
    }
}

TEST(ProcessMutex, CostsNoSystemCallUntilItIsAcquired) {
    const ImportHook<"CreateMutexA", HANDLE(SECURITY_ATTRIBUTES *, BOOL, const char *)> make(
        GetModuleHandleA(nullptr), [&](SECURITY_ATTRIBUTES *attributes, BOOL isOwned, const char *name) {
            return make.original(attributes, isOwned, name);
        });
    ProcessMutex mutex;
    EXPECT_EQ(make.calls(), 0);
    for (int use = 0; use < 3; ++use) {
        const ScopedMutex guard(mutex.get());
    }
    EXPECT_EQ(make.calls(), 1);
}
