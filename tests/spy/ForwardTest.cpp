#include "tests/spy/SpyFixture.h"

#include "comc/EntryPoints.h"
#include "tests/support/EveryCore.h"
#include "tests/support/ExportDirectory.h"
#include "tests/support/GuardedBuffer.h"

#include <numeric>
#include <thread>

using namespace kal::test;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::SizeIs;

namespace {

class Forwarding : public SpyTest {
  protected:
    Forwarding() { load(); }
};

uint32_t answerToEnum = 0;
std::vector<uint32_t> enumerated;

uint32_t takePrinter(uint32_t handle) {
    enumerated.push_back(handle);
    return answerToEnum;
}

std::string alertTaken;

uint32_t takeAlert(uint32_t handle, const uint8_t *alert, uint32_t length) {
    alertTaken = std::to_string(handle) + std::string(reinterpret_cast<const char *>(alert), length);
    return 7;
}

/// Whether a library can be loaded; frees it again.
bool canBeLoaded(const std::filesystem::path &file) {
    const HMODULE library = LoadLibraryW(file.c_str());
    return library != nullptr && FreeLibrary(library) != 0;
}

} // namespace

TEST_F(Forwarding, EveryEntryPointIsThere) {
    EXPECT_THAT(exportNames(module), testing::UnorderedElementsAreArray(entryPointNames()));
}

TEST_F(Forwarding, EveryWordArrivesWhole) {
    service.answers("OrxGetClientId", 0); // otherwise the fake service writes to the address in the first argument
    for (const std::string &name : entryPointNames()) {
        // Invalid values in all arguments: the spy must not read such addresses or replace them with relays.
        exported<uint64_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t)>(
            module, name.c_str())(0x1111'0000'0000'1001, 0x2222'0000'0000'1002, 0x3333'0000'0000'1003,
                                  0x4444'0000'0000'1004, 0x5555'0000'0000'1005, 0x6666'0000'0000'1006,
                                  0x7777'0000'0000'1007, 0x8888'0000'0000'1008);
        EXPECT_THAT(service.lastCall(name).arguments,
                    ElementsAre(0x1111'0000'0000'1001, 0x2222'0000'0000'1002, 0x3333'0000'0000'1003,
                                0x4444'0000'0000'1004, 0x5555'0000'0000'1005, 0x6666'0000'0000'1006,
                                0x7777'0000'0000'1007, 0x8888'0000'0000'1008))
            << name;
    }
}

TEST_F(Forwarding, ResultsPass) {
    for (const std::string &name : entryPointNames()) {
        service.answers(name, 4711);
        EXPECT_EQ(static_cast<uint32_t>(exported<uint64_t(uint64_t, uint64_t)>(module, name.c_str())(1, 5)), 4711u)
            << name;
    }
    const auto recorded = calls();
    EXPECT_THAT(recorded, SizeIs(entryPointNames().size()));
    for (const auto &each : recorded) {
        EXPECT_EQ(each.end.value().result, 4711u) << each.begin.entryPoint;
    }
}

TEST_F(Forwarding, LastErrorPassesBothWays) {
    DWORD seen = 0;
    service.does("OrxOpenPrinter", [&](const ServiceCall &) {
        seen = GetLastError();
        SetLastError(1234);
        return 5u;
    });
    SetLastError(77);
    call("OrxOpenPrinter", 1, 5);
    EXPECT_EQ(GetLastError(), 1234u);
    EXPECT_EQ(seen, 77u);
    EXPECT_EQ(calls().back().end->lastError, 1234u);
}

TEST_F(Forwarding, LastErrorThatTheServiceLeavesAloneStays) {
    SetLastError(77);
    call("OrxOpenPrinter", 1, 5);
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_FALSE(calls().back().end->lastError);
}

TEST_F(Forwarding, BuffersAreTheCallersOwn) {
    const GuardedBuffer buffer(6);
    uint32_t length = 0;
    service.stringProperty("Port", "USB01");
    EXPECT_EQ(call("OrxGetStringPrinter", 1, 5, word("<Name>Port</Name>"), word(buffer.data()), 6, word(&length)), 0u);
    EXPECT_STREQ(reinterpret_cast<const char *>(buffer.data()), "USB01");
    const auto recorded = calls().back();
    EXPECT_EQ(recorded.begin.values["descriptor"], "<Name>Port</Name>");
    EXPECT_EQ(recorded.end->values["buffer"]["hex"], "555342303100");
    EXPECT_EQ(recorded.end->values["length"], 6);
}

