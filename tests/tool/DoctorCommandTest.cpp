#include "tests/tool/ToolFixture.h"

#include <gmock/gmock.h>

using namespace kal::test;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

class DoctorCommand : public LogToolTest {
  protected:
    DoctorCommand() {
        fs::create_directories(installation());
        for (const char *name : {"kal.exe", "kalclient.dll", "comc.dll"}) {
            fs::copy_file(programFolder() / name, installation() / name);
        }
    }
    [[nodiscard]] fs::path installation() const { return folder / "installation"; }
    ToolRun doctor(const std::string &arguments = "") {
        return RunningTool(installation() / "kal.exe", "doctor " + arguments, folder / "run").finish();
    }
    /// The check with this name.
    nlohmann::json check(const std::string &name) {
        const ToolRun run = doctor("--json");
        const nlohmann::json report = run.json();
        EXPECT_EQ(run.status, report["allIsWell"] ? 0 : 1);
        for (const auto &each : report["checks"]) {
            if (each["check"] == name) {
                return each;
            }
        }
        ADD_FAILURE() << "no check " << name << " in " << run.output;
        return {};
    }
};

} // namespace

TEST_F(DoctorCommand, HealthyInstallationIsAllWell) {
    createSettingsKey();
    const ToolRun run = doctor();
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("All is well."));
    EXPECT_THAT(run.output, HasSubstr((installation() / "kalclient.dll").string()));
    EXPECT_THAT(run.output, HasSubstr("all 90 are there"));
}

TEST_F(DoctorCommand, MissingSettingsKeyIsAWarning) {
    const auto found = check("settings key");
    EXPECT_EQ(found["verdict"], "warning");
    EXPECT_THAT(found["remedy"].get<std::string>(), HasSubstr("kal log on"));
    EXPECT_EQ(doctor().status, 1);
}

TEST_F(DoctorCommand, LoggingStateIsTold) {
    kal("log on --level 8");
    EXPECT_EQ(check("logging")["answer"], "on: levels 0x8 of every component");
}

TEST_F(DoctorCommand, LogFileThatCannotBeWrittenIsAWarning) {
    createSettingsKey();
    fs::create_directories(logFile());
    EXPECT_EQ(check("log file")["verdict"], "warning");
}

TEST_F(DoctorCommand, LogFileIsNeitherMadeNorLeftBehind) {
    createSettingsKey();
    EXPECT_EQ(check("log file")["verdict"], "ok");
    EXPECT_TRUE(fs::is_empty(logFile().parent_path()));
}

TEST_F(DoctorCommand, MissingServiceLibraryIsAFailure) {
    createSettingsKey();
    fs::remove(installation() / "comc.dll");
    const auto found = check("comc.dll");
    EXPECT_EQ(found["verdict"], "failure");
    EXPECT_THAT(found["answer"].get<std::string>(), HasSubstr("is missing"));
    EXPECT_EQ(doctor().status, 1);
}

TEST_F(DoctorCommand, ServiceLibraryThatIsNoLibraryIsAFailure) {
    createSettingsKey();
    folder.write("installation/comc.dll", "this is text");
    EXPECT_THAT(check("comc.dll")["answer"].get<std::string>(), HasSubstr("does not load"));
}

TEST_F(DoctorCommand, MissingEntryPointsAreNamed) {
    createSettingsKey();
    fs::copy_file(programFolder() / "kalclient.dll", installation() / "comc.dll", fs::copy_options::overwrite_existing);
    const auto found = check("entry points");
    EXPECT_EQ(found["verdict"], "failure");
    EXPECT_THAT(found["answer"].get<std::string>(), HasSubstr("OrxInitialize, OrxUninitialize, OrxGetClientId"));
    EXPECT_THAT(found["answer"].get<std::string>(), HasSubstr("OrxWritePrinter"));
}

TEST_F(DoctorCommand, ServiceThatLacksItsEndOnlyIsExaminedToTheLast) {
    createSettingsKey();
    configure(R"({"printers":[],"entryPoints":{"OrxUninitialize":{"missing":true}}})");
    EXPECT_EQ(check("entry points")["answer"], "missing: OrxUninitialize");
    EXPECT_EQ(check("service")["verdict"], "ok");
    EXPECT_EQ(check("client id")["verdict"], "ok");
    EXPECT_EQ(doctor().status, 1);
}

TEST_F(DoctorCommand, ServiceThatDoesNotStartIsAFailure) {
    createSettingsKey();
    configure(R"({"printers":[],"entryPoints":{"OrxInitialize":{"fromCall":1,"code":1062}}})");
    const auto found = check("service");
    EXPECT_EQ(found["verdict"], "failure");
    EXPECT_THAT(found["answer"].get<std::string>(), HasSubstr("OrxInitialize answered "));
    EXPECT_THAT(found["answer"].get<std::string>(), HasSubstr("(1062)"));
}

TEST_F(DoctorCommand, ServiceThatGivesNoIdentifierIsAFailure) {
    createSettingsKey();
    configure(R"({"printers":[],"entryPoints":{"OrxGetClientId":{"fromCall":1,"code":5}}})");
    EXPECT_EQ(check("client id")["verdict"], "failure");
}

TEST_F(DoctorCommand, ServiceThatAnswersNothingButErrorsIsAFailure) {
    createSettingsKey();
    configure("{ not json");
    EXPECT_EQ(check("client id")["verdict"], "failure");
}
