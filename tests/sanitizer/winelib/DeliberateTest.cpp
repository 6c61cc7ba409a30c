// One defect of each kind that the sanitizers look for. ../run-suites.sh runs each alone and wants it reported: a check
// that reports nothing any more must not pass for a clean run. The last two have none.

#include "platform/CriticalSection.h"
#include "platform/Event.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <climits>
#include <mutex>
#include <thread>
#include <vector>

namespace {

volatile int sink;
int *volatile lost;

template <class Work>
void onTwoThreads(Work work) {
    std::thread first(work), second(work);
    first.join();
    second.join();
}

} // namespace

TEST(Reported, HeapOverrun) {
    std::vector<int> numbers(3);
    sink = *(numbers.data() + 3);
}

TEST(Reported, StackOverrun) {
    int numbers[3] = {};
    int *volatile start = numbers;
    sink = start[3];
}

TEST(Reported, Leak) {
    lost = new int(1);
    lost = nullptr;
}

TEST(Reported, SignedOverflow) {
    volatile int most = INT_MAX;
    sink = most + 1;
}

TEST(Reported, Race) {
    int shared = 0;
    onTwoThreads([&] {
        for (int count = 0; count < 1000; ++count) {
            ++shared;
            Sleep(0);
        }
    });
    sink = shared;
}

TEST(Clean, CountUnderACriticalSection) {
    kal::CriticalSection section;
    int shared = 0;
    onTwoThreads([&] {
        for (int count = 0; count < 1000; ++count) {
            const std::lock_guard guard(section);
            ++shared;
        }
    });
    EXPECT_EQ(shared, 2000);
}

TEST(Clean, ValueBehindAnEvent) {
    kal::Event written(true, false, "", false);
    int shared = 0;
    std::thread writer([&] {
        shared = 1;
        written.set();
    });
    EXPECT_TRUE(written.wait(INFINITE));
    EXPECT_EQ(shared, 1);
    writer.join();
}
