// The last unregistration under the loader lock, while a callback of the service is inside: it must not hang.
#include "tests/process/ChildProcess.h"
#include "tests/process/DetachReport.h"

#include <gtest/gtest.h>

using namespace kal::test;

TEST(UnregistrationUnderTheLoaderLock, AtTheEndOfTheProcessWaitsForNoCallback) {
    const ChildProcess ending("detaching_client.exe", "end");
    EXPECT_EQ(ending.exitCode(), static_cast<DWORD>(detachReturned));
}

TEST(UnregistrationUnderTheLoaderLock, GivesUpACallbackThatNeedsTheLock) {
    const ChildProcess freeing("detaching_client.exe", "free");
    EXPECT_EQ(freeing.exitCode(), 0u);
}
