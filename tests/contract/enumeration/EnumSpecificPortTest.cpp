#include "tests/contract/enumeration/EnumerationFixture.h"

#include "tests/contract/enumeration/NoWorkerThread.h"

namespace kal::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class KalEnumSpecificPortTest : public EnumerationTest {
  protected:
    static constexpr uint32_t foundHandle = 0x1005;

    KalEnumSpecificPortTest() {
        service.does("OrxEnumSpecificPrinter", [](const ServiceCall &call) {
            *call.pointer<uint32_t>(2) = foundHandle;
            return 0u;
        });
    }

    /// The lines that the worker writes between its entry and exit.
    std::vector<std::string> workerTexts() const {
        auto texts = machine.logTexts();
        EXPECT_GE(texts.size(), 4u);
        EXPECT_EQ(texts[1], "+KalEnumSpecificPortRunnable()");
        EXPECT_EQ(texts[texts.size() - 2], "-KalEnumSpecificPortRunnable()");
        return {texts.begin() + 2, texts.end() - 2};
    }
};

TEST_F(KalEnumSpecificPortTest, AsksForThePortAndReadsThePrinterInOrder) {
    property("Transport", "HBN1");
    EXPECT_EQ(KalEnumSpecificPort(0, 0x200, "HBN1:42", report), 512);
    std::vector<std::string> steps;
    for (const ServiceCall &call : service.calls())
        if (call.entryPoint == "OrxEnumSpecificPrinter")
            steps.push_back("EnumSpecificPrinter " + call.text(1));
        else if (call.entryPoint.starts_with("OrxGetString") || call.entryPoint.starts_with("OrxGetByteArray"))
            steps.push_back(call.entryPoint.substr(3) + " " + std::to_string(call.number(1)) + " " + call.text(2) +
                            " " + std::to_string(call.number(4)));
    EXPECT_THAT(steps, ElementsAre("EnumSpecificPrinter HBN1:42",
                                   std::string("GetStringPrinter 4101 ") + transportDescriptor + " 256",
                                   std::string("GetByteArrayPrinter 4101 ") + macAddressDescriptor + " 6",
                                   std::string("GetStringPrinter 4101 ") + portNameDescriptor + " 260",
                                   std::string("GetStringPrinter 4101 ") + deviceDescriptor + " 11"));
}

TEST_F(KalEnumSpecificPortTest, RecordByteByByteWithTheCallersPortAsSecondName) {
    property("Transport", "HBN1");
    KalEnumSpecificPort(0, 0x200, "\\\\server\\printer", report);
    ASSERT_THAT(reported, SizeIs(1));
    std::vector<uint8_t> expected(100, 0);
    const uint8_t mac[] = {1, 2, 3, 0, 5, 6};
    std::copy_n(mac, 6, expected.begin());
    std::memcpy(&expected[6], "PORT1", 5);
    expected[86] = 0x05;
    expected[87] = 0x10;
    expected[88] = 8;
    expected[93] = 0x02;
    expected[98] = 1;
    EXPECT_EQ(reported[0].head, expected);
    EXPECT_EQ(reported[0].secondName, "\\\\server\\printer");
}

TEST_F(KalEnumSpecificPortTest, ServiceIsAskedWithTheHandleThatItGaveAndTheRecordHasItsLowHalf) {
    service.does("OrxEnumSpecificPrinter", [](const ServiceCall &call) {
        *call.pointer<uint32_t>(2) = 0xABCD0000 | foundHandle;
        return 0u;
    });
    property("Transport", "HBN1");
    KalEnumSpecificPort(0, 0x200, "HBN1:42", report);
    EXPECT_THAT(handlesAskedFor(), ElementsAre(0xABCD1005, 0xABCD1005, 0xABCD1005, 0xABCD1005));
    ASSERT_THAT(reported, SizeIs(1));
    EXPECT_EQ(reported[0].at<uint16_t>(86), foundHandle);
    EXPECT_EQ(reported[0].at<uint16_t>(88), 8); // what follows the handle
}

TEST_F(KalEnumSpecificPortTest, WorksOnAThreadOfItsOwnWhileTheCallerWaits) {
    KalEnumSpecificPort(0, 0x400, "PORT1", report);
    EXPECT_NE(service.lastCall("OrxEnumSpecificPrinter").thread, GetCurrentThreadId());
    ASSERT_THAT(reported, SizeIs(1));
    EXPECT_EQ(reported[0].thread, service.lastCall("OrxEnumSpecificPrinter").thread);
}

