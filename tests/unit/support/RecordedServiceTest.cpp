#include "tests/support/RecordedService.h"

#include "tests/support/ExportDirectory.h"
#include "tests/support/GuardedBuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using kal::test::RecordedService;
using kal::test::ServiceCall;
using testing::ElementsAre;

namespace {

using FiveWords = uint32_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);

class Comc {
  public:
    Comc() : module_(LoadLibraryA("comc.dll")) {}
    ~Comc() { FreeLibrary(module_); }
    Comc(const Comc &) = delete;
    Comc &operator=(const Comc &) = delete;
    HMODULE module() const { return module_; }
    uint32_t call(const char *name, uint64_t a0 = 0, uint64_t a1 = 0, uint64_t a2 = 0, uint64_t a3 = 0, uint64_t a4 = 0,
                  uint64_t a5 = 0) const {
        auto *address = reinterpret_cast<FiveWords *>(reinterpret_cast<void *>(GetProcAddress(module_, name)));
        return address != nullptr ? address(a0, a1, a2, a3, a4, a5) : GetLastError();
    }

  private:
    HMODULE module_;
};

uint64_t word(const void *pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

} // namespace

TEST(RecordedService, ExportsEveryEntryPoint) {
    const Comc comc;
    auto expected = kal::test::entryPointNames();
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(expected.size(), 90u);
    EXPECT_EQ(kal::test::exportNames(comc.module()), expected);
}

TEST(RecordedService, RecordsArgumentsTextsAndThread) {
    RecordedService service;
    const Comc comc;
    comc.call("OrxSetStringPrinter", 7, 0x8001, word("descriptor"), word("value"), 5);
    const ServiceCall call = service.lastCall("OrxSetStringPrinter");
    EXPECT_EQ(call.number(0), 7u);
    EXPECT_EQ(call.number(1), 0x8001u);
    EXPECT_EQ(call.text(2), "descriptor");
    EXPECT_EQ(call.text(3), "value");
    EXPECT_EQ(call.number(4), 5u);
    EXPECT_EQ(call.thread, GetCurrentThreadId());
}

TEST(RecordedService, TextRunsUpToTheEndOfReadableMemory) {
    RecordedService service;
    const Comc comc;
    const kal::test::GuardedBuffer unterminated(std::string("abc"));
    comc.call("OrxWritePrinter", 1, 2, word(unterminated.data()), 3, 0);
    EXPECT_EQ(service.lastCall("OrxWritePrinter").text(2), "abc");
}

TEST(RecordedService, AnswersInTurnThenAsScripted) {
    RecordedService service;
    const Comc comc;
    service.answers("OrxResume", 5);
    service.answersInTurn("OrxResume", {170, 0});
    EXPECT_EQ(comc.call("OrxResume"), 170u);
    EXPECT_EQ(comc.call("OrxResume"), 0u);
    EXPECT_EQ(comc.call("OrxResume"), 5u);
    EXPECT_EQ(comc.call("OrxResume"), 5u);
}

TEST(RecordedService, ScriptAndRecordingOutliveTheLibrary) {
    RecordedService service;
    service.answers("OrxSuspend", 9);
    for (int round = 1; round <= 3; ++round) {
        {
            const Comc comc;
            EXPECT_TRUE(service.isLoaded());
            EXPECT_EQ(comc.call("OrxSuspend"), 9u);
            EXPECT_EQ(service.lastCall("OrxSuspend").load, round);
        }
        EXPECT_FALSE(service.isLoaded());
        EXPECT_EQ(service.unloads(), round);
    }
    EXPECT_EQ(service.loads(), 3);
    EXPECT_EQ(service.count("OrxSuspend"), 3u);
}

TEST(RecordedService, LacksAnEntryPointFromTheNextLoadOn) {
    RecordedService service;
    service.lacks("OrxStartJobPrinterW");
    {
        const Comc comc;
        EXPECT_EQ(comc.call("OrxStartJobPrinterW"), DWORD{ERROR_PROC_NOT_FOUND});
        for (const std::string &name : kal::test::entryPointNames())
            EXPECT_EQ(GetProcAddress(comc.module(), name.c_str()) != nullptr, name != "OrxStartJobPrinterW") << name;
    }
    service.hasAgain("OrxStartJobPrinterW");
    const Comc comc;
    EXPECT_EQ(comc.call("OrxStartJobPrinterW"), 0u);
}

TEST(RecordedService, LacksAnEntryPointAtOnceWhileLoaded) {
    RecordedService service;
    const Comc comc;
    EXPECT_EQ(comc.call("OrxResume"), 0u);
    service.lacks("OrxResume");
    EXPECT_EQ(comc.call("OrxResume"), DWORD{ERROR_PROC_NOT_FOUND});
}

TEST(RecordedService, ActionRunsOnTheCallersThreadAndMayCallBack) {
    RecordedService service;
    const Comc comc;
    service.does("OrxEnumPrinters", [&](const ServiceCall &call) {
        EXPECT_EQ(GetCurrentThreadId(), call.thread);
        return comc.call("OrxResume") + call.callback<uint32_t(uint32_t)>(3)(41);
    });
    uint32_t (*callback)(uint32_t) = [](uint32_t value) { return value + 1; };
    EXPECT_EQ(comc.call("OrxEnumPrinters", 1, 0, 0, word(reinterpret_cast<void *>(callback))), 42u);
    EXPECT_THAT(service.sequence(), ElementsAre("OrxEnumPrinters", "OrxResume"));
}

TEST(RecordedService, HandsOutFreshClientIdentifiers) {
    RecordedService service;
    const Comc comc;
    service.handsOutClientIds({7});
    uint32_t first = 0;
    uint32_t second = 0;
    EXPECT_EQ(comc.call("OrxGetClientId", word(&first), word("")), 0u);
    EXPECT_EQ(comc.call("OrxGetClientId", word(&second), word("")), 0u);
    EXPECT_EQ(first, 7u);
    EXPECT_EQ(second, 101u);
}

TEST(RecordedService, AnswersPropertiesByNameAndHandle) {
    RecordedService service;
    const Comc comc;
    service.stringProperty("Transport", "USB1");
    service.stringProperty(9, "Transport", "IPv4");
    constexpr char descriptor[] = "<Name>Transport</Name><Type>String</Type><Access>ReadOnly</Access>";
    char buffer[16] = {};
    uint32_t length = 0;
    EXPECT_EQ(comc.call("OrxGetStringPrinter", 1, 8, word(descriptor), word(buffer), 16, word(&length)), 0u);
    EXPECT_STREQ(buffer, "USB1");
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(comc.call("OrxGetStringPrinter", 1, 9, word(descriptor), word(buffer), 16, word(&length)), 0u);
    EXPECT_STREQ(buffer, "IPv4");
    EXPECT_EQ(comc.call("OrxGetStringPrinter", 1, 9, word(descriptor), word(buffer), 4, word(&length)), 122u);
}

TEST(RecordedService, MisspelledEntryPointIsReported) {
    RecordedService service;
    EXPECT_THROW(service.answers("OrxWrite", 1), std::logic_error);
    EXPECT_THROW((void)service.count("WritePrinter"), std::logic_error);
}
