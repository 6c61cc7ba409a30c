#include "tests/simulator/LoadedSimulator.h"

#include "simulator/configuration/AlertFormat.h"
#include "tests/support/ImportHook.h"

#include <fstream>
#include <mutex>

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

struct Received {
    uint32_t handle = 0;
    uint32_t category = 0;
    uint32_t notification = 0;
    uint32_t flag = 0xFFFFFFFF; // as long as none was given
    std::vector<uint8_t> alert;
    std::vector<uint8_t> readable; // twelve bytes, whatever the length
    uint64_t atMs = 0;
    DWORD thread = 0;
};

/// What the callbacks received, in order.
class Inbox {
  public:
    static void put(Received item) {
        item.atMs = nowMs();
        item.thread = GetCurrentThreadId();
        const std::lock_guard hold(mutex());
        items().push_back(std::move(item));
    }
    static void clear() {
        const std::lock_guard hold(mutex());
        items().clear();
    }
    static std::vector<Received> content() {
        const std::lock_guard hold(mutex());
        return items();
    }
    /// Waits until so many arrived, five seconds at most.
    static std::vector<Received> waitFor(size_t count) {
        const auto deadline = nowMs() + 5000;
        while (content().size() < count && nowMs() < deadline)
            Sleep(5);
        return content();
    }

  private:
    static std::mutex &mutex() {
        static std::mutex instance;
        return instance;
    }
    static std::vector<Received> &items() {
        static std::vector<Received> instance;
        return instance;
    }
};

uint32_t onAlert(uint32_t handle, const uint8_t *alert, uint32_t length) {
    Received item;
    item.handle = handle;
    item.alert.assign(alert, alert + length);
    item.readable.assign(alert, alert + 12);
    Inbox::put(std::move(item));
    return 0;
}

uint32_t onNotification(uint32_t handle, uint32_t category, uint32_t notification, const uint32_t *flag, void *,
                        void *) {
    Received item;
    item.handle = handle;
    item.category = category;
    item.notification = notification;
    if (flag != nullptr)
        item.flag = *flag;
    Inbox::put(std::move(item));
    return 0;
}

std::vector<uint32_t> notifications(const std::vector<Received> &items) {
    std::vector<uint32_t> ids;
    for (const auto &item : items)
        ids.push_back(item.notification);
    return ids;
}

struct SimulatorEvents : testing::Test {
    SimulatorEvents() { Inbox::clear(); }
};

/// The printers that the items are of, in order.
std::vector<uint32_t> handles(const std::vector<Received> &items) {
    std::vector<uint32_t> ids;
    for (const auto &item : items) {
        ids.push_back(item.handle);
    }
    return ids;
}

std::string withTimeline(const std::string &entries) {
    return LoadedSimulator::withPlainPrinters("\"timeline\":[" + entries + "]");
}

TEST_F(SimulatorEvents, JobTellsItsLifeInOrder) {
    const LoadedSimulator simulator;
    simulator.open(3);
    ASSERT_EQ(simulator.registerNotifications(3, &onNotification), 0u);
    simulator.start(3);
    simulator.write(3, "x");
    simulator.write(3, "y");
    simulator.end(3);
    const auto items = Inbox::waitFor(6);
    EXPECT_EQ(notifications(items), (std::vector<uint32_t>{4, 5, 1, 6, 8, 3}));
    EXPECT_EQ(items[4].flag, 1u);
    EXPECT_EQ(items[0].category, 1u);
    EXPECT_EQ(items[0].handle, 3u);
    EXPECT_NE(items[0].thread, GetCurrentThreadId());
}

TEST_F(SimulatorEvents, CancelledJobTellsSo) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.registerNotifications(3, &onNotification);
    simulator.start(3);
    simulator.cancel(3);
    EXPECT_EQ(notifications(Inbox::waitFor(3)), (std::vector<uint32_t>{4, 7, 3}));
}

