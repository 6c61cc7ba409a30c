// The export table, the public header and the export list name the same functions, and nothing but Windows is needed.
#include "tests/contract/print/ClientFixture.h"
#include "tests/contract/print/ExportNames.h"
#include "tests/support/ExportDirectory.h"

#include <algorithm>
#include <cctype>
#include <regex>
#include <sstream>

using namespace kal::test;
using testing::ElementsAreArray;

namespace {

std::vector<std::string> namesInHeader() {
    const std::string text = readFile(std::filesystem::path(KAL_API_FOLDER) / "kal.h");
    const std::regex declaration(R"(\nKAL_API\s+[a-z0-9_]+\s+(\w+)\()");
    std::vector<std::string> names;
    for (std::sregex_iterator match(text.begin(), text.end(), declaration), end; match != end; ++match)
        names.push_back((*match)[1]);
    std::ranges::sort(names);
    return names;
}

std::vector<std::string> namesInExportList() {
    std::istringstream stream(readFile(std::filesystem::path(KAL_API_FOLDER) / "kal.def"));
    std::vector<std::string> names;
    bool listed = false;
    for (std::string word; stream >> word;) {
        if (listed)
            names.push_back(word);
        listed = listed || word == "EXPORTS";
    }
    std::ranges::sort(names);
    return names;
}

class LoadedLibrary : public testing::Test {
  protected:
    StagedLibrary library{ComcFile::missing};
};

} // namespace

TEST(ExportNames, AreOneHundredAndSeven) {
    EXPECT_EQ(allExports().size(), 107u);
    EXPECT_TRUE(std::ranges::is_sorted(allExports()));
}

TEST_F(LoadedLibrary, ExportsTheseNamesAndNoOther) {
    EXPECT_THAT(exportNames(library.module()), ElementsAreArray(allExports()));
}

TEST(Header, DeclaresTheseNamesAndNoOther) {
    EXPECT_THAT(namesInHeader(), ElementsAreArray(allExports()));
}

TEST(ExportList, HoldsTheseNamesAndNoOther) {
    EXPECT_THAT(namesInExportList(), ElementsAreArray(allExports()));
}

TEST_F(LoadedLibrary, ImportsSystemLibrariesOnly) {
    const std::vector<std::string> system = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "user32.dll"};
    const auto imported = importedLibraries(library.module());
    EXPECT_THAT(imported, testing::Not(testing::IsEmpty()));
    for (std::string name : imported) {
        std::ranges::transform(name, name.begin(), [](unsigned char letter) { return std::tolower(letter); });
        EXPECT_TRUE(std::ranges::find(system, name) != system.end() || name.starts_with("api-ms-win-crt-")) << name;
    }
}

TEST_F(LoadedLibrary, LoadsTheServiceOnlyWhenAsked) {
    EXPECT_EQ(GetModuleHandleA((library.folder() / "comc.dll").string().c_str()), nullptr);
}

TEST(ResultCodes, FailureIsNotNegativeAndDeviceErrorsAre) {
    EXPECT_GT(KAL_FAIL, 0);
    for (const int code :
         {DEVERR_INVHANDLE, DEVERR_CONNECT, DEVERR_PROTOCOL, DEVERR_READFAIL, KAL_MOREDATA, KAL_PRNBUSY})
        EXPECT_LT(code, 0);
}
