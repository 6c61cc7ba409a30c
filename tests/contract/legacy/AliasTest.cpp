#include "tests/contract/legacy/LegacyNames.h"

#include "api/kal.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>

namespace kal::test {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// What a call did, in a form that can be compared between two copies of the library.
struct Outcome {
    int64_t result = 0;
    std::vector<std::string> serviceCalls;
    std::vector<std::string> log;
    std::string memory;

    bool operator==(const Outcome &) const = default;
};

/// Memory that calls are given pointers into: the same for the alias and for its export.
struct Memory {
    uint32_t mask = 0x12345;
    uint32_t size = 24;
    uint16_t alertSize = 24;
    char document[16] = "document";
    char port[16] = "\\\\host\\LPT1";
    uint8_t data[32] = {1, 2, 3, 4, 5, 6, 7, 8};
    uint8_t buffer[32] = {};
};
Memory memory;

int reportedPrinters;
void countPrinter(const PortInfoRecord *) {
    ++reportedPrinters;
}

/// The words that go into a call: 64 bits each, so that narrow arguments carry dirt above their width.
using Words = std::array<uint64_t, 8>;
using AnyExport = int64_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);

constexpr uint64_t narrow(uint16_t value) {
    return 0xDEADBEEFDEAD0000u | value;
}
constexpr uint64_t number(uint32_t value) {
    return 0xDEADBEEF00000000u | value;
}
template <class Type>
uint64_t address(Type *place) {
    return reinterpret_cast<uintptr_t>(place);
}

struct Scenario {
    std::function<Words()> words;
    /// Brings the library to where the call makes sense.
    std::function<void(const StagedLibrary &)> prepare = [](const StagedLibrary &) {};
    /// Bytes of the result that count.
    size_t resultSize = 4;
};

void openHandle(const StagedLibrary &library) {
    library.function<decltype(KalOpen)>("KalOpen")(0, 0x6005, 0);
}
void captureHandle(const StagedLibrary &library) {
    library.function<decltype(KalCaptureAlerts)>("KalCaptureAlerts")(0, 0x6005, &memory.mask, nullptr);
}

const std::map<std::string, Scenario> &scenarios() {
    static const std::map<std::string, Scenario> all = {
        {"KalCaptureAlerts", {[] {
             return Words{narrow(1), narrow(0x6005), address(&memory.mask), 0x54321};
         }}},
        {"KalClose",
         {[] {
              return Words{narrow(1), narrow(0x6005)};
          },
          openHandle}},
        {"KalEndDoc",
         {[] {
              return Words{narrow(0x6005), number(512)};
          },
          openHandle}},
        {"KalEnumByUNC", {[] {
             return Words{narrow(1), number(0x400), address(memory.port), address(&countPrinter)};
         }}},
        {"KalEnumPrinters", {[] {
             return Words{narrow(1), number(0x80000C02), address(&countPrinter)};
         }}},
        {"KalEnumSpecificPort", {[] {
             return Words{narrow(1), number(0x400), address(memory.port), address(&countPrinter)};
         }}},
        {"KalOpen", {[] {
             return Words{narrow(1), narrow(0x6005), narrow(3)};
         }}},
        {"KalQueryAlerts",
         {[] { return Words{1, narrow(0), 3, 4, address(memory.buffer), address(&memory.alertSize)}; },
          [](const StagedLibrary &) {}}},
        {"KalRegisterApp", {[] { return Words{narrow(1)}; }, [](const StagedLibrary &) {}, 2}},
        {"KalReleaseAlerts",
         {[] {
              return Words{narrow(1), narrow(0x6005)};
          },
          captureHandle}},
        {"KalSendBidi", {[] {
             return Words{narrow(1),
                          narrow(0x6005),
                          narrow(3),
                          narrow(20),
                          address(memory.buffer),
                          address(&memory.size),
                          address(memory.data),
                          narrow(3)};
         }}},
        {"KalStartDoc",
         {[] {
              return Words{narrow(0x6005), number(512), address(memory.document)};
          },
          openHandle}},
        {"KalUnregisterApp",
         {[] { return Words{narrow(1)}; },
          [](const StagedLibrary &library) { library.function<decltype(KalRegisterApp)>("KalRegisterApp")(0); }, 0}},
        {"KalWrite",
         {[] {
              return Words{narrow(1), narrow(0x6005), number(512), address(memory.data), address(&memory.size)};
          },
          openHandle}},
    };
    return all;
}