TEST_F(SimulatorEvents, TrueEndOfJobComesAfterThePrintingTime) {
    const LoadedSimulator simulator(
        R"({"printers":[{"handle":1,"transport":"USB1","port":"p","device":"","printingMs":300,"endOfJobFlag":5}]})");
    simulator.open(1);
    simulator.registerNotifications(1, &onNotification);
    simulator.start(1);
    simulator.end(1);
    const auto items = Inbox::waitFor(3);
    ASSERT_GE(items.size(), 3u);
    EXPECT_EQ(items[2].notification, 8u);
    EXPECT_EQ(items[2].flag, 5u);
    EXPECT_GE(items[2].atMs - items[1].atMs, 250u);
}

TEST_F(SimulatorEvents, ClientThatWaitsLessLongHearsOfTheEndWithoutFlag) {
    const LoadedSimulator simulator(
        R"({"printers":[{"handle":1,"transport":"USB1","port":"p","device":"","printingMs":1500}]})");
    simulator.call<uint32_t(uint32_t, uint32_t, const char *, const char *)>(
        "OrxSetJobStringPrinter", 7u, 1u, "<Name>TeojDuration</Name><Type>Long</Type><Access>Writeable</Access>", "50");
    simulator.open(1);
    simulator.registerNotifications(1, &onNotification);
    simulator.start(1);
    simulator.end(1);
    const auto items = Inbox::waitFor(3);
    ASSERT_GE(items.size(), 3u);
    EXPECT_EQ(items[2].notification, 8u);
    EXPECT_EQ(items[2].flag, 0u);
    EXPECT_LT(items[2].atMs - items[1].atMs, 1000u);
}

TEST_F(SimulatorEvents, EndOfJobMayComeWithoutFlag) {
    const LoadedSimulator simulator(
        R"({"printers":[{"handle":1,"transport":"USB1","port":"p","device":"","printingMs":0,"endOfJobFlag":null}]})");
    simulator.open(1);
    simulator.registerNotifications(1, &onNotification);
    simulator.start(1);
    simulator.end(1);
    EXPECT_EQ(Inbox::waitFor(3).at(2).flag, 0xFFFFFFFFu);
}

TEST_F(SimulatorEvents, JobOfEachKindSendsItsAlerts) {
    const LoadedSimulator simulator(LoadedSimulator::withPlainPrinters("\"logCalls\":false"));
    for (const uint32_t handle : {1u, 2u}) {
        Inbox::clear();
        simulator.open(handle);
        simulator.registerAlerts(handle, &onAlert);
        simulator.start(handle);
        simulator.write(handle, "x");
        simulator.end(handle);
        const auto items = Inbox::waitFor(2);
        ASSERT_EQ(items.size(), 2u);
        EXPECT_EQ(items[0].alert, handle == 1
                                      ? simulator::alertByName("jobStatus", simulator::DeviceKind::bpdPrinter)
                                      : simulator::alertByName("statusChange", simulator::DeviceKind::cpdPrinter));
    }
}

TEST_F(SimulatorEvents, PrinterThatReportsNoJobsIsSilent) {
    const LoadedSimulator simulator(
        R"({"printers":[
            {"handle":1,"transport":"USB1","port":"p","device":"","printingMs":0,"reportsJobs":false},
            {"handle":2,"transport":"USB1","port":"q","device":"","printingMs":0}]})");
    for (const uint32_t handle : {1u, 2u}) {
        simulator.open(handle);
        simulator.registerAlerts(handle, &onAlert);
        simulator.registerNotifications(handle, &onNotification);
        simulator.start(handle);
        simulator.write(handle, "x");
        simulator.end(handle);
    }
    // One thread delivers the events of jobs in order: after the later job's events none of the earlier job can follow.
    EXPECT_EQ(handles(Inbox::waitFor(8)), std::vector<uint32_t>(8, 2));
}