TEST_F(Forwarding, ExceptionPasses) {
    service.does("OrxOpenPrinter", [](const ServiceCall &) -> uint32_t { throw std::runtime_error("broken"); });
    EXPECT_THROW(call("OrxOpenPrinter", 1, 5), std::runtime_error);
    EXPECT_TRUE(calls().back().end.value().raised);
}

TEST_F(Forwarding, CallAfterAnExceptionIsNotWithinIt) {
    service.does("OrxOpenPrinter", [](const ServiceCall &) -> uint32_t { throw std::runtime_error("broken"); });
    EXPECT_THROW(call("OrxOpenPrinter", 1, 5), std::runtime_error);
    call("OrxClosePrinter", 1, 5);
    EXPECT_FALSE(calls().back().begin.within);
}

TEST_F(Forwarding, EnumerationCallsTheClientWithinTheCall) {
    enumerated.clear();
    answerToEnum = 512;
    uint32_t answered = 0;
    service.does("OrxEnumPrinters", [&](const ServiceCall &each) {
        answered = each.callback<uint32_t(uint32_t)>(3)(0x6001);
        return 0u;
    });
    call("OrxEnumPrinters", 1, word("IPv4"), 0, word(reinterpret_cast<void *>(&takePrinter)));
    EXPECT_THAT(enumerated, ElementsAre(0x6001u));
    EXPECT_EQ(answered, 512u);
    ASSERT_THAT(callbacks(), SizeIs(1));
    const auto recorded = callbacks().back();
    EXPECT_EQ(recorded.begin.within, calls().back().begin.number);
    EXPECT_EQ(recorded.begin.callbackKind, "enum");
    EXPECT_EQ(recorded.begin.values["handle"], 0x6001);
    EXPECT_EQ(recorded.end.value().result, 512u);
    EXPECT_EQ(calls().back().begin.values["callback"]["callback"], recorded.begin.callback);
}

TEST_F(Forwarding, AlertOnAServiceThreadIsItsOwn) {
    call("OrxRegisterForAlertsPrinter", 1, 5, 0xFF, word(reinterpret_cast<void *>(&takeAlert)));
    auto *const alert =
        service.lastCall("OrxRegisterForAlertsPrinter").callback<uint32_t(uint32_t, const uint8_t *, uint32_t)>(3);
    uint32_t answered = 0;
    DWORD thread = 0;
    std::thread([&] {
        thread = GetCurrentThreadId();
        answered = alert(5, reinterpret_cast<const uint8_t *>("abc"), 3);
    }).join();
    EXPECT_EQ(alertTaken, "5abc");
    EXPECT_EQ(answered, 7u);
    ASSERT_THAT(callbacks(), SizeIs(1));
    EXPECT_FALSE(callbacks().back().begin.within);
    EXPECT_EQ(callbacks().back().begin.thread, thread);
    EXPECT_EQ(callbacks().back().begin.values["alert"]["hex"], "616263");
}

TEST_F(Forwarding, CallbackAfterTheSpyWasFreedStillArrives) {
    call("OrxRegisterForAlertsPrinter", 1, 5, 0xFF, word(reinterpret_cast<void *>(&takeAlert)));
    auto *const alert =
        service.lastCall("OrxRegisterForAlertsPrinter").callback<uint32_t(uint32_t, const uint8_t *, uint32_t)>(3);
    unload();
    EXPECT_EQ(alert(9, reinterpret_cast<const uint8_t *>("late"), 4), 7u);
    EXPECT_EQ(alertTaken, "9late");
}

TEST_F(Forwarding, SameFunctionIsTheSameToTheService) {
    call("OrxRegisterForAlertsPrinter", 1, 5, 0xFF, word(reinterpret_cast<void *>(&takeAlert)));
    const auto first = service.lastCall("OrxRegisterForAlertsPrinter").arguments[3];
    call("OrxRegisterForAlertsPrinter", 1, 6, 0xFF, word(reinterpret_cast<void *>(&takeAlert)));
    EXPECT_EQ(service.lastCall("OrxRegisterForAlertsPrinter").arguments[3], first);
}

