// docs/guide.md held against what is compiled, declared and done.
#include "tests/examples/GuideCode.h"
#include "tests/examples/ProgramUnderTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <set>
#include <sstream>

namespace {

using namespace kal::test;
using testing::IsEmpty;
using testing::SizeIs;

// ------------------------------------------------------------------------------------------------------ the text

std::string source(const std::string &name) {
    return readFile(std::string(KAL_SOURCE_FOLDER) + "/" + name);
}

std::vector<std::string> trimmedLines(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        const auto begin = line.find_first_not_of(" \t\r");
        const auto end = line.find_last_not_of(" \t\r");
        lines.push_back(begin == std::string::npos ? "" : line.substr(begin, end - begin + 1));
    }
    return lines;
}

std::vector<std::vector<std::string>> snippets() {
    std::vector<std::vector<std::string>> snippets;
    bool isInside = false;
    for (const std::string &line : trimmedLines(source("docs/guide.md"))) {
        if (line.starts_with("```")) {
            isInside = line == "```c" || line == "```cpp";
            if (isInside) {
                snippets.emplace_back();
            }
        } else if (isInside) {
            snippets.back().push_back(line);
        }
    }
    return snippets;
}

TEST(GuideText, EverySnippetStandsInASourceThatIsBuilt) {
    std::vector<std::string> built;
    for (const char *name : {"examples/print.c", "examples/status_window/PrinterService.cpp",
                             "tests/examples/GuideCode.cpp", "tests/examples/GuideCode.h"}) {
        const auto lines = trimmedLines(source(name));
        built.insert(built.end(), lines.begin(), lines.end());
    }
    ASSERT_THAT(snippets(), SizeIs(testing::Ge(8u)));
    for (auto snippet : snippets()) {
        // A declaration and the function that uses it may stand apart in their sources: pieces between blank lines.
        std::vector<std::string> piece;
        snippet.emplace_back();
        for (const std::string &line : snippet) {
            if (!line.empty()) {
                piece.push_back(line);
                continue;
            }
            const auto position = std::search(built.begin(), built.end(), piece.begin(), piece.end());
            EXPECT_TRUE(position != built.end()) << "no source has the snippet that begins with: " << piece.front();
            piece.clear();
        }
    }
}

TEST(GuideText, EveryNameIsInTheHeader) {
    const std::string header = source("api/kal.h");
    const std::string guide = source("docs/guide.md");
    const std::regex pattern(R"(\b(Kal[A-Z]\w+|KAL_\w+|DEVERR_\w+|WM_KAL_\w+|NETTYPE\w+|ENUM_\w+)\b)");
    std::set<std::string> names;
    for (std::sregex_iterator match(guide.begin(), guide.end(), pattern), end; match != end; ++match) {
        names.insert((*match)[1]);
    }
    EXPECT_GT(names.size(), 40u);
    for (const std::string &name : names) {
        EXPECT_TRUE(std::regex_search(header, std::regex("\\b" + name + "\\b"))) << name;
    }
}

// -------------------------------------------------------------------------------------------- what the text claims

constexpr const char *printers = R"({ "printers": [
    { "handle": 3, "transport": "USB1", "port": "USB001", "device": "BpdPrinter",
      "bidi": [ { "request": "A5 00 03 50 04 01",
                  "answerText": "an answer that is longer than the sixty-four bytes that were offered for it at first" } ] },
    { "handle": 4, "transport": "XYZ9", "port": "ODD1", "device": "BpdPrinter" } ])";

class Guide : public testing::Test {
  protected:
    void registerWith(const std::string &entryPoints = "") {
        service_ =
            std::make_unique<VirtualPrinters>(std::string(printers) + ", \"entryPoints\": {" + entryPoints + "} }");
        ASSERT_EQ(KalRegisterWithRpcServer(nullptr), 1);
        isRegistered_ = true;
    }
    void TearDown() override {
        if (isRegistered_) {
            KalUnregisterApp(0);
        }
    }

    static constexpr uint16_t usbPrinter = 3;
    static constexpr uint32_t everyAlert = ~0x400000u;

    std::unique_ptr<VirtualPrinters> service_;
    bool isRegistered_ = false;
};

TEST_F(Guide, CallWithoutARegistrationRaises) {
    EXPECT_ANY_THROW(KalClose(0, usbPrinter));
}

TEST_F(Guide, PortIsFoundByItsName) {
    registerWith();
    EXPECT_EQ(guide::findPort("USB001").handle, usbPrinter);
}

TEST_F(Guide, PortOfAnUnknownTransportIsFoundToo) {
    registerWith();
    EXPECT_TRUE(guide::findPort("ODD1").isFound);
}

TEST_F(Guide, UnknownPortIsNotFound) {
    registerWith();
    EXPECT_FALSE(guide::findPort("USB002").isFound);
}

