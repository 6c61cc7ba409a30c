#include "tests/tool/ToolFixture.h"

#include "api/kal.h"

#include <gmock/gmock.h>

using namespace kal::test;
using testing::HasSubstr;

namespace {

class CommandLine : public ToolTest {};

} // namespace

TEST_F(CommandLine, NoCommandIsMisuse) {
    EXPECT_EQ(kal("").status, 2);
}

TEST_F(CommandLine, UnknownCommandIsMisuse) {
    EXPECT_EQ(kal("prnit --printer 3 x").status, 2);
}

TEST_F(CommandLine, UnknownOptionIsMisuse) {
    EXPECT_EQ(kal("list --scanners").status, 2);
}

TEST_F(CommandLine, MissingArgumentIsMisuse) {
    for (const char *arguments : {"print x", "print --printer 3", "cancel", "find", "status", "cache", "bidi 3", "job",
                                  "job mode 3", "job string 3 key", "log", "log timeline"}) {
        EXPECT_EQ(kal(arguments).status, 2) << arguments;
    }
}

TEST_F(CommandLine, NumberOutOfRangeIsMisuse) {
    for (const char *arguments : {"status 65536", "status -1", "status x", "status 0x", "bidi 3 70000", "watch 70000",
                                  "watch 3 --count x", "job end-of-job 3 65536", "log show --pid zz"}) {
        const ToolRun run = kal(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_NE(run.error, "") << arguments;
    }
}

TEST_F(CommandLine, FileNameMayBeginWithASlash) {
    const ToolRun run = kal("print --printer 0x6001 /no-such-folder/document");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("/no-such-folder/document"));
}

TEST_F(CommandLine, HandleMayBeHexadecimal) {
    EXPECT_EQ(kal("status 0x6001").status, 0);
}

TEST_F(CommandLine, VersionIsThatOfTheInterface) {
    const ToolRun run = kal("--version");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.output, HasSubstr("kal " + std::to_string(KAL_VERSION_MAJOR) + "." +
                                      std::to_string(KAL_VERSION_MINOR) + "." + std::to_string(KAL_VERSION_PATCH)));
}

TEST_F(CommandLine, EveryCommandHasHelpWithExamples) {
    for (const char *command :
         {"", "print", "cancel", "list", "find", "status", "cache", "bidi", "watch", "job", "job mode", "job cancel-id",
          "job end-of-job", "job string", "log", "log on", "log show", "log timeline", "doctor"}) {
        const ToolRun run = kal(std::string(command) + " --help");
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_THAT(run.output, HasSubstr("xample")) << command;
        EXPECT_THAT(run.output, HasSubstr(std::string("kal ") + command)) << command;
    }
}

TEST_F(CommandLine, UnreachableServerIsNamed) {
    const ToolRun run = kal("--server no-such-machine list");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("KalRegisterWithRpcServer(no-such-machine) answered KAL_REGISTRATION_REFUSED "
                                     "(-12): the server cannot be reached"));
}

TEST_F(CommandLine, OwnMachineAsServerIsThisOne) {
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof name;
    ASSERT_TRUE(GetComputerNameA(name, &size));
    EXPECT_EQ(kal("--server " + std::string(name) + " list").status, 0);
}
