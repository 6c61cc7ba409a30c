#include "spy/SpySettings.h"

#include "tests/support/PrivateMachine.h"

#include <gtest/gtest.h>

#include <string>

using namespace kal::test;

namespace {

class RegistrySettings : public testing::Test {
  protected:
    RegistrySettings() { clearEnvironment(); }
    ~RegistrySettings() override { clearEnvironment(); }

    static void clearEnvironment() {
        SetEnvironmentVariableW(L"KAL_SPY_FOLDER", nullptr);
        SetEnvironmentVariableW(L"KAL_SPY_REDACT", nullptr);
    }
    static void store(const wchar_t *name, const std::wstring &text) {
        const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
        ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_SZ, text.c_str(), size), ERROR_SUCCESS);
    }
    static void store(const wchar_t *name, DWORD number) {
        ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_DWORD, &number, sizeof number), ERROR_SUCCESS);
    }

    static constexpr const wchar_t *key = L"Software\\Veltro Tools\\Orx\\Spy";
    PrivateMachine machine;
};

} // namespace

TEST_F(RegistrySettings, NothingIsRedactedByItself) {
    EXPECT_FALSE(spy::readSpySettings(nullptr).redacts);
    EXPECT_TRUE(spy::readSpySettings(nullptr).folder.ends_with(L"\\recordings\\"));
}

TEST_F(RegistrySettings, FolderIsThatOfTheRegistry) {
    store(L"Folder", L"C:\\field");
    EXPECT_EQ(spy::readSpySettings(nullptr).folder, L"C:\\field\\");
}

TEST_F(RegistrySettings, RedactIsThatOfTheRegistry) {
    store(L"Redact", DWORD{1});
    EXPECT_TRUE(spy::readSpySettings(nullptr).redacts);
    store(L"Redact", DWORD{0});
    EXPECT_FALSE(spy::readSpySettings(nullptr).redacts);
}

TEST_F(RegistrySettings, EnvironmentComesFirst) {
    store(L"Folder", L"C:\\field");
    store(L"Redact", DWORD{1});
    SetEnvironmentVariableW(L"KAL_SPY_FOLDER", L"C:\\desk");
    SetEnvironmentVariableW(L"KAL_SPY_REDACT", L"0");
    const auto settings = spy::readSpySettings(nullptr);
    EXPECT_EQ(settings.folder, L"C:\\desk\\");
    EXPECT_FALSE(settings.redacts);
}