TEST_F(SimulatorEvents, MaskZeroHearsNothing) {
    const LoadedSimulator simulator(withTimeline(R"(
        {"printer":1,"from":"registration","alert":"tonerLow"},
        {"printer":2,"from":"registration","afterMs":1,"alert":"tonerLow"})"));
    simulator.open(1);
    simulator.registerAlerts(1, &onAlert, 0);
    simulator.open(2);
    simulator.registerAlerts(2, &onAlert);
    EXPECT_EQ(handles(Inbox::waitFor(1)), std::vector<uint32_t>{2});
}

TEST_F(SimulatorEvents, UnregisteredClientHearsNothingMore) {
    const LoadedSimulator simulator(withTimeline(R"(
        {"printer":1,"from":"registration","afterMs":100,"alert":"tonerLow"},
        {"printer":2,"from":"registration","afterMs":101,"alert":"tonerLow"})"));
    simulator.open(1);
    simulator.registerAlerts(1, &onAlert);
    const auto unregister = [&] {
        return simulator.call<uint32_t(uint32_t, uint32_t)>("OrxUnregisterForAlertsPrinter", 7u, 1u);
    };
    EXPECT_EQ(unregister(), 0u);
    EXPECT_EQ(unregister(), 1u);
    simulator.open(2);
    simulator.registerAlerts(2, &onAlert);
    EXPECT_EQ(handles(Inbox::waitFor(1)), std::vector<uint32_t>{2});
}

TEST_F(SimulatorEvents, RegistrationNeedsAnOpenHandleAndACallback) {
    const LoadedSimulator simulator;
    EXPECT_EQ(simulator.registerAlerts(3, &onAlert), 6u);
    EXPECT_EQ(simulator.registerNotifications(3, &onNotification), 6u);
    simulator.open(3);
    EXPECT_EQ(simulator.registerAlerts(3, nullptr), 87u);
    EXPECT_EQ(simulator.registerNotifications(3, nullptr), 87u);
}

TEST_F(SimulatorEvents, UnregisterWithoutRegistrationIsAnInvalidFunction) {
    const LoadedSimulator simulator;
    simulator.open(3);
    EXPECT_EQ((simulator.call<uint32_t(uint32_t, uint32_t)>("OrxUnregisterForNotificationsPrinter", 7u, 3u)), 1u);
}

TEST_F(SimulatorEvents, LastCloseEndsTheRegistrations) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.registerNotifications(3, &onNotification);
    simulator.close(3);
    simulator.open(3);
    EXPECT_EQ((simulator.call<uint32_t(uint32_t, uint32_t)>("OrxUnregisterForNotificationsPrinter", 7u, 3u)), 1u);
}

TEST_F(SimulatorEvents, TimelineAlertComesAtItsTime) {
    const auto before = nowMs();
    const LoadedSimulator simulator(withTimeline(R"({"printer":2,"afterMs":400,"alert":"tonerLow"})"));
    simulator.open(2);
    simulator.registerAlerts(2, &onAlert);
    const auto items = Inbox::waitFor(1);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].handle, 2u);
    EXPECT_EQ(items[0].alert, simulator::alertByName("tonerLow", simulator::DeviceKind::cpdPrinter));
    EXPECT_GE(items[0].atMs - before, 390u);
}

TEST_F(SimulatorEvents, TimelineFromRegistrationWaitsForIt) {
    const LoadedSimulator simulator(withTimeline(R"(
        {"printer":1,"from":"registration","afterMs":50,"notification":"printingAndError"},
        {"printer":2,"from":"registration","afterMs":100,"alert":"tonerLow"})"));
    simulator.open(2);
    simulator.registerAlerts(2, &onAlert);
    ASSERT_EQ(handles(Inbox::waitFor(1)), std::vector<uint32_t>{2}); // so much time has passed
    Inbox::clear();
    simulator.open(1);
    simulator.registerNotifications(1, &onNotification);
    EXPECT_EQ(notifications(Inbox::waitFor(1)), std::vector<uint32_t>{2});
}

TEST_F(SimulatorEvents, TimelineEntryHappensOncePerLoad) {
    const LoadedSimulator simulator(withTimeline(R"(
        {"printer":1,"from":"registration","alert":"tonerLow"},
        {"printer":2,"from":"registration","afterMs":1,"alert":"tonerLow"})"));
    simulator.open(1);
    simulator.registerAlerts(1, &onAlert);
    Inbox::waitFor(1);
    simulator.registerAlerts(1, &onAlert);
    simulator.open(2);
    simulator.registerAlerts(2, &onAlert);
    EXPECT_EQ(handles(Inbox::waitFor(2)), (std::vector<uint32_t>{1, 2}));
}

TEST_F(SimulatorEvents, TimelineNotificationChangesTheState) {
    const LoadedSimulator simulator(withTimeline(R"({"printer":1,"notification":"printingAndError"})"));
    uint32_t state = 0;
    const auto deadline = nowMs() + 3000;
    while (state != 2 && nowMs() < deadline) {
        Sleep(10);
        simulator.call<uint32_t(uint32_t, uint32_t, uint32_t *)>("OrxGetCurrentStatePrinter", 7u, 1u, &state);
    }
    EXPECT_EQ(state, 2u);
}

TEST_F(SimulatorEvents, NotificationOfAnotherCategoryKeepsItsNumbers) {
    const LoadedSimulator simulator(
        withTimeline(R"({"printer":1,"from":"registration","notification":99,"category":4,"flag":77})"));
    simulator.open(1);
    simulator.registerNotifications(1, &onNotification);
    const auto items = Inbox::waitFor(1);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].category, 4u);
    EXPECT_EQ(items[0].notification, 99u);
    EXPECT_EQ(items[0].flag, 77u);
}

