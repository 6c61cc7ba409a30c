#include "api/AlertClassifier.h"

#include "api/kal.h"
#include "tests/support/GuardedBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace kal::test {
namespace {

using Alert = std::vector<uint8_t>;

/// Classifies a copy that ends at an inaccessible page.
CpdVerdict verdictOn(const Alert &alert) {
    GuardedBuffer copy(alert.size());
    std::copy(alert.begin(), alert.end(), copy.data());
    return classifyCpdAlert({copy.data(), copy.size()});
}

CpdAlert classify(const Alert &alert) {
    return verdictOn(alert).kind;
}

Alert cpdAlert(size_t length, std::initializer_list<uint8_t> pattern) {
    Alert alert(std::max<size_t>(length, 12), 0x44);
    alert[0] = 0xA5;
    std::copy(pattern.begin(), pattern.end(), alert.begin() + 4);
    alert.resize(length);
    return alert;
}

Alert powerOnReset(size_t length) {
    return cpdAlert(length, {0xFF, 0x01, 0x00, 0x00});
}
Alert status(size_t length) {
    return cpdAlert(length, {0xF0, 0x73, 0x01, 0x01, 0x10, 0x01, 0x10, 0x00});
}
Alert printResync(size_t length) {
    return cpdAlert(length, {0xF0, 0x73, 0x01, 0x01, 0x08, 0x01, 0x08, 0x00});
}

constexpr std::array<size_t, 4> longLengths = {255, 256, 4096, 65535};

/// 0 to 64 and some long ones.
std::vector<size_t> allLengths() {
    std::vector<size_t> lengths;
    for (size_t length = 0; length <= 64; ++length)
        lengths.push_back(length);
    lengths.insert(lengths.end(), longLengths.begin(), longLengths.end());
    return lengths;
}

class CpdAlertLength : public testing::TestWithParam<size_t> {};

TEST_P(CpdAlertLength, PowerOnResetNeedsEightBytes) {
    EXPECT_EQ(classify(powerOnReset(GetParam())), GetParam() >= 8 ? CpdAlert::powerOnReset : CpdAlert::invalid);
}

TEST_P(CpdAlertLength, StatusNeedsTwentyFourBytes) {
    EXPECT_EQ(classify(status(GetParam())), GetParam() >= 24 ? CpdAlert::status : CpdAlert::invalid);
}

TEST_P(CpdAlertLength, PrintResyncIsExactlyTwelveBytes) {
    EXPECT_EQ(classify(printResync(GetParam())), GetParam() == 12 ? CpdAlert::printResync : CpdAlert::invalid);
}

TEST_P(CpdAlertLength, OtherBytesAreInvalid) {
    EXPECT_EQ(classify(Alert(GetParam(), 0xA5)), CpdAlert::invalid);
    EXPECT_EQ(classify(Alert(GetParam(), 0x00)), CpdAlert::invalid);
}

INSTANTIATE_TEST_SUITE_P(Lengths, CpdAlertLength, testing::ValuesIn(allLengths()));

/// An alert with each single bit of its compared bytes turned over in turn.
void expectEveryBitCounts(const Alert &good, std::initializer_list<size_t> compared) {
    for (const size_t offset : compared)
        for (int bit = 0; bit < 8; ++bit) {
            Alert wrong = good;
            wrong[offset] = static_cast<uint8_t>(wrong[offset] ^ (1 << bit));
            EXPECT_EQ(classify(wrong), CpdAlert::invalid) << "offset " << offset << " bit " << bit;
        }
}

TEST(CpdAlerts, EveryComparedBitOfAPowerOnResetCounts) {
    expectEveryBitCounts(powerOnReset(8), {0, 4, 5, 6, 7});
}

TEST(CpdAlerts, EveryComparedBitOfAStatusCounts) {
    expectEveryBitCounts(status(24), {0, 4, 5, 6, 7, 8, 9, 10, 11});
}

TEST(CpdAlerts, EveryComparedBitOfAPrintResyncCounts) {
    expectEveryBitCounts(printResync(12), {0, 4, 5, 6, 7, 8, 9, 10, 11});
}

TEST(CpdAlerts, BytesOneToThreeAreNotExamined) {
    for (const size_t offset : {1u, 2u, 3u})
        for (int value = 0; value < 256; ++value) {
            Alert alert = powerOnReset(8);
            alert[offset] = static_cast<uint8_t>(value);
            EXPECT_EQ(classify(alert), CpdAlert::powerOnReset);
        }
}

TEST(CpdAlerts, EachKindHasItsMessageAndText) {
    struct Row {
        Alert alert;
        uint32_t message;
        const char *text;
    };
    const Row rows[] = {
        {powerOnReset(8), WM_KAL_DSA, "POR alert, posting WM_KAL_DSA"},
        {status(24), WM_KAL_CPD_STATUSCHANGE, "Posting WM_KAL_CPD_STATUSCHANGE"},
        {printResync(12), 0, "got Print Resync Alert - consuming it..."},
        {{}, 0, "Invalid alert data"},
    };
    for (const Row &row : rows) {
        const CpdVerdict verdict = verdictOn(row.alert);
        EXPECT_EQ(verdict.message, row.message) << row.text;
        EXPECT_STREQ(verdict.text, row.text);
    }
}

// ------------------------------------------------------------------------------------------------ status window

constexpr char sizeText[] = "Size of alert is not valid.";
constexpr char leadText[] = "Alert does not begin with 0xA5";
constexpr char commandText[] = "Alert does not have a command byte of 0xF0";
constexpr char extendedText[] = "Alert is an extended alert but not one that the staus window cares about.";
constexpr char extensionText[] = "Alert is an extension alert but not one that the staus window cares about.";
constexpr char otherText[] = "Alert not one that the staus window cares about.";

/// An alert of at least 12 readable bytes, as the service hands them over, with a length of its own.
struct BpdAlert {
    std::array<uint8_t, 12> bytes = {0xA5, 0x11, 0x22, 0x33, 0xF0, 0, 0, 0, 0x88, 0x99, 0, 0xBB};
    uint32_t length = 12;
};

BpdAlert extended(uint8_t type, uint32_t length = 12) {
    BpdAlert alert;
    alert.bytes[5] = 0x73;
    alert.bytes[10] = type;
    alert.length = length;
    return alert;
}

BpdAlert extension(uint8_t subClass, uint8_t subType, uint32_t length) {
    BpdAlert alert;
    alert.bytes[5] = 0x03;
    alert.bytes[6] = subClass;
    alert.bytes[7] = subType;
    alert.length = length;
    return alert;
}

void expectVerdict(const BpdAlert &alert, uint32_t message, const std::string &text) {
    const size_t readable = std::max<size_t>(alert.length, alert.bytes.size());
    GuardedBuffer copy(readable, 0);
    std::copy(alert.bytes.begin(), alert.bytes.end(), copy.data());
    const StatusWindowVerdict verdict = classifyStatusWindowAlert(copy.data(), alert.length);
    EXPECT_EQ(verdict.message, message) << "length " << alert.length;
    EXPECT_EQ(verdict.text, text) << "length " << alert.length;
}

TEST(StatusWindowAlerts, ExtendedAlertIsJudgedByItsType) {
    for (int type = 0; type < 256; ++type)
        switch (type) {
        case 1:
            expectVerdict(extended(1), 0x63D, "Alert message = WM_KAL_JOBOIRALERTEX");
            break;
        case 2:
            expectVerdict(extended(2), 0x63E, "Alert message = WM_KAL_WARNINGSEX");
            break;
        case 4:
            expectVerdict(extended(4), 0x63F, "Alert message = WM_KAL_CONFIGCHANGEEX");
            break;
        default:
            expectVerdict(extended(static_cast<uint8_t>(type)), 0, extendedText);
        }
}

TEST(StatusWindowAlerts, ExtendedAlertOfAnyLengthAboveFiveIsJudgedByItsType) {
    for (uint32_t length = 0; length <= 64; ++length)
        if (length <= 5)
            expectVerdict(extended(1, length), 0, sizeText);
        else
            expectVerdict(extended(1, length), 0x63D, "Alert message = WM_KAL_JOBOIRALERTEX");
    expectVerdict(extended(2, 65535), 0x63E, "Alert message = WM_KAL_WARNINGSEX");
}

TEST(StatusWindowAlerts, TonerPredictionNeedsTwentyOneBytes) {
    for (uint32_t length = 0; length <= 64; ++length)
        if (length <= 5)
            expectVerdict(extension(0x80, 0x01, length), 0, sizeText);
        else if (length < 21)
            expectVerdict(extension(0x80, 0x01, length), 0, extensionText);
        else
            expectVerdict(extension(0x80, 0x01, length), 0x600, "Alert message = WM_KAL_TONERPREDICTION");
    expectVerdict(extension(0x80, 0x01, 65535), 0x600, "Alert message = WM_KAL_TONERPREDICTION");
}

TEST(StatusWindowAlerts, OtherExtensionAlertsAreIgnored) {
    for (int value = 0; value < 256; ++value) {
        if (value != 0x80)
            expectVerdict(extension(static_cast<uint8_t>(value), 0x01, 21), 0, extensionText);
        if (value != 0x01)
            expectVerdict(extension(0x80, static_cast<uint8_t>(value), 21), 0, extensionText);
    }
}

TEST(StatusWindowAlerts, OtherClassesAreIgnored) {
    for (int alertClass = 0; alertClass < 256; ++alertClass) {
        if (alertClass == 0x73 || alertClass == 0x03)
            continue;
        BpdAlert alert = extended(1);
        alert.bytes[5] = static_cast<uint8_t>(alertClass);
        expectVerdict(alert, 0, otherText);
    }
}

TEST(StatusWindowAlerts, EveryWrongLeadByteIsRejectedFirst) {
    for (int lead = 0; lead < 256; ++lead) {
        if (lead == 0xA5)
            continue;
        BpdAlert alert = extended(1);
        alert.bytes[0] = static_cast<uint8_t>(lead);
        alert.bytes[4] = 0;
        expectVerdict(alert, 0, leadText);
    }
}

TEST(StatusWindowAlerts, EveryWrongCommandByteIsRejected) {
    for (int command = 0; command < 256; ++command) {
        if (command == 0xF0)
            continue;
        BpdAlert alert = extended(1);
        alert.bytes[4] = static_cast<uint8_t>(command);
        expectVerdict(alert, 0, commandText);
    }
}

TEST(StatusWindowAlerts, BytesOneToThreeAreNotExamined) {
    for (const size_t offset : {1u, 2u, 3u})
        for (int value = 0; value < 256; ++value) {
            BpdAlert alert = extended(4);
            alert.bytes[offset] = static_cast<uint8_t>(value);
            expectVerdict(alert, 0x63F, "Alert message = WM_KAL_CONFIGCHANGEEX");
        }
}

TEST(StatusWindowAlerts, ShortAlertIsNotRead) {
    for (uint32_t length = 0; length <= 5; ++length) {
        GuardedBuffer alert(0);
        EXPECT_EQ(classifyStatusWindowAlert(alert.data(), length).message, 0u);
    }
    EXPECT_STREQ(classifyStatusWindowAlert(nullptr, 0).text, sizeText);
}

TEST(StatusWindowAlerts, UnextendedAlertIsNotReadBeyondItsLength) {
    const uint8_t bytes[] = {0xA5, 0, 0, 0, 0xF0, 0x03, 0x80, 0x01};
    for (uint32_t length = 6; length <= 8; ++length) {
        GuardedBuffer alert(length);
        std::copy_n(bytes, length, alert.data());
        EXPECT_STREQ(classifyStatusWindowAlert(alert.data(), length).text, extensionText);
    }
}

} // namespace
} // namespace kal::test
