#include "api/PortInformation.h"

#include "api/kal.h"
#include "tests/support/GuardedBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace kal::test {
namespace {

static_assert(offsetof(PortInfoRecord, macAddress) == 0 && sizeof(PortInfoRecord::macAddress) == 6);
static_assert(offsetof(PortInfoRecord, portName) == 6 && sizeof(PortInfoRecord::portName) == 80);
static_assert(offsetof(PortInfoRecord, handle) == 86 && sizeof(PortInfoRecord::handle) == 2);
static_assert(offsetof(PortInfoRecord, deviceClass) == 88 && sizeof(PortInfoRecord::deviceClass) == 2);
static_assert(offsetof(PortInfoRecord, reserved90) == 90 && sizeof(PortInfoRecord::reserved90) == 2);
static_assert(offsetof(PortInfoRecord, portType) == 92 && sizeof(PortInfoRecord::portType) == 4);
static_assert(offsetof(PortInfoRecord, reserved96) == 96 && sizeof(PortInfoRecord::reserved96) == 2);
static_assert(offsetof(PortInfoRecord, isHostBasedNetwork) == 98 && sizeof(PortInfoRecord::isHostBasedNetwork) == 2);
static_assert(offsetof(PortInfoRecord, secondName) == 100 && sizeof(PortInfoRecord::secondName) >= 260);

/// The record as its bytes, composed into just as many as it asks for, with an inaccessible page behind them.
std::vector<uint8_t> compose(const FoundPrinter &printer, const std::string &secondName) {
    const size_t size = portInformationSize(secondName);
    EXPECT_GE(size, 100 + secondName.size() + 1);
    GuardedBuffer record((size + 3) / 4 * 4, 0xCD); // a multiple of four keeps its start aligned
    composePortInformation(record.data(), printer, secondName);
    return {record.data(), record.data() + 100 + secondName.size() + 1};
}

std::vector<uint8_t> expectedRecord(const std::string &portName, const std::string &secondName) {
    std::vector<uint8_t> bytes(100 + secondName.size() + 1, 0);
    std::copy(portName.begin(), portName.end(), bytes.begin() + 6);
    std::copy(secondName.begin(), secondName.end(), bytes.begin() + 100);
    return bytes;
}

TEST(PortInformation, HostBasedNetworkPrinterByteByByte) {
    auto expected = expectedRecord("HBN1:7", "second");
    const uint8_t mac[] = {0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5};
    std::copy_n(mac, 6, expected.begin());
    expected[86] = 0x34;
    expected[87] = 0x92;
    expected[88] = 8;
    expected[93] = 2;
    expected[98] = 1;
    EXPECT_EQ(compose({0x9234, 512, {0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5}, "HBN1:7", true}, "second"), expected);
}

struct PortTypeBytes {
    uint32_t portType;
    uint8_t low, high;
};

class PortInformationOfType : public testing::TestWithParam<PortTypeBytes> {};

TEST_P(PortInformationOfType, OtherPrintersByteByByte) {
    auto expected = expectedRecord("P", "P");
    expected[86] = 1;
    expected[88] = 3;
    expected[92] = GetParam().low;
    expected[93] = GetParam().high;
    EXPECT_EQ(compose({1, GetParam().portType, {}, "P", false}, "P"), expected);
}

INSTANTIATE_TEST_SUITE_P(Types, PortInformationOfType,
                         testing::Values(PortTypeBytes{0, 0, 0}, PortTypeBytes{2, 2, 0}, PortTypeBytes{1024, 0, 4},
                                         PortTypeBytes{2048, 0, 8}));

TEST(PortInformation, FirstNameIsCutTo79CharactersAndSecondIsWhole) {
    for (const size_t length : {0, 1, 78, 79, 80, 81, 95, 259, 260, 1000}) {
        const std::string name(length, 'n');
        auto expected = expectedRecord(name.substr(0, 79), name);
        expected[86] = 0xFF;
        expected[87] = 0xFF;
        expected[88] = 3;
        EXPECT_EQ(compose({0xFFFF, 0, {}, name, false}, name), expected) << "length " << length;
    }
}

TEST(PortInformation, SecondNameOf5000CharactersIsWhole) {
    const std::string name(5000, 's');
    EXPECT_EQ(compose({1, 0, {}, "P", true}, name)[100 + 4999], 's');
    EXPECT_EQ(compose({1, 0, {}, "P", true}, name)[100 + 5000], 0);
}

TEST(PortInformation, RecordNeverIsShorterThanItsDeclaration) {
    EXPECT_GE(portInformationSize(""), sizeof(PortInfoRecord));
    EXPECT_GE(portInformationSize("P"), sizeof(PortInfoRecord));
}

TEST(PortInformation, RecordEndsBehindTheSecondNamesTerminator) {
    EXPECT_EQ(portInformationSize(std::string(300, 'n')), 401u);
}

// ------------------------------------------------------------------------------------------------- category test

struct NamedType {
    uint32_t portType;
    uint32_t ownBits;
    const char *text;
};

constexpr NamedType namedTypes[] = {
    {1024, 0x400 | 0x800, "realNetType == NETTYPEUSB"},
    {512, 0x200, "realNetType == NETTYPE_RHOA"},
    {2048, 0, "realNetType == NETTYPE_LOCAL"},
    {2, 0x2, "realNetType == NETTYPE_IP"},
};

TEST(NetTypeCategory, EveryBitAlone) {
    for (const NamedType &type : namedTypes)
        for (unsigned bit = 0; bit < 32; ++bit) {
            const uint32_t mask = 1u << bit;
            const auto category = categoryOf(type.portType, mask, "COM1");
            EXPECT_EQ(category.has_value(), ((type.ownBits | 0xFFF) & mask) != 0)
                << type.portType << " with bit " << bit;
            if (category) {
                EXPECT_STREQ(*category, type.text);
            }
        }
}

TEST(NetTypeCategory, MaskWithoutABitBelow0x1000AcceptsNothing) {
    for (const NamedType &type : namedTypes) {
        EXPECT_FALSE(categoryOf(type.portType, 0, "COM1"));
        EXPECT_FALSE(categoryOf(type.portType, 0xFFFFF000, "COM1"));
    }
}

TEST(NetTypeCategory, UnknownTypesNeverPass) {
    for (const uint32_t portType : {0u, 1u, 3u, 0x10u, 256u, 513u, 1025u, 4095u, 4096u, 0x80000000u, 0xFFFFFFFFu})
        for (const uint32_t mask : {0u, 0x10u, 0xFFFu, 0xFFFFFFFFu})
            EXPECT_FALSE(categoryOf(portType, mask, "LPT1")) << portType << " with " << mask;
}

TEST(NetTypeCategory, ParallelPortPassesByItsName) {
    for (const char *name : {"LPT", "LPT1", "LPT1:", "xLPTx", "\\\\.\\LPT2", "lptLPT"})
        EXPECT_TRUE(categoryOf(2048, 0x80000000, name)) << name;
}

TEST(NetTypeCategory, ParallelPortsNameCountsInThisCaseOnly) {
    for (const char *name : {"", "LP", "lpt1", "Lpt1", "LPt", "L P T", "PTL"})
        EXPECT_FALSE(categoryOf(2048, 0x80000000, name)) << name;
}

TEST(NetTypeCategory, NameCountsForParallelPortsOnly) {
    for (const uint32_t portType : {1024u, 512u, 2u})
        EXPECT_FALSE(categoryOf(portType, 0, "LPT1")) << portType;
}

} // namespace
} // namespace kal::test
