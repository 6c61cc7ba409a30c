// The binding with nothing between its locks and many threads: a service that does nothing, held loaded, so that
// neither loading nor the log nor the system gives the threads a rest.
#include "service/OrxClient.h"
#include "tests/support/ServiceHost.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

using namespace kal;
using namespace kal::test;

namespace {

constexpr ServiceHost idleService = {[](HMODULE) {}, [](HMODULE) {},
                                     [](EntryPoint, const uint64_t *) { return uint32_t{0}; }};

void useIdleService() {
    char text[64];
    std::snprintf(text, sizeof text, "%lx:%llx", GetCurrentProcessId(),
                  static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(&idleService)));
    SetEnvironmentVariableA(serviceHostVariable, text);
}

} // namespace

TEST(BindingUnderLoad, EightThreadsOpenUseAndCloseTensOfThousandsOfTimes) {
    constexpr uint32_t threadCount = 8, rounds = 6000, handlesOfThread = 4, sharedHandle = 0xFFFF;
    useIdleService();
    {
        OrxClient client(GetModuleHandleA(nullptr), "", false);
        ASSERT_EQ(client.acquireBinding(), 0u);
        std::atomic<uint32_t> failures = 0, ready = 0;
        std::vector<std::thread> threads;
        for (uint32_t number = 0; number < threadCount; ++number)
            threads.emplace_back([&, number] {
                for (++ready; ready < threadCount;)
                    Sleep(0);
                for (uint32_t round = 0; round < rounds; ++round) {
                    const uint32_t own = number * handlesOfThread + round % handlesOfThread;
                    failures += client.OpenPrinter(own) != 0;
                    failures += client.OpenPrinter(sharedHandle) != 0;
                    failures += client.CancelJobPrinter(own) != 0;
                    failures += client.ClosePrinter(sharedHandle) != 0; // each thread has opened it once itself
                    failures += client.ClosePrinter(own) != 0;
                    failures += client.CancelJobPrinter(own) != ERROR_INVALID_FUNCTION;
                }
            });
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(failures, 0u);
        EXPECT_EQ(client.ClosePrinter(sharedHandle), ERROR_INVALID_FUNCTION);
        EXPECT_NE(GetModuleHandleA("comc.dll"), nullptr);
        client.releaseBinding();
        EXPECT_EQ(GetModuleHandleA("comc.dll"), nullptr) << "references are left over";
    }
    SetEnvironmentVariableA(serviceHostVariable, nullptr);
}