/// A pointer into the shared memory by its place there, another one by the text behind it.
std::string describe(const ServiceCall &call) {
    std::string text = call.entryPoint;
    const std::string_view kinds = argumentKinds(call.entryPoint);
    const auto start = reinterpret_cast<uintptr_t>(&memory);
    for (size_t index = 0; index < kinds.size(); ++index) {
        text += ' ';
        if (kinds[index] != 'P')
            text += std::to_string(call.number(index));
        else if (call.arguments[index] >= start && call.arguments[index] < start + sizeof memory)
            text += "memory+" + std::to_string(call.arguments[index] - start);
        else
            text += '"' + call.text(index) + '"';
    }
    return text;
}

class WorkingAliasTest : public testing::TestWithParam<Alias> {
  protected:
    WorkingAliasTest() {
        service.stringProperty("Transport", "USB1");
        service.stringProperty("Device", "CpdPrinter");
        service.stringProperty("Portname", "PORT");
        service.does("OrxEnumPrinters", [](const ServiceCall &call) {
            call.callback<uint32_t(uint32_t)>(3)(0x6005);
            return 0u;
        });
        service.does("OrxEnumSpecificPrinter", [](const ServiceCall &call) {
            *call.pointer<uint32_t>(2) = 0x6005;
            return 0u;
        });
        service.does("OrxExchangeBidiPrinter", [](const ServiceCall &call) {
            std::memcpy(call.pointer<char>(4), "HHHHHanswer", 11);
            *call.pointer<uint32_t>(6) = 11;
            return 0u;
        });
        service.does("OrxWritePrinter", [](const ServiceCall &call) {
            *call.pointer<uint32_t>(4) = 17;
            return 0u;
        });
    }

    /// Calls the export, by this name, of a library that was just loaded and registered.
    Outcome call(const std::string &name, const Scenario &scenario) {
        memory = Memory();
        reportedPrinters = 0;
        service.handsOutClientIds({11, 12, 13, 14, 15, 16, 17, 18, 19, 20});
        PrivateMachine machine;
        machine.logEverything();
        const StagedLibrary library;
        library.function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
        scenario.prepare(library);
        service.forgetCalls();
        machine.deleteLog();

        const Words words = scenario.words();
        const int64_t returned = library.function<AnyExport>(name.c_str())(words[0], words[1], words[2], words[3],
                                                                           words[4], words[5], words[6], words[7]);
        Outcome outcome;
        std::memcpy(&outcome.result, &returned, scenario.resultSize);
        for (const ServiceCall &each : service.calls())
            outcome.serviceCalls.push_back(describe(each));
        outcome.log = machine.logTexts();
        outcome.memory.assign(reinterpret_cast<const char *>(&memory), sizeof memory);
        outcome.memory += static_cast<char>('0' + reportedPrinters);
        const auto unregister = library.function<decltype(KalUnregisterApp)>("KalUnregisterApp");
        unregister(0);
        if (name.starts_with("KalRegister"))
            unregister(0); // the call under test registered, too
        return outcome;
    }

    Outcome callPlain() { return call(GetParam().plainName(), scenarios().at(GetParam().plainName())); }
    Outcome callAlias() { return call(GetParam().name, scenarios().at(GetParam().plainName())); }

    RecordedService service;
};

void expectSameButForTheTrace(const Outcome &alias, const Outcome &plain, const std::string &tracedName) {
    EXPECT_EQ(alias.result, plain.result);
    EXPECT_EQ(alias.serviceCalls, plain.serviceCalls);
    EXPECT_EQ(alias.memory, plain.memory);
    ASSERT_EQ(alias.log.size(), plain.log.size() + 2);
    EXPECT_EQ(alias.log.front(), "+" + tracedName);
    EXPECT_EQ(std::vector<std::string>(alias.log.begin() + 1, alias.log.end() - 1), plain.log);
    EXPECT_THAT(alias.log.back(), StartsWith("-" + tracedName));
}

