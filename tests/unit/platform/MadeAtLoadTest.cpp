#include "platform/MadeAtLoad.h"

#include "platform/Mutex.h"
#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

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
    const Thrown expected = {"Mutex::createMutex() CreateMutex failed", 5, ".\\Mutex", 120};
    EXPECT_EQ(thrownBy([&] { static_cast<void>(mutex.get()); }), expected);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(mutex.get()); }), expected);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(std::as_const(mutex).get()); }), expected);
}
