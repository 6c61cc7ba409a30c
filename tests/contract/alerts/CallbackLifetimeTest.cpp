// Callbacks that are inside while binding and logger are to be destroyed: by the last unregistration, by a refused
// registration, and by one that fails half-way.
#include "platform/Exception.h"
#include "tests/contract/alerts/AlertFixture.h"
#include "tests/support/NetworkStandIn.h"

#include <atomic>
#include <cstring>
#include <thread>
#include <utility>

namespace kal::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class Event {
  public:
    ~Event() { CloseHandle(handle_); }
    void set() { SetEvent(handle_); }
    void wait() { WaitForSingleObject(handle_, INFINITE); }

  private:
    HANDLE handle_ = CreateEventA(nullptr, TRUE, FALSE, nullptr);
};

/// The library's clock, which its own waiting moves on.
class Clock {
  public:
    explicit Clock(HMODULE library)
        : ticks_(library, [this] { return now.load(); }), sleep_(library, [this](DWORD time) {
              now += time;
              waited += time;
              if (onSleep)
                  onSleep();
          }) {}

    std::atomic<DWORD> now = 0xFFFFFF00; // wraps while the library waits
    std::atomic<DWORD> waited = 0;
    std::function<void()> onSleep;

  private:
    ImportHook<"GetTickCount", DWORD()> ticks_;
    ImportHook<"Sleep", void(DWORD)> sleep_;
};

class CallbackLifetimeTest : public AlertTest {
  protected:
    CallbackLifetimeTest() {
        captureForWindow();
        service.does("OrxGetStringPrinter", [this](const ServiceCall &call) {
            if (whileReading)
                std::exchange(whileReading, nullptr)();
            std::strcpy(call.pointer<char>(3), "CpdPrinter");
            return 0u;
        });
    }

    uint32_t alert() { return deliver(powerOnReset(12)); }
    uint32_t alertFromAnotherThread() {
        uint32_t answer = 7;
        std::thread([&] { answer = alert(); }).join();
        return answer;
    }
    int32_t registerWith(const char *server) {
        return library.function<decltype(KalRegisterWithRpcServer)>("KalRegisterWithRpcServer")(server);
    }
    /// The service's library stays loaded until the binding is destroyed.
    void open(uint16_t handle) { ASSERT_EQ(library.function<decltype(KalOpen)>("KalOpen")(0, handle, 0), KAL_OKAY); }

    /// What happens, once, while a callback that is inside asks the service.
    std::function<void()> whileReading;
};

// ------------------------------------------------------------------------------- the last unregistration's wait

TEST_F(CallbackLifetimeTest, UnregistrationGivesUpAfterFiveSeconds) {
    Event isInside, mayGo;
    whileReading = [&] {
        isInside.set();
        mayGo.wait();
    };
    uint32_t answer = 7;
    std::thread printer([&] { answer = alert(); });
    isInside.wait();
    {
        Clock clock(library.module());
        unregisterApp();
        EXPECT_EQ(clock.waited, 5000u);
    }
    EXPECT_TRUE(service.isLoaded());
    EXPECT_EQ(service.count("OrxUninitialize"), 0u);
    EXPECT_EQ(alert(), 1u) << "nobody is registered";
    mayGo.set();
    printer.join();
    EXPECT_EQ(answer, 0u);
    EXPECT_THAT(posted(), ElementsAre(Posted{window, 0x5F4, 5, 0}));
    registerApp();
}

TEST_F(CallbackLifetimeTest, CallbackThatLeavesInTheLastMomentIsWaitedFor) {
    Event isInside, mayGo;
    whileReading = [&] {
        isInside.set();
        mayGo.wait();
    };
    std::thread printer([&] { EXPECT_EQ(alert(), 0u); });
    isInside.wait();
    {
        Clock clock(library.module());
        clock.onSleep = [&] {
            if (clock.waited == 4999) {
                mayGo.set();
                printer.join();
            }
        };
        unregisterApp();
        EXPECT_EQ(clock.waited, 4999u);
    }
    EXPECT_FALSE(service.isLoaded());
    registerApp();
}