class EnumSpecificPortNameTest : public KalEnumSpecificPortTest, public testing::WithParamInterface<size_t> {};

TEST_P(EnumSpecificPortNameTest, CallersPortOfAnyLengthIsWhole) {
    std::string port;
    for (size_t index = 0; index < GetParam(); ++index)
        port.push_back(static_cast<char>('a' + index % 26));
    EXPECT_EQ(KalEnumSpecificPort(0, 0x400, port.c_str(), report), 1024);
    ASSERT_THAT(reported, SizeIs(1));
    EXPECT_EQ(reported[0].portName(), "PORT1");
    EXPECT_EQ(reported[0].secondName, port);
}

INSTANTIATE_TEST_SUITE_P(Lengths, EnumSpecificPortNameTest, testing::Values(0u, 79u, 80u, 259u, 260u, 261u, 5000u));

TEST_F(KalEnumSpecificPortTest, ServicesNameIsCutTo79Characters) {
    property("Portname", std::string(259, 'S'));
    KalEnumSpecificPort(0, 0x400, "PORT1", report);
    ASSERT_THAT(reported, SizeIs(1));
    EXPECT_EQ(reported[0].portName(), std::string(79, 'S'));
    EXPECT_EQ(reported[0].at<uint16_t>(86), foundHandle);
    EXPECT_EQ(reported[0].secondName, "PORT1");
}

// -------------------------------------------------------------------------------------------- category test

struct CategoryRow {
    const char *transport;
    int32_t portType;
    const char *port;
    uint32_t mask;
    bool passes;
    const char *text;
};

void PrintTo(const CategoryRow &row, std::ostream *stream) {
    *stream << row.transport << " on " << row.port << " with mask 0x" << std::hex << row.mask;
}

constexpr char usbText[] = "realNetType == NETTYPEUSB";
constexpr char rhoaText[] = "realNetType == NETTYPE_RHOA";
constexpr char localText[] = "realNetType == NETTYPE_LOCAL";
constexpr char ipText[] = "realNetType == NETTYPE_IP";

const CategoryRow categoryRows[] = {
    {"USB1", 1024, "P", 0x400, true, usbText},
    {"USB1", 1024, "P", 0x800, true, usbText},
    {"USB1", 1024, "P", 0x1, true, usbText},
    {"USB1", 1024, "P", 0x80, true, usbText},
    {"USB1", 1024, "P", 0x1000, false, nullptr},
    {"USB1", 1024, "P", 0x80000000, false, nullptr},
    {"USB1", 1024, "LPT1", 0, false, nullptr},
    {"HBN1", 512, "P", 0x200, true, rhoaText},
    {"HBN3", 512, "P", 0x2, true, rhoaText},
    {"HBN3", 512, "P", 0xFFFFF000, false, nullptr},
    {"HBN3", 512, "LPT1", 0, false, nullptr},
    {"PAR1", 2048, "P", 0x800, true, localText},
    {"PAR1", 2048, "P", 0x4, true, localText},
    {"PAR1", 2048, "P", 0xFFFFF000, false, nullptr},
    {"PAR1", 2048, "P", 0, false, nullptr},
    {"PAR1", 2048, "LPT1", 0, true, localText},
    {"PAR1", 2048, "LPT1:", 0x80000000, true, localText},
    {"PAR1", 2048, "\\\\.\\LPT", 0, true, localText},
    {"PAR1", 2048, "lpt1", 0, false, nullptr},
    {"PAR1", 2048, "LP T1", 0, false, nullptr},
    {"PAR1", 2048, "", 0, false, nullptr},
    {"IPv4", 2, "P", 0x2, true, ipText},
    {"IPv4", 2, "P", 0x400, true, ipText},
    {"IPv4", 2, "P", 0x1000, false, nullptr},
    {"IPv4", 2, "LPT1", 0, false, nullptr},
    {"XYZ", 0, "P", 0xFFFFFFEF, false, nullptr},
    {"XYZ", 0, "LPT1", 0x0, false, nullptr},
    {"", 0, "P", 0x2, false, nullptr},
};

class EnumSpecificPortCategoryTest : public KalEnumSpecificPortTest, public testing::WithParamInterface<CategoryRow> {};

