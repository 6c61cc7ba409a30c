#include "tests/support/PrivateMachine.h"

#include <gtest/gtest.h>

using kal::test::PrivateMachine;

namespace {

/// Opens the library's key the way the library does.
LSTATUS openKey(const std::string &path) {
    HKEY key = nullptr;
    const LSTATUS code = RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, 31 | KEY_WOW64_64KEY, &key);
    if (code == 0)
        RegCloseKey(key);
    return code;
}

} // namespace

TEST(PrivateMachine, KeyExistsOnlyWhileItLives) {
    {
        PrivateMachine machine;
        EXPECT_EQ(openKey(PrivateMachine::localRoot()), 0);
    }
    EXPECT_NE(openKey(PrivateMachine::localRoot()), 0);
}

TEST(PrivateMachine, SettingIsReadThroughTheLocalMachine) {
    PrivateMachine machine;
    machine.setLogger("All", 8);
    DWORD value = 0;
    DWORD size = sizeof value;
    EXPECT_EQ(RegGetValueA(HKEY_LOCAL_MACHINE, (PrivateMachine::localRoot() + "Logger").c_str(), "All",
                           RRF_RT_REG_DWORD, nullptr, &value, &size),
              0);
    EXPECT_EQ(value, 8u);
}

TEST(PrivateMachine, RemovedKeyIsGone) {
    PrivateMachine machine;
    machine.setLogger("All", 8);
    machine.removeKey();
    EXPECT_EQ(openKey(PrivateMachine::localRoot()), 2);
}

TEST(PrivateMachine, LogIsReadLineByLineWithoutComponentAndIndentation) {
    PrivateMachine machine;
    char path[MAX_PATH] = {};
    ExpandEnvironmentStringsA("%ALLUSERSPROFILE%\\kalc.log", path, MAX_PATH);
    EXPECT_EQ(machine.logFile().string(), path);
    FILE *file = std::fopen(path, "wb");
    ASSERT_NE(file, nullptr);
    std::fputs("LegacyClient     +KalStartDoc()  handle=5\r\nLegacyClient      orxClient=NULL.\r\n", file);
    std::fclose(file);
    EXPECT_EQ(machine.logTexts(), (std::vector<std::string>{"+KalStartDoc()  handle=5", "orxClient=NULL."}));
    machine.deleteLog();
    EXPECT_TRUE(machine.logLines().empty());
}