TEST_F(CallbackLifetimeTest, CallbackThatWasGivenUpMayUseALaterRegistrationsLogger) {
    Event isInside, mayGo;
    whileReading = [&] {
        isInside.set();
        mayGo.wait();
    };
    std::thread printer([&] { EXPECT_EQ(alert(), 0u); });
    isInside.wait();
    {
        // A logger that was destroyed would be made again, with a mutex for its file.
        const ImportHook<"CreateMutexA", HANDLE(SECURITY_ATTRIBUTES *, BOOL, const char *)> loggers(
            library.module(), [](auto...) { return nullptr; });
        Clock clock(library.module());
        unregisterApp();
        registerApp();
        clock.waited = 0;
        unregisterApp(); // the callback is not one of this registration
        EXPECT_EQ(clock.waited, 0u);
        registerApp();
        EXPECT_EQ(loggers.calls(), 0);
    }
    machine.deleteLog();
    mayGo.set();
    printer.join();
    EXPECT_THAT(machine.logTexts(), ElementsAre("POR alert, posting WM_KAL_DSA", "ERROR_SUCCESS"));
}

TEST_F(CallbackLifetimeTest, CallbackWhoseThreadWasTerminatedDelaysOneUnregistrationOnly) {
    Event isInside, never;
    whileReading = [&] {
        isInside.set();
        never.wait();
    };
    std::function<void()> deliverOne = [this] { alert(); };
    const HANDLE thread = CreateThread(
        nullptr, 0,
        [](void *work) -> DWORD {
            (*static_cast<std::function<void()> *>(work))();
            return 0;
        },
        &deliverOne, 0, nullptr);
    isInside.wait();
    TerminateThread(thread, 1);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    Clock clock(library.module());
    unregisterApp();
    EXPECT_EQ(clock.waited, 5000u);
    service.forgetCalls();
    for (int round = 0; round < 3; ++round) {
        registerApp();
        open(9);
        unregisterApp();
    }
    EXPECT_EQ(clock.waited, 5000u);
    EXPECT_EQ(service.count("OrxInitialize"), 3u);
    EXPECT_EQ(service.count("OrxUninitialize"), 3u) << "later bindings are destroyed as ever";
    registerApp();
}

TEST_F(CallbackLifetimeTest, CallbackMayMakeTheLastUnregistration) {
    whileReading = [this] { unregisterApp(); };
    {
        const Clock clock(library.module());
        EXPECT_EQ(alert(), 0u);
        EXPECT_EQ(clock.waited, 0u);
    }
    EXPECT_TRUE(service.isLoaded()) << "the callback returns into the service";
    EXPECT_EQ(alert(), 1u);
    registerApp();
    EXPECT_EQ(library.function<decltype(KalClose)>("KalClose")(0, 5), DEVERR_INVHANDLE) << "the binding is a fresh one";
}

TEST_F(CallbackLifetimeTest, CallbackInACallbackMayMakeTheLastUnregistration) {
    whileReading = [this] {
        whileReading = [this] { unregisterApp(); };
        EXPECT_EQ(alert(), 0u);
    };
    const Clock clock(library.module());
    EXPECT_EQ(alert(), 0u);
    EXPECT_EQ(clock.waited, 0u);
    EXPECT_TRUE(service.isLoaded());
    registerApp();
}

TEST_F(CallbackLifetimeTest, CallbackMayUnregisterAndRegisterAgain) {
    whileReading = [this] {
        for (int round = 0; round < 2; ++round) {
            unregisterApp();
            registerApp();
            open(9);
        }
        unregisterApp();
    };
    {
        const Clock clock(library.module());
        EXPECT_EQ(alert(), 0u);
        EXPECT_EQ(clock.waited, 0u);
    }
    EXPECT_EQ(service.count("OrxUninitialize"), 2u) << "once for each binding that no callback uses";
    registerApp();
}

