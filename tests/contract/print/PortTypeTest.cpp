// Which port type fits which handle, and which port type a transport has.
#include "tests/contract/print/ClientFixture.h"
#include "tests/support/ExpectedResults.h"

#include <algorithm>
#include <tuple>

using namespace kal::test;

namespace {

/// All values of the handle's bits 11 to 14.
constexpr uint16_t kinds[] = {0x0000, 0x0800, 0x1000, 0x1800, 0x2000, 0x2800, 0x3000, 0x3800,
                              0x4000, 0x4800, 0x5000, 0x5800, 0x6000, 0x6800, 0x7000, 0x7800};
constexpr uint16_t uninterpreted[] = {0x0000, 0x87FF, 0x8000, 0x0005};
constexpr uint32_t portTypes[] = {0,    1,    2,    3,          4,          16,         256,       511,
                                  512,  513,  1023, 1024,       1025,       2047,       2048,      2049,
                                  4094, 4095, 4096, 0x00010000, 0x10000002, 0x80000000, 0xFFFFFFFF};

} // namespace

class PortTypeFit : public RegisteredClient, public testing::WithParamInterface<uint32_t> {
  protected:
    PortTypeFit() {
        unregisterApp();
        machine.setLogger("startLog", 0); // thousands of calls, whose lines say nothing about the rule
        registerApp();
    }
    /// Calls for every kind of handle, with the uninterpreted bits clear and set.
    template <class Call>
    void forEachHandle(const char *operation, Call call) {
        for (const uint16_t kind : kinds)
            for (const uint16_t others : uninterpreted) {
                const auto which = static_cast<uint16_t>(kind | others);
                ASSERT_EQ(kal.KalOpen(0, which, 0), KAL_OKAY);
                service.forgetCalls();
                const bool allowed = expected::portTypeFits(GetParam(), kind);
                EXPECT_EQ(call(which), allowed ? KAL_OKAY : DEVERR_PROTOCOL) << "handle " << which;
                EXPECT_EQ(service.count(operation), allowed ? 1u : 0u) << "handle " << which;
                kal.KalClose(0, which);
            }
    }
};

TEST_P(PortTypeFit, DecidesWhetherAJobStarts) {
    forEachHandle("OrxStartJobPrinter", [&](uint16_t which) { return kal.KalStartDoc(which, GetParam(), "d"); });
}

TEST_P(PortTypeFit, DecidesWhetherDataIsWritten) {
    forEachHandle("OrxWritePrinter", [&](uint16_t which) {
        uint32_t count = 1;
        return kal.KalWrite(0, which, GetParam(), "x", &count);
    });
}

TEST_P(PortTypeFit, DecidesWhetherAJobEnds) {
    forEachHandle("OrxEndJobPrinter", [&](uint16_t which) { return kal.KalEndDoc(which, GetParam()); });
}

INSTANTIATE_TEST_SUITE_P(PortType, PortTypeFit, testing::ValuesIn(portTypes),
                         [](const auto &row) { return std::to_string(row.param); });

TEST_F(RegisteredClient, CancelNeedsNoPortType) {
    openPrinter(handle);
    EXPECT_EQ(kal.KalCancelJob(0, handle), KAL_OKAY);
}

// --------------------------------------------------------------------------------- the query, seen through a search

struct Transport {
    const char *test;
    const char *name;
    uint32_t portType;
};

void PrintTo(const Transport &row, std::ostream *stream) {
    *stream << row.name;
}

class PortTypeQuery : public RegisteredClient, public testing::WithParamInterface<Transport> {
  protected:
    PortTypeQuery() {
        service.does("OrxEnumSpecificPrinter", [](const ServiceCall &call) {
            *call.pointer<uint32_t>(2) = handle;
            return 0u;
        });
    }
    uint32_t query() {
        constexpr uint32_t anyPort = 0xFFF;
        return static_cast<uint32_t>(kal.KalEnumSpecificPort(0, anyPort, "port", nullptr));
    }
};

TEST_P(PortTypeQuery, ReadsItFromTheTransport) {
    service.stringProperty("Transport", GetParam().name);
    EXPECT_EQ(query(), GetParam().portType);
}

INSTANTIATE_TEST_SUITE_P(Transport, PortTypeQuery,
                         testing::Values(Transport{"IPv4", "IPv4", 2}, Transport{"HBN1", "HBN1", 512},
                                         Transport{"HBN3", "HBN3", 512}, Transport{"USB1", "USB1", 1024},
                                         Transport{"PAR1", "PAR1", 2048}, Transport{"Ipv4Lower", "ipv4", 2},
                                         Transport{"Hbn1Lower", "hbn1", 512}, Transport{"Hbn3Mixed", "Hbn3", 512},
                                         Transport{"Usb1Lower", "usb1", 1024}, Transport{"Par1Lower", "par1", 2048},
                                         Transport{"Hbn2", "HBN2", 0}, Transport{"Empty", "", 0},
                                         Transport{"Longer", "USB1x", 0}, Transport{"Shorter", "USB", 0},
                                         Transport{"Ipv6", "IPv6", 0}),
                         [](const auto &row) { return row.param.test; });

using PortTypeQuestion = PortTypeQuery;

TEST_F(PortTypeQuestion, UnreadableTransportCountsAsUsb) {
    for (const uint32_t code : {1u, 6u, 122u, 1168u}) {
        service.does("OrxGetStringPrinter", [code](const ServiceCall &call) {
            return call.text(2).find("Transport") != std::string::npos ? code : 0u;
        });
        EXPECT_EQ(query(), 1024u) << code;
    }
}

TEST_F(PortTypeQuestion, AsksWithTheTransportsDescriptorAndAClearedBuffer) {
    bool asked = false;
    service.does("OrxGetStringPrinter", [&](const ServiceCall &call) {
        if (!asked) {
            asked = true;
            EXPECT_EQ(call.number(1), handle);
            EXPECT_EQ(call.text(2), "<Name>Transport</Name><Type>String</Type><Access>ReadOnly</Access>");
            EXPECT_EQ(std::string(call.pointer<char>(3), 256), std::string(256, '\0'));
            EXPECT_EQ(call.number(4), 256u);
            EXPECT_EQ(*call.pointer<uint32_t>(5), 0u);
        }
        return 0u;
    });
    query();
    EXPECT_TRUE(asked);
}
