// The imports that the library resolves at their first call. A function that cannot be resolved then fails as
// Imports.inc says that it fails, and what follows from that is tried by the other tests; nothing else reaches the
// application.

#include "tests/faults/ImportWatch.h"
#include "tests/support/ExportScenarios.h"
#include "tests/support/ImportHook.h"
#include "tests/support/ImportTable.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include "api/kal.h"
#include "platform/Exception.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <type_traits>

namespace kal::test {

namespace {

constexpr DWORD cannotLoad = ERROR_NOT_ENOUGH_MEMORY;
constexpr DWORD cannotResolve = ERROR_PROC_NOT_FOUND;

/// The library without anything resolved, as the loader leaves it.
class DelayedImports : public testing::Test {
  protected:
    DelayedImports() {
        stageComc(folder, ComcFile::recording);
        std::filesystem::copy_file(programFolder() / "kalclient.dll", folder / "kadelay.dll");
        library = LoadLibraryA((folder / "kadelay.dll").string().c_str());
    }
    ~DelayedImports() override { FreeLibrary(library); }

    template <class Function>
    Function *function(const char *name) const {
        return exported<Function>(library, name);
    }

    bool isRegistered() const {
        try {
            function<decltype(KalFlushMWOBuffer)>("KalFlushMWOBuffer")();
            return true;
        } catch (const Win32Exception &) {
            return false;
        }
    }

