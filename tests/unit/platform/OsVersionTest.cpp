#include "platform/OsVersion.h"

#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace kal;
using namespace kal::test;

namespace {

/// A system of a given platform and version; records with which size it was asked.
class System {
  public:
    System(DWORD platform, DWORD major)
        : hook_(GetModuleHandleA(nullptr), [this, platform, major](LPOSVERSIONINFOA record) {
              sizes.push_back(record->dwOSVersionInfoSize);
              record->dwPlatformId = platform;
              record->dwMajorVersion = major;
              if (record->dwOSVersionInfoSize == sizeof(OSVERSIONINFOEXA))
                  reinterpret_cast<OSVERSIONINFOEXA *>(record)->wServicePackMajor = 3;
              return TRUE;
          }) {}

    std::vector<DWORD> sizes;

  private:
    ImportHook<"GetVersionExA", BOOL(LPOSVERSIONINFOA)> hook_;
};

using GetProcAddressHook = ImportHook<"GetProcAddress", FARPROC(HMODULE, LPCSTR)>;

BOOL answer = FALSE;

BOOL WINAPI answerOutput(HANDLE, PBOOL output) {
    *output = answer;
    return FALSE; // not looked at
}

BOOL WINAPI failWithoutOutput(HANDLE, PBOOL) {
    return FALSE;
}

bool isWow64When(BOOL(WINAPI *function)(HANDLE, PBOOL)) {
    GetProcAddressHook hook(GetModuleHandleA(nullptr), [=](HMODULE, LPCSTR) {
        return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(function));
    });
    return OsVersion::isWow64();
}

} // namespace

TEST(OsVersion, RecordIsAskedBasicFirstThenExtended) {
    System system(VER_PLATFORM_WIN32_NT, 6);
    const OsVersion version;
    EXPECT_EQ(system.sizes, (std::vector<DWORD>{148, 156}));
    EXPECT_EQ(version.record().wServicePackMajor, 3);
}

TEST(OsVersion, OtherPlatformIsNotAskedForTheExtendedRecord) {
    System system(VER_PLATFORM_WIN32_WINDOWS, 5);
    const OsVersion version;
    EXPECT_EQ(system.sizes, (std::vector<DWORD>{148}));
    EXPECT_EQ(version.record().wServicePackMajor, 0);
    EXPECT_EQ(version.record().wProductType, 0);
}

TEST(OsVersion, NtBeforeFiveIsNotAskedForTheExtendedRecord) {
    System system(VER_PLATFORM_WIN32_NT, 4);
    const OsVersion version;
    EXPECT_EQ(system.sizes, (std::vector<DWORD>{148}));
}

TEST(OsVersion, NtFiveIsNtAndLater) {
    System system(VER_PLATFORM_WIN32_NT, 5);
    const OsVersion version;
    EXPECT_TRUE(version.isNtPlatform());
    EXPECT_TRUE(version.isNt5OrLater());
}

TEST(OsVersion, NtFourIsNtButNotLater) {
    System system(VER_PLATFORM_WIN32_NT, 4);
    const OsVersion version;
    EXPECT_TRUE(version.isNtPlatform());
    EXPECT_FALSE(version.isNt5OrLater());
}

TEST(OsVersion, OtherPlatformIsNeitherWhateverItsVersion) {
    System system(VER_PLATFORM_WIN32_WINDOWS, 6);
    const OsVersion version;
    EXPECT_FALSE(version.isNtPlatform());
    EXPECT_FALSE(version.isNt5OrLater());
}

TEST(OsVersion, BasicQueryThatFailsThrows) {
    FailingCall<"GetVersionExA", BOOL(LPOSVERSIONINFOA)> call(FALSE, 87);
    EXPECT_EQ(thrownBy([] { OsVersion version; }),
              (Thrown{"OsVersion::OsVersion(): GetVersionEx failed", 87, ".\\OsVersion", 234}));
}

TEST(OsVersion, ExtendedQueryThatFailsThrows) {
    FailingCall<"GetVersionExA", BOOL(LPOSVERSIONINFOA)> call(FALSE, 122, 2);
    EXPECT_EQ(thrownBy([] { OsVersion version; }),
              (Thrown{"OsVersion::OsVersion(): GetVersionEx failed with OSVERSIONINFOEX", 122, ".\\OsVersion", 244}));
}

TEST(OsVersion, InstanceIsThisSystem) {
    EXPECT_TRUE(OsVersion::instance().isNt5OrLater());
    EXPECT_EQ(&OsVersion::instance(), &OsVersion::instance());
}

TEST(OsVersion, ThisProcessIsNotWow64) {
    EXPECT_FALSE(OsVersion::isWow64());
}

TEST(OsVersion, ThisProcessIsOn64BitWindows) {
    EXPECT_TRUE(OsVersion::is64BitWindows());
}

TEST(OsVersion, Wow64IsAnOutputOfOneWhateverTheCallReturns) {
    answer = 1;
    EXPECT_TRUE(isWow64When(answerOutput));
}

TEST(OsVersion, Wow64IsExactlyOne) {
    answer = 2;
    EXPECT_FALSE(isWow64When(answerOutput));
}

TEST(OsVersion, Wow64CallThatFailsIsFalse) {
    EXPECT_FALSE(isWow64When(failWithoutOutput));
}

TEST(OsVersion, Wow64WithoutTheFunctionIsFalse) {
    EXPECT_FALSE(isWow64When(nullptr));
}

TEST(OsVersion, Wow64AsksKernel32ForItsFunction) {
    std::string asked;
    GetProcAddressHook hook(GetModuleHandleA(nullptr), [&](HMODULE module, LPCSTR name) {
        asked = name;
        return hook.original(module, name);
    });
    static_cast<void>(OsVersion::isWow64());
    EXPECT_EQ(asked, "IsWow64Process");
}

TEST(OsVersion, Wow64WithoutTheSystemLibraryIsFalse) {
    answer = 1;
    GetProcAddressHook function(GetModuleHandleA(nullptr), [](HMODULE, LPCSTR) {
        return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(answerOutput));
    });
    FailingCall<"GetModuleHandleA", HMODULE(LPCSTR)> kernel(nullptr, ERROR_MOD_NOT_FOUND);
    EXPECT_FALSE(OsVersion::isWow64());
}