TEST_P(EnumSpecificPortCategoryTest, MaskDecidesWhetherThePrinterIsReported) {
    const CategoryRow &row = GetParam();
    property("Transport", row.transport);
    EXPECT_EQ(KalEnumSpecificPort(0, row.mask, row.port, report), row.passes ? row.portType : 0);
    EXPECT_THAT(reported, SizeIs(row.passes ? 1 : 0));
    const auto realNetType = "realNetType=" + std::to_string(row.portType);
    if (row.passes)
        EXPECT_THAT(workerTexts(), ElementsAre(realNetType, row.text, "Just before callback", "Just after callback"));
    else
        EXPECT_THAT(workerTexts(), ElementsAre(realNetType, "realNetType is not in netType category. netType:" +
                                                                std::to_string(row.mask) +
                                                                " realNetType:" + std::to_string(row.portType)));
}

INSTANTIATE_TEST_SUITE_P(Rows, EnumSpecificPortCategoryTest, testing::ValuesIn(categoryRows));

class EnumSpecificPortP2pTest : public KalEnumSpecificPortTest, public testing::WithParamInterface<const char *> {};

TEST_P(EnumSpecificPortP2pTest, P2pAloneAcceptsAnyType) {
    property("Transport", GetParam());
    KalEnumSpecificPort(0, 0x10, "P", report);
    EXPECT_THAT(reported, SizeIs(1));
}

TEST_P(EnumSpecificPortP2pTest, EmptyMaskRejectsAnyType) {
    property("Transport", GetParam());
    EXPECT_EQ(KalEnumSpecificPort(0, 0, "P", report), 0);
    EXPECT_THAT(reported, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Transports, EnumSpecificPortP2pTest,
                         testing::Values("USB1", "HBN1", "HBN3", "PAR1", "IPv4", "unknown"));

TEST_F(KalEnumSpecificPortTest, P2pAcceptsAnUnknownTypeAndSaysSo) {
    property("Transport", "unknown");
    EXPECT_EQ(KalEnumSpecificPort(0, 0x10, "P", report), 0);
    ASSERT_THAT(reported, SizeIs(1));
    EXPECT_EQ(reported[0].at<uint32_t>(92), 0u);
    EXPECT_THAT(workerTexts(),
                ElementsAre("realNetType=0", "netType == ENUM_P2P", "Just before callback", "Just after callback"));
}

TEST_F(KalEnumSpecificPortTest, UnreadableTransportIsUsb) {
    propertyFails("Transport", 5);
    EXPECT_EQ(KalEnumSpecificPort(0, 0x400, "P", report), 1024);
    ASSERT_THAT(reported, SizeIs(1));
    EXPECT_EQ(reported[0].at<uint32_t>(92), 1024u);
}

TEST_F(KalEnumSpecificPortTest, RejectedPrinterIsNotReadFurther) {
    KalEnumSpecificPort(0, 0, "P", report);
    EXPECT_THAT(service.operations(), ElementsAre("OrxEnumSpecificPrinter", "OrxGetStringPrinter"));
}

// ------------------------------------------------------------------------------------------------ failures

TEST_F(KalEnumSpecificPortTest, UnknownPortIsNothingReported) {
    service.answers("OrxEnumSpecificPrinter", 1168);
    EXPECT_EQ(KalEnumSpecificPort(0, 0xFFF, "P", report), 0);
    EXPECT_THAT(reported, IsEmpty());
    EXPECT_THAT(service.operations(), ElementsAre("OrxEnumSpecificPrinter"));
    EXPECT_THAT(workerTexts(), ElementsAre("orxClient->enumSpecificPrinter() failed, error=1168"));
}

TEST_F(KalEnumSpecificPortTest, MissingEntryPointIsNothingReported) {
    service.lacks("OrxEnumSpecificPrinter");
    EXPECT_EQ(KalEnumSpecificPort(0, 0xFFF, "P", report), 0);
    EXPECT_THAT(workerTexts(), ElementsAre("orxClient->enumSpecificPrinter() failed, error=127"));
}

TEST_F(KalEnumSpecificPortTest, UnreadableMacAddressIsNothingReported) {
    property("Transport", "HBN1");
    propertyFails("MacAddress", 4711);
    EXPECT_EQ(KalEnumSpecificPort(0, 0x200, "P", report), 0);
    EXPECT_THAT(reported, IsEmpty());
    EXPECT_THAT(workerTexts(), ElementsAre("realNetType=512", rhoaText, "getByteArrayPrinter, errorCode=4711"));
}

TEST_F(KalEnumSpecificPortTest, UnreadablePortNameIsNothingReported) {
    propertyFails("Portname", 4711);
    EXPECT_EQ(KalEnumSpecificPort(0, 0x400, "P", report), 0);
    EXPECT_THAT(reported, IsEmpty());
    EXPECT_THAT(workerTexts(), ElementsAre("realNetType=1024", usbText, "getStringPrinter, errorCode=4711"));
}

TEST_F(KalEnumSpecificPortTest, UnreadableDeviceKindIsNoCpdPrinter) {
    propertyFails("Device", 5);
    EXPECT_EQ(KalEnumSpecificPort(0, 0x400, "P", report), 1024);
    ASSERT_THAT(reported, SizeIs(1));
    EXPECT_EQ(reported[0].at<uint16_t>(88), 3u);
}

TEST_F(KalEnumSpecificPortTest, NullCallbackIsNobodyToReportTo) {
    EXPECT_EQ(KalEnumSpecificPort(0, 0x400, "P", nullptr), 1024);
}

TEST_F(KalEnumSpecificPortTest, NullPortFailsWithoutTheService) {
    EXPECT_EQ(KalEnumSpecificPort(0, 0x400, nullptr, report), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
    EXPECT_THAT(machine.logTexts(), testing::Contains("KalEnumSpecificPort() portName = NULL"));
    EXPECT_EQ(machine.logTexts().back(), "-KalEnumSpecificPort() port= rc=1");
}

TEST_F(KalEnumSpecificPortTest, FailureToStartTheWorkerIsAFailure) {
    const NoWorkerThread noWorkerThread;
    EXPECT_EQ(KalEnumSpecificPort(0, 0x400, "P", report), KAL_FAIL);
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalEnumSpecificPort() port=P", "KalEnumSpecificPort() exception=8",
                                                "-KalEnumSpecificPort() port=P rc=1"));
}