TEST_P(WorkingAliasTest, DoesWhatItsExportDoesWithTheSameArguments) {
    expectSameButForTheTrace(callAlias(), callPlain(), GetParam().tracedName);
}

TEST_P(WorkingAliasTest, FailsAsItsExportFails) {
    for (const std::string &entryPoint : entryPointNames())
        if (entryPoint.ends_with("Printer") || entryPoint.ends_with("Printers") || entryPoint == "OrxDiscovery")
            service.answers(entryPoint, 1168);
    expectSameButForTheTrace(callAlias(), callPlain(), GetParam().tracedName);
}

TEST_P(WorkingAliasTest, RaisesWhileNoApplicationIsRegistered) {
    const StagedLibrary library;
    EXPECT_ANY_THROW(library.function<AnyExport>(GetParam().name)(0, 0, 0, 0, 0, 0, 0, 0));
}

INSTANTIATE_TEST_SUITE_P(Aliases, WorkingAliasTest, testing::ValuesIn(workingAliases));

/// The comparison above is only worth something when the calls do something.
TEST_F(WorkingAliasTest, ScenariosReachTheService) {
    for (const auto &[name, scenario] : scenarios())
        if (name != "KalQueryAlerts" && name != "KalRegisterApp" && name != "KalUnregisterApp") {
            EXPECT_THAT(call(name, scenario).serviceCalls, Not(IsEmpty())) << name;
        }
}

TEST_F(WorkingAliasTest, WrittenDataArrivesThroughTheAlias) {
    const Outcome outcome = call("KalWriteLM", scenarios().at("KalWrite"));
    EXPECT_EQ(outcome.result, KAL_OKAY);
    EXPECT_THAT(outcome.serviceCalls, Contains(StartsWith("OrxWritePrinter 11 24581 memory+")));
    EXPECT_EQ(memory.size, 17u);
}

TEST_F(WorkingAliasTest, BidiAnswerArrivesThroughTheAlias) {
    EXPECT_EQ(call("KalSendBidiLM", scenarios().at("KalSendBidi")).result, KAL_OKAY);
    EXPECT_EQ(memory.size, 6u);
    EXPECT_EQ(std::memcmp(memory.buffer, "answer", 6), 0);
}

TEST_F(WorkingAliasTest, PrintersAreReportedThroughTheAlias) {
    call("KalEnumPrintersLM", scenarios().at("KalEnumPrinters"));
    EXPECT_EQ(reportedPrinters, 3);
    EXPECT_EQ(call("KalEnumSpecificPortLM", scenarios().at("KalEnumSpecificPort")).result, 1024);
    EXPECT_EQ(reportedPrinters, 1);
}

/// An alert is fetched through the alias as it is through the export.
TEST_F(WorkingAliasTest, AlertIsFetchedThroughTheAlias) {
    PrivateMachine machine;
    const StagedLibrary library;
    library.function<decltype(KalRegisterApp)>("KalRegisterApp")(0);
    captureHandle(library);
    const uint8_t alert[12] = {0xA5, 0, 0, 0, 0xFF, 1, 0, 0, 7, 8, 9, 10};
    auto *callback =
        service.lastCall("OrxRegisterForAlertsPrinter").callback<uint32_t(uint32_t, const uint8_t *, uint32_t)>(3);
    ASSERT_EQ(callback(0x6005, alert, 12), 0u);
    const auto query = library.function<decltype(KalQueryAlerts)>("KalQueryAlertsLM");
    uint8_t bytes[7] = {};
    uint16_t size = 6;
    EXPECT_EQ(query(0, 0, 0, 0, bytes, &size), 7);
    EXPECT_EQ(size, 7);
    EXPECT_EQ(query(0, 0, 0, 0, bytes, &size), KAL_OKAY);
    EXPECT_EQ(std::memcmp(bytes, alert + 5, 7), 0);
    EXPECT_EQ(query(0, 1, 0, 0, bytes, &size), KAL_FAIL);
    library.function<decltype(KalUnregisterApp)>("KalUnregisterApp")(0);
}

} // namespace
} // namespace kal::test