TEST_F(Forwarding, ThreadsWriteWholeLines) {
    const EveryCore everyCore;
    constexpr int threads = 8;
    constexpr int callsEach = 200;
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([&] {
            for (int count = 0; count < callsEach; ++count) {
                call("OrxOpenPrinter", 1, 5);
            }
        });
    }
    for (auto &each : running) {
        each.join();
    }
    const auto recorded = calls(); // throws if lines are mixed up
    EXPECT_EQ(recorded.size(), static_cast<size_t>(threads * callsEach));
    EXPECT_TRUE(std::all_of(recorded.begin(), recorded.end(),
                            [](const auto &each) { return each.end && each.end->thread == each.begin.thread; }));
}

// ------------------------------------------------------------------------------------------- loading and unloading

TEST_F(SpyTest, MissingEntryPointIsMissing) {
    service.lacks("OrxStartJobPrinterW");
    service.lacks("OrxInitialize");
    load();
    EXPECT_EQ(GetProcAddress(module, "OrxStartJobPrinterW"), nullptr);
    EXPECT_EQ(GetProcAddress(module, "OrxInitialize"), nullptr);
    EXPECT_NE(GetProcAddress(module, "OrxStartJobPrinter"), nullptr);
    EXPECT_EQ(recording().loads.back().values, recording::Json::array({"OrxInitialize", "OrxStartJobPrinterW"}));
}

TEST_F(SpyTest, EntryPointThatComesBackIsThereAgain) {
    service.lacks("OrxInitialize");
    load();
    unload();
    service.hasAgain("OrxInitialize");
    load();
    EXPECT_NE(GetProcAddress(module, "OrxInitialize"), nullptr);
}

TEST_F(SpyTest, RealLibraryComesAndGoesWithTheSpy) {
    load();
    EXPECT_EQ(service.loads(), 1);
    unload();
    EXPECT_EQ(service.unloads(), 1);
    EXPECT_FALSE(service.isLoaded());
}

TEST_F(SpyTest, ClientMayLoadAndFreeItThousandsOfTimes) {
    for (int count = 0; count < 1500; ++count) {
        load();
        ASSERT_EQ(call("OrxInitialize"), 0u);
        unload();
    }
    EXPECT_EQ(service.unloads(), 1500);
}

TEST_F(SpyTest, WithoutTheRealLibraryItDoesNotLoad) {
    const TemporaryFolder folder;
    std::filesystem::copy_file(programFolder() / "comc.dll", folder / "comc.dll");
    EXPECT_FALSE(canBeLoaded(folder / "comc.dll"));
}

TEST_F(SpyTest, RealLibraryMayLieElsewhere) {
    const TemporaryFolder folder;
    std::filesystem::copy_file(programFolder() / "comc.dll", folder / "comc.dll");
    SetEnvironmentVariableW(L"KAL_SPY_REAL", (programFolder() / "comc-real.dll").c_str());
    const HMODULE elsewhere = LoadLibraryW((folder / "comc.dll").c_str());
    SetEnvironmentVariableW(L"KAL_SPY_REAL", nullptr);
    EXPECT_NE(elsewhere, nullptr);
    EXPECT_EQ(service.loads(), 1);
    FreeLibrary(elsewhere);
}

TEST_F(SpyTest, NamedAsItsOwnRealLibraryItDoesNotLoad) {
    SetEnvironmentVariableW(L"KAL_SPY_REAL", (programFolder() / "comc.dll").c_str());
    EXPECT_FALSE(canBeLoaded(programFolder() / "comc.dll"));
    SetEnvironmentVariableW(L"KAL_SPY_REAL", nullptr);
}

TEST_F(SpyTest, AProcessHasOneRecording) {
    const TemporaryFolder folder;
    for (const char *name : {"comc.dll", "comc-real.dll", "comc-recorder.dll"}) {
        std::filesystem::copy_file(programFolder() / name, folder / name);
    }
    load();
    const HMODULE other = LoadLibraryW((folder / "comc.dll").c_str());
    exported<uint64_t(uint64_t, uint64_t)>(other, "OrxOpenPrinter")(1, 44);
    FreeLibrary(other);
    EXPECT_EQ(calls().back().begin.values["handle"], 44);
    EXPECT_TRUE(recordingsIn(folder.path() / "recordings").empty());
    EXPECT_THAT(recordingsIn(programFolder() / "recordings"), SizeIs(1));
}
