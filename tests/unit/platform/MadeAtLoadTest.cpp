#include "platform/MadeAtLoad.h"

#include "platform/Exception.h"
#include "platform/Mutex.h"
#include "tests/unit/platform/FailingCall.h"

#include <gtest/gtest.h>

#include <string>

using namespace kal;
using namespace kal::test;

TEST(MadeAtLoad, GivesTheObject) {
    const MadeAtLoad<std::string> text(3, 'x');
    EXPECT_EQ(text.get(), "xxx");
}

TEST(MadeAtLoad, ObjectCanBeChanged) {
    MadeAtLoad<std::string> text("a");
    text.get() += "b";
    EXPECT_EQ(text.get(), "ab");
}

TEST(MadeAtLoad, FailureIsRaisedAtEachUseOnly) {
    const FailingCall<"CreateMutexA", HANDLE(SECURITY_ATTRIBUTES *, BOOL, const char *)> call(nullptr, 5);
    MadeAtLoad<Mutex> mutex(false, "", false);
    for (int use = 0; use < 2; ++use) {
        try {
            static_cast<void>(mutex.get());
            ADD_FAILURE() << "nothing was raised";
        } catch (const Win32Exception &raised) {
            EXPECT_EQ(raised.message(), "Mutex::createMutex() CreateMutex failed");
            EXPECT_EQ(raised.code(), 5u);
        }
    }
}
