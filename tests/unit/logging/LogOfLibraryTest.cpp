// The shipped library under several names: the name decides where its settings and its log lie.
#include "api/kal.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace kal::test;
using testing::Contains;
using testing::IsEmpty;

namespace {

struct NamedLibrary {
    const char *fileName;
    const char *productKey;
    const char *localId;
};

void PrintTo(const NamedLibrary &library, std::ostream *stream) {
    *stream << library.fileName;
}

void switchLogOn(const std::string &productKey, const std::string &localId) {
    const std::string logger = "Software\\" + productKey + "\\Orx\\Local\\" + localId + "\\Logger";
    const DWORD on = 1;
    const DWORD off = 0;
    RegSetKeyValueA(HKEY_LOCAL_MACHINE, logger.c_str(), "startLog", REG_DWORD, &on, sizeof on);
    RegSetKeyValueA(HKEY_LOCAL_MACHINE, logger.c_str(), "Clocktime_In_Header", REG_DWORD, &off, sizeof off);
}

/// Registers, closes a handle that is not open, and unregisters.
void useLibrary(const std::string &fileName) {
    StagedLibrary library(ComcFile::recording, fileName);
    library.function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
    library.function<decltype(KalClose)>("KalClose")(0, 5);
    library.function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
}

class LogOfLibrary : public testing::TestWithParam<NamedLibrary> {
  protected:
    PrivateMachine machine;
    RecordedService service;
};

} // namespace

TEST_P(LogOfLibrary, LiesUnderItsLocalIdWhenItsKeySaysSo) {
    machine.removeKey();
    switchLogOn(GetParam().productKey, GetParam().localId);
    useLibrary(GetParam().fileName);
    EXPECT_THAT(machine.logTexts(GetParam().localId), Contains("+KalClose() handle=5"));
}

TEST_P(LogOfLibrary, IsSilentWhenOnlyAnotherBrandsKeySaysSo) {
    machine.removeKey();
    switchLogOn("Kalder Print Services", "kalq");
    switchLogOn("Veltro Tools", "zz.q");
    useLibrary(GetParam().fileName);
    EXPECT_FALSE(std::filesystem::exists(machine.logFile(GetParam().localId)));
}

INSTANTIATE_TEST_SUITE_P(Named, LogOfLibrary,
                         testing::Values(NamedLibrary{"kalclient.dll", "Kalder Print Services", "kalc"},
                                         NamedLibrary{"KALCLIENT.DLL", "Kalder Print Services", "kalc"},
                                         NamedLibrary{"kalwork.dll", "Kalder Print Services", "kalw"},
                                         NamedLibrary{"ka.dll", "Kalder Print Services", "ka.d"},
                                         NamedLibrary{"zz.dll", "Veltro Tools", "zz.d"},
                                         NamedLibrary{"ZZCLIENT.DLL", "Veltro Tools", "zzcl"},
                                         NamedLibrary{"k.dll", "Veltro Tools", "k.dl"}),
                         [](const testing::TestParamInfo<NamedLibrary> &named) {
                             std::string name = named.param.fileName;
                             std::ranges::replace(name, '.', '_');
                             return name;
                         });
