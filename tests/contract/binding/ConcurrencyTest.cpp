// The binding under many threads.
#include "tests/contract/binding/BindingFixture.h"
#include "tests/support/EveryCore.h"

#include <atomic>
#include <thread>

using namespace kal::test;

namespace {

void onThreads(int count, const std::function<void(int)> &work) {
    const EveryCore everyCore;
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number)
        threads.emplace_back(work, number);
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace

TEST_F(Binding, ConcurrentFirstCallersShareOneIdentifier) {
    std::atomic<int> begun = 0;
    service.does("OrxGetClientId", [&](const ServiceCall &call) {
        while (begun < 4)
            Sleep(1);
        Sleep(50); // from there to the lock is not far
        *call.pointer<uint32_t>(0) = 7;
        return 0u;
    });
    onThreads(4, [&](int) {
        ++begun;
        client->acquireBinding();
    });
    EXPECT_EQ(service.count("OrxGetClientId"), 1u);
    EXPECT_EQ(service.loads(), 1);
    expectReferences(4);
}

TEST_F(Binding, ServiceIsCalledUnderNoLock) {
    std::atomic<bool> inside = false;
    std::atomic<bool> met = false;
    service.does("OrxDiscovery", [&](const ServiceCall &) {
        if (inside.exchange(true))
            met = true;
        for (int waited = 0; waited < 2000 && !met; ++waited)
            Sleep(1);
        return 0u;
    });
    onThreads(2, [&](int) { client->Discovery(nullptr, nullptr); });
    EXPECT_TRUE(met); // both threads were inside the service at once
}

TEST_F(Binding, ManyThreadsLeaveNothingHeld) {
    std::atomic<int> failures = 0;
    onThreads(8, [&](int number) {
        const auto own = static_cast<uint32_t>(0x100 + number);
        for (int round = 0; round < 25; ++round) {
            failures += client->OpenPrinter(own) != 0;
            failures += client->Discovery(nullptr, nullptr) != 0;
            failures += client->WritePrinter(own, nullptr, 0, nullptr) != 0;
            failures += client->ClosePrinter(own) != 0;
            failures += client->ClosePrinter(own) != 1;
        }
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(service.loads(), service.unloads());
    expectIdle();
}

TEST_F(Binding, ManyThreadsMayOpenAndCloseOneHandle) {
    onThreads(8, [&](int) {
        for (int round = 0; round < 25; ++round) {
            EXPECT_EQ(client->OpenPrinter(handle), 0u);
            EXPECT_EQ(client->ClosePrinter(handle), 0u);
        }
    });
    EXPECT_EQ(client->ClosePrinter(handle), 1u);
    expectIdle();
}

TEST_F(Binding, OpenThatIsClosedTwiceAtOnceGivesItsReferencesBackOnce) {
    hold();
    open();
    service.does("OrxClosePrinter", [&](const ServiceCall &) {
        return service.count("OrxClosePrinter") == 1 ? client->ClosePrinter(handle) : 0u;
    });
    EXPECT_EQ(client->ClosePrinter(handle), 0u);
    EXPECT_EQ(service.count("OrxClosePrinter"), 2u);
    expectReferences(1);
}
