#include "platform/Event.h"

#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"

#include <gtest/gtest.h>

#include <string>

using namespace kal;
using namespace kal::test;

namespace {

using CreateEventSignature = HANDLE(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCSTR);

constexpr size_t cancelledOffset = 40, lastErrorOffset = 44;

} // namespace

TEST(Event, MembersAreHandleNameFlagError) {
    Event event(true, false, "", false);
    EXPECT_NE(memberAt<HANDLE>(event, 0), nullptr);
    event.cancelNextWait();
    EXPECT_TRUE(memberAt<bool>(event, cancelledOffset));
    EXPECT_EQ(memberAt<uint32_t>(event, lastErrorOffset), 0u);
}

TEST(Event, ManualResetStaysSignalled) {
    Event event(true, false, "", false);
    event.set();
    EXPECT_TRUE(event.wait(0));
    EXPECT_TRUE(event.wait(0));
}

TEST(Event, AutomaticResetIsSignalledOnce) {
    Event event(false, false, "", false);
    event.set();
    EXPECT_TRUE(event.wait(0));
    EXPECT_FALSE(event.wait(0));
}

TEST(Event, InitialStateIsSignalled) {
    Event event(false, true, "", false);
    EXPECT_TRUE(event.wait(0));
}

TEST(Event, NameReachesTheKernelAsItStands) {
    const std::string name = "kal-event-test-" + std::to_string(GetCurrentProcessId());
    Event event(true, false, name, false);
    const HANDLE opened = OpenEventA(SYNCHRONIZE, FALSE, name.c_str());
    EXPECT_NE(opened, nullptr);
    CloseHandle(opened);
}

TEST(Event, SecurityAttributesComeWithEveryoneAccessOnly) {
    bool hasDescriptor = false;
    ImportHook<"CreateEventA", CreateEventSignature> create(
        GetModuleHandleA(nullptr), [&](LPSECURITY_ATTRIBUTES attributes, BOOL manual, BOOL initial, LPCSTR name) {
            hasDescriptor = attributes != nullptr && attributes->lpSecurityDescriptor != nullptr;
            return create.original(attributes, manual, initial, name);
        });
    Event closed(true, false, "", false);
    EXPECT_FALSE(hasDescriptor);
    Event open(true, false, "", true);
    EXPECT_TRUE(hasDescriptor);
}

TEST(Event, CreationThatFailsThrows) {
    FailingCall<"CreateEventA", CreateEventSignature> create(nullptr, ERROR_INVALID_HANDLE);
    EXPECT_EQ(thrownBy([] { Event event(true, false, "", false); }),
              (Thrown{"Event::createEvent() failed", ERROR_INVALID_HANDLE, "", 0}));
}

TEST(Event, SetThatFailsThrowsAndKeepsTheCode) {
    Event event(true, false, "", false);
    FailingCall<"SetEvent", BOOL(HANDLE)> set(FALSE, ERROR_ACCESS_DENIED);
    EXPECT_EQ(thrownBy([&] { event.set(); }), (Thrown{"Event::set() failed", ERROR_ACCESS_DENIED, ".\\Event", 70}));
    EXPECT_EQ(event.lastError(), static_cast<uint32_t>(ERROR_ACCESS_DENIED));
}

TEST(Event, WaitTimesOut) {
    Event event(true, false, "", false);
    EXPECT_FALSE(event.wait(10));
}

TEST(Event, WaitThatFailsThrows) {
    Event event(true, true, "", false);
    FailingWait wait(WAIT_FAILED, ERROR_INVALID_HANDLE);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(event.wait(10)); }),
              (Thrown{"Event::wait() failed", ERROR_INVALID_HANDLE, ".\\Event", 145}));
}

TEST(Event, WaitWithAnyOtherResultIsFalse) {
    Event event(true, true, "", false);
    FailingWait wait(WAIT_ABANDONED, 0);
    EXPECT_FALSE(event.wait(10));
}

TEST(Event, CancelledWaitIsFalseOnceAndTrueOnTheNextSignal) {
    Event event(false, false, "", false);
    event.cancelNextWait();
    event.set();
    EXPECT_FALSE(event.wait(1000));
    event.set();
    EXPECT_TRUE(event.wait(1000));
}

TEST(Event, TimeoutKeepsTheCancellation) {
    Event event(false, false, "", false);
    event.cancelNextWait();
    EXPECT_FALSE(event.wait(1));
    event.set();
    EXPECT_FALSE(event.wait(1000));
}
