// "Messages": each event is brought to the library, and what it posts compared with the page.
#include "tests/contract/alerts/AlertFixture.h"
#include "tests/docs/Documents.h"

#include "comc/comc.h"

#include <algorithm>
#include <regex>

namespace kal::test {
namespace {

constexpr const char *messagesPage = "docs/reference/messages.md";

struct MessageRow {
    uint32_t number;
    std::string comesWith;
    std::string high;
    std::string lParam;
};

std::map<std::string, MessageRow> messageRows() {
    std::map<std::string, MessageRow> rows;
    for (const Row &cells : tableOf(messagesPage, "| Message | Number |"))
        rows[namesIn(cells[0]).at(0)] = {static_cast<uint32_t>(std::stoul(cells[1], nullptr, 0)), cells[2], cells[3],
                                         cells[4]};
    return rows;
}

std::map<std::string, uint32_t> messagesOfTheHeader() {
    const std::string header = sourceText("api/kal.h");
    const std::regex definition(R"(#define (WM_KAL_\w+) (0x[0-9A-F]+))");
    std::map<std::string, uint32_t> messages;
    for (std::sregex_iterator match(header.begin(), header.end(), definition), end; match != end; ++match)
        messages[(*match)[1]] = static_cast<uint32_t>(std::stoul((*match)[2], nullptr, 0));
    return messages;
}

TEST(MessagesPageTable, HoldsTheMessagesOfTheHeaderWithTheirNumbers) {
    std::map<std::string, uint32_t> numbers;
    for (const auto &[name, row] : messageRows())
        numbers[name] = row.number;
    EXPECT_EQ(numbers, messagesOfTheHeader());
}

class MessagesPage : public AlertTest {
  protected:
    static constexpr uint16_t handle = 5;

    void become(const char *device) {
        service.stringProperty("Device", device);
        captureForWindow();
    }

    /// The row of what was just posted, which is one message; the page's words for where it comes from are looked for.
    MessageRow rowOfPosted(const std::string &comesWith) {
        const auto rows = messageRows();
        if (posted().size() != 1) {
            ADD_FAILURE() << posted().size() << " messages for " << comesWith;
            return {};
        }
        const auto found =
            std::ranges::find_if(rows, [&](const auto &row) { return row.second.number == posted()[0].message; });
        if (found == rows.end()) {
            ADD_FAILURE() << "no row for message " << posted()[0].message;
            return {};
        }
        EXPECT_THAT(found->second.comesWith, testing::StartsWith(comesWith));
        EXPECT_EQ(posted()[0].handle(), handle);
        return found->second;
    }

    void expectAlert(const AlertBytes &alert, const std::string &comesWith) {
        deliver(alert);
        const MessageRow row = rowOfPosted(comesWith);
        EXPECT_EQ(row.high, "alert id");
        EXPECT_EQ(row.lParam, std::to_string(posted().at(0).lParam));
        EXPECT_EQ(stored(posted()[0].high()), AlertBytes(alert.begin() + 5, alert.end()));
        forget();
    }
};

TEST_F(MessagesPage, IsRightAboutAlertsOfACpdPrinter) {
    become("CpdPrinter");
    expectAlert(powerOnReset(), "`CpdPrinter`: power-on reset");
    expectAlert(cpdStatus(), "`CpdPrinter`: any other valid alert");
}

TEST_F(MessagesPage, IsRightAboutAlertsOfABpdPrinter) {
    become("BpdPrinter");
    expectAlert(tonerPrediction(), "`BpdPrinter`: toner prediction");
    expectAlert(extendedAlert(1), "`BpdPrinter`: job alert, extended alert of type 1");
    expectAlert(extendedAlert(2), "`BpdPrinter`: warning, extended alert of type 2");
    expectAlert(extendedAlert(4), "`BpdPrinter`: configuration change, extended alert of type 4");
}

TEST_F(MessagesPage, HoldsEveryMessageThatAlertsOfAnyTypeBring) {
    std::set<uint32_t> numbers;
    for (const auto &[name, row] : messageRows())
        numbers.insert(row.number);
    become("BpdPrinter");
    for (int type = 0; type < 256; ++type)
        deliver(extendedAlert(static_cast<uint8_t>(type)));
    EXPECT_EQ(posted().size(), 3u);
    for (const Posted &each : posted())
        EXPECT_TRUE(numbers.contains(each.message));
}

TEST_F(MessagesPage, IsRightAboutTheEndOfAJob) {
    become("BpdPrinter");
    const uint32_t flag = 7;
    notify(ORX_NOTIFICATION_TRUE_END_OF_JOB, &flag);
    MessageRow row = rowOfPosted("notification: true end of a job");
    EXPECT_EQ(row.high, "the service's flag, 1 when it gave none");
    EXPECT_EQ(row.lParam, "port-type code");
    EXPECT_EQ(posted().at(0).high(), flag);
    EXPECT_EQ(posted()[0].lParam, LPARAM{NETTYPEUSB});
    forget();
    notify(ORX_NOTIFICATION_TRUE_END_OF_JOB);
    EXPECT_EQ(posted().at(0).high(), 1);
}

TEST_F(MessagesPage, HoldsTheStatesThatNotificationsBring) {
    std::map<uint16_t, std::string> states;
    for (const Row &cells : tableOf(messagesPage, "| State |"))
        states[static_cast<uint16_t>(std::stoi(cells[0]))] = cells[1];
    const std::map<uint32_t, std::string> brought = {
        {ORX_PRINTER_IDLE_AND_OKAY, "is idle"},
        {ORX_PRINTER_PRINTING_AND_OKAY, "prints"},
        {ORX_PRINTER_PRINTING_AND_ERROR, "prints, and something is wrong"}};
    become("BpdPrinter");
    std::map<uint16_t, std::string> seen;
    for (const auto &[notification, text] : brought) {
        notify(notification);
        const MessageRow row = rowOfPosted("notification: change of state");
        EXPECT_EQ(row.high, "state");
        EXPECT_EQ(row.lParam, std::to_string(posted().at(0).lParam));
        seen[posted()[0].high()] = text;
        forget();
    }
    EXPECT_EQ(states, seen);
}

} // namespace
} // namespace kal::test