    PrivateMachine machine;
    RecordedService service;
    TemporaryFolder folder;
    HMODULE library = nullptr;
};

using LoadHook = ImportHook<"LoadLibraryA", HMODULE(const char *)>;
using ResolveHook = ImportHook<"GetProcAddress", FARPROC(HMODULE, const char *)>;

/// Fails the loading of one library.
class Unloadable : public LoadHook {
  public:
    Unloadable(HMODULE module, const std::string &library)
        : LoadHook(module, [this, library](const char *name) -> HMODULE {
              if (library != name)
                  return original(name);
              SetLastError(cannotLoad);
              return nullptr;
          }) {}
};

/// Fails the look-up of one function; of every function where the name is empty.
class Unresolvable : public ResolveHook {
  public:
    Unresolvable(HMODULE module, const std::string &function)
        : ResolveHook(module, [this, function](HMODULE library, const char *name) -> FARPROC {
              if (!function.empty() && function != name)
                  return original(library, name);
              SetLastError(cannotResolve);
              return nullptr;
          }) {}
};

/// What an unresolved import returns, as it is called with no sensible argument: nothing of the system may be reached.
uint64_t callUnresolved(void **slot) {
    SetLastError(0);
    return reinterpret_cast<uint64_t (*)(uint64_t, uint64_t, uint64_t, uint64_t)>(*slot)(0, 0, 0, 0);
}

std::string failureOf(const ImportRow &row, uint64_t returned, DWORD error) {
    const bool returnsCode = row.failure != 0 && row.lastError == 0;
    if (returnsCode && static_cast<DWORD>(returned) != error)
        return "returned " + std::to_string(returned) + " instead of the error code";
    if (!returnsCode && row.use == ImportUse::fails && returned != row.failure)
        return "returned " + std::to_string(returned) + " instead of failing";
    if (GetLastError() != error)
        return "left the last error " + std::to_string(GetLastError());
    return "";
}

TEST_F(DelayedImports, AreThoseOfUserInterfaceAndRegistry) {
    EXPECT_THAT(delayedLibraries(library), testing::UnorderedElementsAre("advapi32.dll", "user32.dll"));
    EXPECT_THAT(delayedFunctions(library), testing::IsSupersetOf({"PostMessageA", "RegOpenKeyExA", "FreeSid"}));
    EXPECT_EQ(importedLibraries(library).size() - delayedLibraries(library).size(), 2u); // the kernel and the runtime
}

TEST_F(DelayedImports, AreUnresolvedAfterLoading) {
    const ImportTable table(library);
    table.eachFunction([&](const Import &import) {
        if (import.isDelayed) {
            EXPECT_TRUE(table.isUnresolved(import)) << import.name;
        }
    });
}

TEST_F(DelayedImports, ResolveAtTheFirstCallAndKeepTheLastError) {
    function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
    const ImportTable table(library);
    table.eachFunction([&](const Import &import) {
        if (import.isDelayed && std::string(import.name) == "RegOpenKeyExA") {
            EXPECT_EQ(*import.slot,
                      reinterpret_cast<void *>(GetProcAddress(GetModuleHandleA("advapi32"), import.name)));
        }
        if (import.isDelayed && std::string(import.name) == "PostMessageA") {
            SetLastError(4711);
            reinterpret_cast<decltype(PostMessageA) *> (*import.slot)(nullptr, WM_NULL, 0, 0);
            EXPECT_EQ(GetLastError(), 4711u);
            EXPECT_FALSE(table.isUnresolved(import));
        }
    });
    function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
}

TEST_F(DelayedImports, FailAsTheirRowsSayWhenTheLibraryCannotBeLoaded) {
    const ImportTable table(library);
    int tried = 0;
    table.eachFunction([&](const Import &import) {
        if (!import.isDelayed)
            return;
        const auto &rows = importTable();
        const auto row = std::ranges::find(rows, std::string(import.name), &ImportRow::name);
        ASSERT_NE(row, rows.end()) << import.name;
        const Unloadable load(library, import.library);
        EXPECT_EQ(failureOf(*row, callUnresolved(import.slot), cannotLoad), "") << import.name;
        EXPECT_TRUE(table.isUnresolved(import)) << import.name << " is not tried again";
        EXPECT_EQ(load.calls(), 1) << import.name;
        ++tried;
    });
    EXPECT_GT(tried, 20);
}

TEST_F(DelayedImports, FailAsTheirRowsSayWhenTheLibraryLacksThem) {
    const ImportTable table(library);
    table.eachFunction([&](const Import &import) {
        if (!import.isDelayed)
            return;
        const auto &rows = importTable();
        const auto row = std::ranges::find(rows, std::string(import.name), &ImportRow::name);
        ASSERT_NE(row, rows.end()) << import.name;
        const Unresolvable resolve(library, import.name);
        EXPECT_EQ(failureOf(*row, callUnresolved(import.slot), cannotResolve), "") << import.name;
        EXPECT_TRUE(table.isUnresolved(import)) << import.name << " is not tried again";
    });
}

TEST_F(DelayedImports, WithoutTheRegistryThereIsNoRegistrationAndTheNextOneWorks) {
    {
        const Unloadable load(library, "advapi32.dll");
        EXPECT_EQ(function<decltype(KalRegisterApp)>("KalRegisterApp")(0), 1);
        EXPECT_GT(load.calls(), 0);
        EXPECT_FALSE(isRegistered());
    }
    EXPECT_EQ(function<decltype(KalRegisterApp)>("KalRegisterApp")(0), 1);
    EXPECT_TRUE(isRegistered());
    function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
}

TEST_F(DelayedImports, WithoutTheUserInterfaceEveryExportStillReturns) {
    OrxAlertCallback onAlert = nullptr;
    OrxNotificationCallback onNotification = nullptr;
    service.does("OrxGetClientId", [](const ServiceCall &call) {
        *call.pointer<uint32_t>(0) = 7;
        return 0u;
    });
    service.stringProperty("Transport", "USB1");
    service.stringProperty("Device", "BpdPrinter");
    service.stringProperty("Portname", "USB001");
    service.does("OrxRegisterForAlertsPrinter", [&](const ServiceCall &call) {
        onAlert = call.callback<std::remove_pointer_t<OrxAlertCallback>>(3);
        return 0u;
    });
    service.does("OrxRegisterForNotificationsPrinter", [&](const ServiceCall &call) {
        onNotification = call.callback<std::remove_pointer_t<OrxNotificationCallback>>(3);
        return 0u;
    });
    machine.logEverything();
    const HWND window = makeMessageWindow();
    const Unloadable load(library, "user32.dll");
    for (const ExportScenario &scenario :
         exportScenarios({library, window, [&] { return onAlert; }, [&] { return onNotification; }, "OTHERHOST"})) {
        if (!scenario.needsRegistration)
            continue;
        function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
        scenario.before();
        std::string outcome;
        EXPECT_NO_THROW(outcome = scenario.call()) << scenario.name;
        if (scenario.name == "alert to message") {
            EXPECT_EQ(outcome, "0"); // the alert is kept all the same
        }
        scenario.after();
        function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
    }
    const ImportTable table(library);
    table.eachFunction([&](const Import &import) {
        if (std::string(import.name) == "PostMessageA") {
            EXPECT_TRUE(table.isUnresolved(import)) << "no scenario was without it";
        }
    });
    DestroyWindow(window);
}

} // namespace

} // namespace kal::test