TEST_F(SimulatorEvents, BurstComesWholeAndInItsInterval) {
    const LoadedSimulator simulator(withTimeline(R"(
        {"printer":1,"from":"registration","alert":"warning","count":10,"intervalMs":20},
        {"printer":2,"from":"registration","afterMs":21,"alert":"tonerLow"})"));
    const auto before = nowMs();
    simulator.open(1);
    simulator.registerAlerts(1, &onAlert);
    const auto items = Inbox::waitFor(10);
    ASSERT_EQ(items.size(), 10u);
    EXPECT_GE(items[9].atMs - before, 175u); // nine intervals
    simulator.open(2);
    simulator.registerAlerts(2, &onAlert);
    EXPECT_EQ(Inbox::waitFor(11).at(10).handle, 2u); // due after an eleventh of the burst would be
}

TEST_F(SimulatorEvents, BurstWithoutIntervalIsAsFastAsTheClient) {
    const LoadedSimulator simulator(
        withTimeline(R"({"printer":1,"from":"registration","alert":"warning","count":5000})"));
    simulator.open(1);
    simulator.registerAlerts(1, &onAlert);
    EXPECT_EQ(Inbox::waitFor(5000).size(), 5000u);
}

TEST_F(SimulatorEvents, EventsComeInTheirTimeWithoutBusyWaitingWhenTheSystemHasNoEventToGive) {
    const LoadedSimulator simulator(
        withTimeline(R"({"printer":1,"from":"registration","afterMs":300,"alert":"warning"})"));
    const ImportHook<"CreateEventW", HANDLE(SECURITY_ATTRIBUTES *, BOOL, BOOL, const wchar_t *)> noEvent(
        simulator.module(), [](SECURITY_ATTRIBUTES *, BOOL, BOOL, const wchar_t *) { return HANDLE{nullptr}; });
    EXPECT_EQ(simulator.call<uint32_t()>("OrxInitialize"), 0u); // a service whose threads have no event
    EXPECT_GT(noEvent.calls(), 0);
    const ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> waits(
        simulator.module(), [&](HANDLE object, DWORD milliseconds) { return waits.original(object, milliseconds); });
    simulator.open(1);
    simulator.registerAlerts(1, &onAlert);
    EXPECT_EQ(Inbox::waitFor(1).size(), 1u);
    EXPECT_LT(waits.calls(), 100); // 300 ms
}

TEST_F(SimulatorEvents, MalformedAlertsComeAsTheyAre) {
    const LoadedSimulator simulator(withTimeline(R"(
        {"printer":1,"from":"registration","alertBytes":"01 02 03"},
        {"printer":1,"from":"registration","afterMs":30,"alert":"empty"},
        {"printer":1,"from":"registration","afterMs":60,"alert":"warning","alertLength":65535})"));
    simulator.open(1);
    simulator.registerAlerts(1, &onAlert);
    const auto items = Inbox::waitFor(3);
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].alert, (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_EQ(items[0].readable, (std::vector<uint8_t>{1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(items[1].alert.empty());
    EXPECT_EQ(items[2].alert.size(), 65535u);
}

void appendToJournal(const LoadedSimulator &simulator, const std::string &line) {
    std::filesystem::create_directories(simulator.spool());
    std::ofstream(simulator.spool() / "events", std::ios::binary | std::ios::app) << line << '\n';
}

TEST_F(SimulatorEvents, JobsOfOtherProcessesAreHeardOf) {
    const LoadedSimulator simulator;
    appendToJournal(simulator, "0 1 3 1 4 - -");
    simulator.open(3);
    simulator.registerNotifications(3, &onNotification);
    appendToJournal(simulator, "0 1 3 1 8 7 -");
    const auto items = Inbox::waitFor(1);
    EXPECT_EQ(notifications(items), std::vector<uint32_t>{8}); // what was told before is old news
    EXPECT_EQ(items.at(0).flag, 7u);
}

TEST_F(SimulatorEvents, OwnJobsAreHeardOfOnceAlthoughTheyAreToldToOthers) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.registerNotifications(3, &onNotification);
    simulator.start(3);
    simulator.cancel(3);
    Inbox::waitFor(3);
    appendToJournal(simulator, "0 1 3 1 8 7 -"); // another process's, and after all of one's own
    EXPECT_EQ(notifications(Inbox::waitFor(4)), (std::vector<uint32_t>{4, 7, 3, 8}));
    EXPECT_NE(readFile(simulator.spool() / "events").find(" 3 1 7 - -\n"), std::string::npos);
}

TEST_F(SimulatorEvents, BrokenJournalIsPassedOver) {
    const LoadedSimulator simulator;
    simulator.open(3);
    simulator.registerNotifications(3, &onNotification);
    appendToJournal(simulator, "nonsense\n\n0 1 3 1 6 - -");
    EXPECT_EQ(notifications(Inbox::waitFor(1)), std::vector<uint32_t>{6});
}

TEST_F(SimulatorEvents, JournalThatWasBegunAnewIsReadFromItsBeginning) {
    const LoadedSimulator simulator;
    simulator.open(3);
    appendToJournal(simulator, std::string(1000, 'x'));
    simulator.registerNotifications(3, &onNotification);
    std::ofstream(simulator.spool() / "events", std::ios::binary | std::ios::trunc);
    appendToJournal(simulator, "0 1 3 1 6 - -");
    EXPECT_EQ(notifications(Inbox::waitFor(1)), std::vector<uint32_t>{6});
}

TEST_F(SimulatorEvents, JournalThatIsAwayForAWhileIsReadOnWhereItWasLeft) {
    const LoadedSimulator simulator;
    simulator.open(3);
    appendToJournal(simulator, "0 1 3 1 4 - -");
    simulator.registerNotifications(3, &onNotification);
    std::filesystem::rename(simulator.spool() / "events", simulator.spool() / "away");
    Sleep(150);
    std::filesystem::rename(simulator.spool() / "away", simulator.spool() / "events");
    appendToJournal(simulator, "0 1 3 1 6 - -");
    EXPECT_EQ(notifications(Inbox::waitFor(1)), std::vector<uint32_t>{6});
}

TEST_F(SimulatorEvents, JournalThatCannotBeReadForAWhileIsReadOnWhereItWasLeft) {
    const LoadedSimulator simulator;
    simulator.open(3);
    appendToJournal(simulator, "0 1 3 1 4 - -");
    simulator.registerNotifications(3, &onNotification);
    {
        const ImportHook<"SetFilePointerEx", BOOL(HANDLE, LARGE_INTEGER, LARGE_INTEGER *, DWORD)> failing(
            simulator.module(), [](HANDLE, LARGE_INTEGER, LARGE_INTEGER *, DWORD) { return FALSE; });
        appendToJournal(simulator, "0 1 3 1 6 - -");
        Sleep(150);
        EXPECT_GT(failing.calls(), 0);
        EXPECT_TRUE(Inbox::content().empty());
    }
    EXPECT_EQ(notifications(Inbox::waitFor(1)), std::vector<uint32_t>{6});
}

TEST_F(SimulatorEvents, JournalDoesNotGrowWithoutEnd) {
    const LoadedSimulator simulator;
    appendToJournal(simulator, std::string((1 << 20) + 1, 'x'));
    simulator.print(3, "x");
    EXPECT_LT(std::filesystem::file_size(simulator.spool() / "events"), 10000u);
}

} // namespace
