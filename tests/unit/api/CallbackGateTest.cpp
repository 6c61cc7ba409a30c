#include "api/CallbackGate.h"

#include "tests/support/ImportHook.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

using kal::CallbackGate;
using kal::OrxClient;
using kal::test::ImportHook;

namespace {

constexpr uintptr_t thread = 0x1000, otherThread = 0x2000;

/// The gate only passes the binding on.
OrxClient *const client = reinterpret_cast<OrxClient *>(0x10);
OrxClient *const laterClient = reinterpret_cast<OrxClient *>(0x20);

class OpenGate : public testing::Test {
  protected:
    OpenGate() {
        gate.open();
        gate.admit(client);
    }
    CallbackGate gate;
};

} // namespace

TEST(CallbackGate, IsClosedAtFirst) {
    CallbackGate gate;
    EXPECT_EQ(gate.enter(thread).place, nullptr);
    EXPECT_TRUE(gate.isEmpty());
}

TEST(CallbackGate, OpenWithoutABindingLetsCallbacksInWithoutOne) {
    CallbackGate gate;
    gate.open();
    const auto visit = gate.enter(thread);
    EXPECT_NE(visit.place, nullptr);
    EXPECT_EQ(visit.client, nullptr);
    EXPECT_FALSE(gate.isEmpty());
}

TEST_F(OpenGate, GivesTheBinding) {
    EXPECT_EQ(gate.enter(thread).client, client);
}

TEST_F(OpenGate, IsEmptyWhenEveryCallbackHasLeft) {
    const auto first = gate.enter(thread);
    const auto second = gate.enter(thread);
    CallbackGate::leave(*first.place);
    EXPECT_FALSE(gate.isEmpty());
    CallbackGate::leave(*second.place);
    EXPECT_TRUE(gate.isEmpty());
}

TEST_F(OpenGate, KnowsTheThreadsInside) {
    const auto visit = gate.enter(thread);
    EXPECT_TRUE(gate.holds(thread));
    EXPECT_FALSE(gate.holds(otherThread));
    CallbackGate::leave(*visit.place);
    EXPECT_FALSE(gate.holds(thread));
}

TEST_F(OpenGate, LetsNobodyInAfterItWasClosed) {
    const auto visit = gate.enter(thread);
    gate.close();
    EXPECT_EQ(gate.enter(otherThread).place, nullptr);
    EXPECT_FALSE(gate.holds(otherThread));
    CallbackGate::leave(*visit.place);
    EXPECT_TRUE(gate.isEmpty());
}

TEST_F(OpenGate, ForgetsTheBindingWhenItIsClosed) {
    gate.close();
    gate.open();
    EXPECT_EQ(gate.enter(thread).client, nullptr);
}

TEST_F(OpenGate, AbandonedCallbacksAreNotAwaited) {
    const auto visit = gate.enter(thread);
    gate.close();
    EXPECT_TRUE(gate.abandon());
    EXPECT_TRUE(gate.isEmpty());
    EXPECT_FALSE(gate.holds(thread));
    EXPECT_TRUE(gate.hasAbandoned());
    CallbackGate::leave(*visit.place);
    EXPECT_FALSE(gate.hasAbandoned());
}

TEST_F(OpenGate, AbandoningNobodyIsReported) {
    EXPECT_FALSE(gate.abandon());
    const auto visit = gate.enter(thread);
    EXPECT_TRUE(gate.abandon());
    EXPECT_FALSE(gate.abandon()) << "the callback was abandoned before";
    CallbackGate::leave(*visit.place);
    EXPECT_FALSE(gate.hasAbandoned());
}

TEST_F(OpenGate, CallbacksOfTheNextRegistrationAreAwaitedAgain) {
    const auto abandoned = gate.enter(thread);
    gate.close();
    gate.abandon();
    gate.open();
    gate.admit(laterClient);
    const auto visit = gate.enter(thread);
    EXPECT_EQ(visit.client, laterClient);
    EXPECT_TRUE(gate.holds(thread));
    CallbackGate::leave(*abandoned.place);
    EXPECT_FALSE(gate.isEmpty());
    CallbackGate::leave(*visit.place);
    EXPECT_TRUE(gate.isEmpty());
}

TEST_F(OpenGate, HasAPlaceForEachOfManyCallbacks) {
    constexpr uintptr_t count = 100;
    std::set<CallbackGate::Place *> places;
    for (uintptr_t number = 1; number <= count; ++number) {
        const auto visit = gate.enter(number * 2);
        ASSERT_NE(visit.place, nullptr) << number;
        EXPECT_EQ(visit.client, client);
        places.insert(visit.place);
    }
    EXPECT_EQ(places.size(), count);
    EXPECT_TRUE(gate.holds(count * 2));
    EXPECT_FALSE(gate.holds(count * 2 + 2));
    EXPECT_TRUE(gate.abandon());
    EXPECT_TRUE(gate.isEmpty());
    for (auto *const place : places)
        CallbackGate::leave(*place);
    EXPECT_FALSE(gate.hasAbandoned());
}

TEST_F(OpenGate, TurnsACallbackAwayWithoutMemoryForItsPlace) {
    constexpr int placesWithoutAllocation = 16;
    int left = 0, entered = 0;
    const ImportHook<"malloc", void *(size_t)> memory(
        GetModuleHandleA(nullptr), [&](size_t size) { return left-- == 0 ? nullptr : memory.original(size); });
    while (entered <= placesWithoutAllocation && gate.enter(thread).place != nullptr) {
        ++entered;
    }
    EXPECT_EQ(entered, placesWithoutAllocation);
    EXPECT_NE(gate.enter(otherThread).place, nullptr) << "there is memory again";
}

TEST_F(OpenGate, UsesThePlacesOfThoseWhoLeft) {
    const auto visit = gate.enter(thread);
    CallbackGate::leave(*visit.place);
    EXPECT_EQ(gate.enter(otherThread).place, visit.place);
}

// Each binding is destroyed as the library destroys it; the callbacks must never see one that was.
TEST(CallbackGate, NoCallbackHasABindingThatWasDestroyed) {
    constexpr int rounds = 300;
    CallbackGate gate;
    std::vector<std::atomic<bool>> isDestroyed(rounds);
    std::atomic<bool> isOver = false;
    std::atomic<int> seen = 0, wrong = 0;
    std::vector<std::thread> callers;
    for (uintptr_t number = 1; number <= 3; ++number)
        callers.emplace_back([&, number] {
            while (!isOver) {
                const auto visit = gate.enter(number * 2);
                if (visit.place == nullptr) {
                    std::this_thread::yield();
                    continue;
                }
                if (visit.client != nullptr) {
                    ++seen;
                    wrong += isDestroyed[reinterpret_cast<uintptr_t>(visit.client) - 1] ? 1 : 0;
                    std::this_thread::yield();
                    wrong += isDestroyed[reinterpret_cast<uintptr_t>(visit.client) - 1] ? 1 : 0;
                }
                CallbackGate::leave(*visit.place);
            }
        });
    for (size_t round = 0; round < rounds || seen == 0; ++round) {
        gate.open();
        const size_t used = round % rounds;
        isDestroyed[used] = false;
        gate.admit(reinterpret_cast<OrxClient *>(used + 1));
        std::this_thread::yield();
        gate.close();
        while (!gate.isEmpty())
            std::this_thread::yield();
        isDestroyed[used] = true;
    }
    isOver = true;
    for (std::thread &caller : callers)
        caller.join();
    EXPECT_GT(seen, 0);
    EXPECT_EQ(wrong, 0);
}