TEST_F(CallbackLifetimeTest, LibraryStaysLoadedWhenTheWaitIsGivenUp) {
    const StagedLibrary other;
    other.function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
    const uint32_t mask = 1;
    ASSERT_EQ(other.function<decltype(KalCaptureAlerts)>("KalCaptureAlerts")(0, 5, &mask, window), KAL_OKAY);
    onAlert = alertCallback();
    whileReading = [&] {
        other.function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
        FreeLibrary(other.module());
    };
    EXPECT_EQ(alert(), 0u); // returns into the library
    const std::string file = (other.folder() / "kalclient.dll").string();
    EXPECT_EQ(GetModuleHandleA(file.c_str()), other.module());
    LoadLibraryA(file.c_str()); // for its owner to free
}

// ------------------------------------------------------------------------- registrations that do not succeed

class RegistrationLifetimeTest : public CallbackLifetimeTest {
  protected:
    RegistrationLifetimeTest() {
        machine.setLogger("All", 0);
        machine.setLogger("LegacyClient", 0xFFFFFFF7); // the registration itself logs nothing and so waits for no line
        unregisterApp();
    }
    ~RegistrationLifetimeTest() override { registerApp(); }

    /// Fails a registration while a callback is inside, which logs. @return whether the registration ended first
    template <class Register>
    bool endsBeforeTheCallback(Register fail) {
        Event isInside;
        std::atomic<bool> isOver = false, isEarly = false;
        std::thread printer;
        const ImportHook<"WriteFile", BOOL(HANDLE, const void *, DWORD, DWORD *, OVERLAPPED *)> write(
            library.module(), [&](HANDLE file, const void *bytes, DWORD size, DWORD *written, OVERLAPPED *overlapped) {
                isInside.set();
                Sleep(200);
                isEarly = isEarly || isOver;
                return write.original(file, bytes, size, written, overlapped);
            });
        fail([&] {
            printer = std::thread([&] { EXPECT_EQ(alert(), 1u); });
            isInside.wait();
        });
        isOver = true;
        printer.join();
        EXPECT_GT(write.calls(), 0);
        return isEarly;
    }

    NetworkStandIn network{library.module()};
};

TEST_F(RegistrationLifetimeTest, CallbackFindsNoBindingWhileTheServerIsAsked) {
    for (const DWORD answer : {67u, 0u}) {
        network.answer = answer;
        forget();
        std::vector<std::string> lines;
        network.duringTheQuestion = [&] {
            EXPECT_EQ(alertFromAnotherThread(), 1u);
            lines = machine.logTexts();
        };
        EXPECT_EQ(registerWith("elsewhere"), answer == 0 ? 1 : -12);
        EXPECT_THAT(lines, ElementsAre("orxClient=NULL.", "KAL_FAIL"));
        EXPECT_THAT(service.sequence(), IsEmpty());
    }
    forget();
    EXPECT_EQ(alert(), 0u) << "let in after the registration";
    EXPECT_THAT(machine.logTexts(), Contains("No clients want this alert."));
    unregisterApp();
}

TEST_F(RegistrationLifetimeTest, RefusalWaitsForACallbackThatIsInside) {
    network.answer = 67;
    EXPECT_FALSE(endsBeforeTheCallback([this](const std::function<void()> &enter) {
        network.duringTheQuestion = enter;
        EXPECT_EQ(registerWith("elsewhere"), -12);
    }));
}

TEST_F(RegistrationLifetimeTest, RegistrationThatFailsHalfWayWaitsForACallbackThatIsInside) {
    EXPECT_FALSE(endsBeforeTheCallback([this](const std::function<void()> &enter) {
        const ImportHook<"GetModuleFileNameA", DWORD(HMODULE, char *, DWORD)> making(
            library.module(), [&](HMODULE module, char *buffer, DWORD size) {
                if (size != 261) // not the binding's
                    return making.original(module, buffer, size);
                enter();
                throw Win32Exception("making the binding", 5, "", 0);
            });
        EXPECT_EQ(registerWith(""), -12);
    }));
}

TEST_F(RegistrationLifetimeTest, RefusalAnswersCallbacksThatComeAfterIt) {
    network.answer = 67;
    EXPECT_EQ(registerWith("elsewhere"), -12);
    forget();
    EXPECT_EQ(alert(), 1u);
    EXPECT_THAT(machine.logTexts(), IsEmpty());
}

} // namespace
} // namespace kal::test
