#include "platform/CriticalSection.h"

#include "tests/support/EveryCore.h"
#include "tests/support/ImportHook.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

using namespace kal;
using namespace kal::test;
using testing::Contains;

TEST(CriticalSection, IsDeletedWithItsOwner) {
    std::vector<CRITICAL_SECTION *> deleted;
    const ImportHook<"DeleteCriticalSection", void(CRITICAL_SECTION *)> deletion(GetModuleHandleA(nullptr),
                                                                                 [&](CRITICAL_SECTION *section) {
                                                                                     deleted.push_back(section);
                                                                                     deletion.original(section);
                                                                                 });
    const void *place = nullptr;
    {
        const CriticalSection section;
        place = &section;
    }
    EXPECT_THAT(deleted, Contains(place));
}

TEST(CriticalSection, ItsOwnerMayTakeItAgain) {
    CriticalSection section;
    const std::lock_guard outer(section);
    const std::lock_guard inner(section);
}

TEST(CriticalSection, KeepsOthersOutWhileItIsHeld) {
    const EveryCore everyCore;
    CriticalSection section;
    int value = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&] {
            for (int round = 0; round < 5000; ++round) {
                const std::lock_guard guard(section);
                value = value + 1;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(value, 20000);
}