TEST_F(Guide, SpecificPortIsAnsweredByItsPortType) {
    registerWith();
    EXPECT_EQ(KalEnumSpecificPort(0, NETTYPEUSB, "USB001", nullptr), int32_t{NETTYPEUSB});
}

TEST_F(Guide, IdlePrinterIsNotPrinting) {
    registerWith();
    EXPECT_EQ(guide::isPrinting(usbPrinter), false);
}

TEST_F(Guide, StateOfAnUnknownPrinterIsUnknown) {
    registerWith();
    EXPECT_EQ(guide::isPrinting(77), std::nullopt);
}

TEST_F(Guide, AnswerLongerThanTheFirstBufferComesWhole) {
    registerWith();
    const auto answer = guide::ask(usbPrinter, 2);
    EXPECT_THAT(std::string(answer.begin(), answer.end()), testing::EndsWith("at first"));
}

TEST_F(Guide, FunctionWithoutARequestHasNoAnswer) {
    registerWith();
    EXPECT_THAT(guide::ask(usbPrinter, 14), IsEmpty());
}

TEST_F(Guide, FullBufferIsPlainFailureTwoSecondsLater) {
    registerWith(R"("OrxWritePrinter": { "code": 122 })");
    ASSERT_EQ(KalOpen(0, usbPrinter, 0), KAL_OKAY);
    ASSERT_EQ(KalStartDoc(usbPrinter, KAL_PORT_TYPE_ANY, nullptr), KAL_OKAY);
    uint32_t count = 1;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(KalWrite(0, usbPrinter, KAL_PORT_TYPE_ANY, "x", &count), KAL_FAIL);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1990));
}

TEST_F(Guide, BusyIsNamedAtTheStartOfAJobAndNotWithinIt) {
    registerWith(R"("OrxStartJobPrinter": { "call": 1, "code": 170 }, "OrxWritePrinter": { "code": 170 })");
    ASSERT_EQ(KalOpen(0, usbPrinter, 0), KAL_OKAY);
    EXPECT_EQ(KalStartDoc(usbPrinter, KAL_PORT_TYPE_ANY, nullptr), KAL_PRNBUSY);
    ASSERT_EQ(KalStartDoc(usbPrinter, KAL_PORT_TYPE_ANY, nullptr), KAL_OKAY);
    uint32_t count = 1;
    EXPECT_EQ(KalWrite(0, usbPrinter, KAL_PORT_TYPE_ANY, "x", &count), KAL_FAIL);
}

TEST_F(Guide, ReleaseClosesForTheCaptureAndForTheNotifications) {
    registerWith();
    ASSERT_EQ(KalCaptureAlerts(0, usbPrinter, &everyAlert, nullptr), KAL_OKAY);
    ASSERT_EQ(KalSetJobControlMode(0, usbPrinter, 2), KAL_OKAY);
    EXPECT_EQ(KalReleaseAlerts(0, usbPrinter), KAL_OKAY);
    EXPECT_EQ(KalClose(0, usbPrinter), DEVERR_INVHANDLE);
}

TEST_F(Guide, RefusedNotificationsKeepTheirOpenBeyondTheRelease) {
    registerWith(R"("OrxRegisterForNotificationsPrinter": { "code": 5 })");
    ASSERT_EQ(KalCaptureAlerts(0, usbPrinter, &everyAlert, nullptr), KAL_OKAY);
    ASSERT_EQ(KalSetJobControlMode(0, usbPrinter, 2), KAL_OKAY);
    EXPECT_EQ(KalReleaseAlerts(0, usbPrinter), KAL_OKAY);
    EXPECT_EQ(KalClose(0, usbPrinter), KAL_OKAY);
    EXPECT_EQ(KalClose(0, usbPrinter), DEVERR_INVHANDLE);
}

TEST_F(Guide, ModeOneWithoutNotificationsClosesAllTheSame) {
    registerWith();
    ASSERT_EQ(KalOpen(0, usbPrinter, 0), KAL_OKAY);
    EXPECT_EQ(KalSetJobControlMode(0, usbPrinter, 1), DEVERR_INVHANDLE);
    EXPECT_EQ(KalClose(0, usbPrinter), DEVERR_INVHANDLE);
}

TEST_F(Guide, ServiceTooOldForJobsLeavesTheHandleClosed) {
    registerWith(R"("OrxStartJobPrinter": { "missing": true })");
    ASSERT_EQ(KalOpen(0, usbPrinter, 0), KAL_OKAY);
    EXPECT_EQ(KalStartDoc(usbPrinter, KAL_PORT_TYPE_ANY, nullptr), KAL_FAIL);
    EXPECT_EQ(KalClose(0, usbPrinter), DEVERR_INVHANDLE);
}

TEST_F(Guide, StartRpcServerAnswersYes) {
    registerWith();
    EXPECT_EQ(KalStartRpcServer(), 1);
}

} // namespace
