#include "tests/contract/legacy/LegacyNames.h"

#include "api/kal.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kal::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// Everything that an export could be called with, none of it fit to be read.
using AnyArguments = int32_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);

class FixedAnswerTest : public testing::Test {
  protected:
    FixedAnswerTest() { machine.logEverything(); }

    void registerApp() {
        library.function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
        isRegistered = true;
        machine.deleteLog();
    }
    ~FixedAnswerTest() override {
        if (isRegistered)
            library.function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
    }

    int32_t callWithBadPointers(const char *name) {
        return library.function<AnyArguments>(name)(UINT64_MAX, 1, UINT64_MAX - 1, 3, UINT64_MAX - 2, 5, UINT64_MAX - 3,
                                                    7);
    }

    RecordedService service;
    PrivateMachine machine;
    StagedLibrary library;
    bool isRegistered = false;
};

// ------------------------------------------------------------------------------------------------- unsupported

class UnsupportedTest : public FixedAnswerTest, public testing::WithParamInterface<UnsupportedExport> {};

TEST_P(UnsupportedTest, FailsWithoutReadingItsArguments) {
    registerApp();
    EXPECT_EQ(callWithBadPointers(GetParam().name), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_EQ(service.loads(), 0);
}

TEST_P(UnsupportedTest, TracesThatItIsUnsupported) {
    registerApp();
    library.function<int32_t()>(GetParam().name)();
    const std::string name = GetParam().tracedName;
    EXPECT_THAT(machine.logTexts(), ElementsAre("+" + name, "-" + name + " rc=KAL_FAIL (unsupported)"));
}

TEST_P(UnsupportedTest, RaisesWhileNoApplicationIsRegistered) {
    EXPECT_ANY_THROW(library.function<int32_t()>(GetParam().name)());
}

INSTANTIATE_TEST_SUITE_P(Exports, UnsupportedTest, testing::ValuesIn(unsupportedExports));

// ----------------------------------------------------------------------------------------------- fixed answers

class FixedExportTest : public FixedAnswerTest, public testing::WithParamInterface<FixedExport> {};

TEST_P(FixedExportTest, AnswersWithoutReadingItsArguments) {
    registerApp();
    EXPECT_EQ(callWithBadPointers(GetParam().name), GetParam().answer);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_P(FixedExportTest, TracesItsAnswer) {
    registerApp();
    library.function<int32_t()>(GetParam().name)();
    const std::string name = GetParam().name;
    EXPECT_THAT(machine.logTexts(), ElementsAre("+" + name, "-" + name + GetParam().exitText));
}

TEST_P(FixedExportTest, RaisesWhileNoApplicationIsRegistered) {
    EXPECT_ANY_THROW(library.function<int32_t()>(GetParam().name)());
}

INSTANTIATE_TEST_SUITE_P(Exports, FixedExportTest, testing::ValuesIn(fixedExports));

TEST_F(FixedAnswerTest, PreparationForUninstallDoesNothingButTrace) {
    registerApp();
    library.function<decltype(KalPrepareRhoaForUninstall)>("KalPrepareRhoaForUninstall")();
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalPrepareRhoaForUninstall", "-KalPrepareRhoaForUninstall"));
    EXPECT_THAT(service.sequence(), IsEmpty());
}

// -------------------------------------------------------------------------- after a registration was refused

/// The process did try to register: its calls are answered, and there is no logger to write to.
class RefusedRegistrationTest : public FixedAnswerTest {
  protected:
    RefusedRegistrationTest() {
        const int32_t result =
            library.function<decltype(KalRegisterWithRpcServer)>("KalRegisterWithRpcServer")("\\\\no-such-machine");
        EXPECT_EQ(result, -12);
        machine.deleteLog();
    }
};

TEST_F(RefusedRegistrationTest, UnsupportedExportsFailSilently) {
    for (const UnsupportedExport &row : unsupportedExports)
        EXPECT_EQ(library.function<int32_t()>(row.name)(), KAL_FAIL) << row.name;
    EXPECT_THAT(machine.logLines(), IsEmpty());
}

TEST_F(RefusedRegistrationTest, FixedExportsAnswerSilently) {
    for (const FixedExport &row : fixedExports)
        EXPECT_EQ(library.function<int32_t()>(row.name)(), row.answer) << row.name;
    library.function<decltype(KalPrepareRhoaForUninstall)>("KalPrepareRhoaForUninstall")();
    EXPECT_THAT(machine.logLines(), IsEmpty());
}

TEST_F(RefusedRegistrationTest, UnreadAliasesAnswerAsTheirExportsSilently) {
    for (const Alias &alias : unreadAliases)
        EXPECT_EQ(library.function<int32_t()>(alias.name)(),
                  alias.plainName() == "KalEnumSpecific" ? KAL_OKAY : KAL_FAIL)
            << alias.name;
    EXPECT_THAT(machine.logLines(), IsEmpty());
}

// ---------------------------------------------------------------------------------- aliases that read nothing

class UnreadAliasTest : public FixedAnswerTest, public testing::WithParamInterface<Alias> {};

TEST_P(UnreadAliasTest, AnswersAsItsExportWithoutReadingItsArguments) {
    registerApp();
    EXPECT_EQ(callWithBadPointers(GetParam().name), callWithBadPointers(GetParam().plainName().c_str()));
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_P(UnreadAliasTest, TraceStandsAroundThatOfItsExport) {
    registerApp();
    library.function<int32_t()>(GetParam().plainName().c_str())();
    const auto plain = machine.logTexts();
    machine.deleteLog();
    library.function<int32_t()>(GetParam().name)();
    const auto texts = machine.logTexts();
    ASSERT_EQ(texts.size(), plain.size() + 2);
    const std::string name = GetParam().tracedName;
    EXPECT_EQ(texts.front(), "+" + name);
    EXPECT_EQ(std::vector<std::string>(texts.begin() + 1, texts.end() - 1), plain);
    EXPECT_THAT(texts.back(), StartsWith("-" + name));
}

TEST_P(UnreadAliasTest, RaisesWhileNoApplicationIsRegistered) {
    EXPECT_ANY_THROW(library.function<int32_t()>(GetParam().name)());
}

INSTANTIATE_TEST_SUITE_P(Aliases, UnreadAliasTest, testing::ValuesIn(unreadAliases));

TEST_F(FixedAnswerTest, VersionAliasFails) {
    registerApp();
    EXPECT_EQ(library.function<int32_t()>("KalGetVersionLM")(), KAL_FAIL);
}

TEST_F(FixedAnswerTest, SpecificEnumerationAliasSucceeds) {
    registerApp();
    EXPECT_EQ(library.function<int32_t()>("KalEnumSpecificLM")(), KAL_OKAY);
}

} // namespace
} // namespace kal::test