TEST_F(KalEnumSpecificPortTest, TraceNamesThePortAndEndsWithTheNumber) {
    KalEnumSpecificPort(0, 0x400, "PORT1 a", report);
    const auto texts = machine.logTexts();
    EXPECT_EQ(texts.front(), "+KalEnumSpecificPort() port=PORT1 a");
    EXPECT_EQ(texts.back(), "-KalEnumSpecificPort() port=PORT1 a rc=1024");
}

TEST_F(KalEnumSpecificPortTest, DirtAboveTheArgumentsIsCutOff) {
    const auto call = library<int32_t(uint64_t, uint64_t, const char *, void *)>("KalEnumSpecificPort");
    EXPECT_EQ(call(dirty16(0), dirty32(0), "P", reinterpret_cast<void *>(&report)), 0);
    EXPECT_EQ(call(dirty16(0), dirty32(0x400), "P", reinterpret_cast<void *>(&report)), 1024);
}

// --------------------------------------------------------------------------------------------------- by UNC name

using KalEnumByUNCTest = KalEnumSpecificPortTest;

TEST_F(KalEnumByUNCTest, AsksForTheNameAsForAPort) {
    EXPECT_EQ(KalEnumByUNC(0, 0x400, "\\\\s\\p", report), 1024);
    EXPECT_EQ(service.lastCall("OrxEnumSpecificPrinter").text(1), "\\\\s\\p");
    ASSERT_THAT(reported, SizeIs(1));
    EXPECT_EQ(reported[0].secondName, "\\\\s\\p");
}

TEST_F(KalEnumByUNCTest, MaskIsPassedOn) {
    EXPECT_EQ(KalEnumByUNC(0, 0, "P", report), 0);
    EXPECT_THAT(reported, IsEmpty());
}

TEST_F(KalEnumByUNCTest, TraceStandsAroundThatOfThePort) {
    KalEnumByUNC(0, 0x400, "P", report);
    const auto texts = machine.logTexts();
    ASSERT_GE(texts.size(), 4u);
    EXPECT_EQ(texts[0], "+KalEnumByUnc()  name=P");
    EXPECT_EQ(texts[1], "+KalEnumSpecificPort() port=P");
    EXPECT_EQ(texts[texts.size() - 2], "-KalEnumSpecificPort() port=P rc=1024");
    EXPECT_EQ(texts.back(), "-KalEnumByUnc()  name=P");
}

TEST_F(KalEnumByUNCTest, NullNameFailsWithoutTheService) {
    EXPECT_EQ(KalEnumByUNC(0, 0x400, nullptr, report), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

} // namespace
} // namespace kal::test
