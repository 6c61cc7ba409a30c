#include "api/PortType.h"

#include "tests/support/ExpectedResults.h"

#include <gtest/gtest.h>

#include <string>

namespace kal::test {
namespace {

TEST(PortTypeFit, EveryNamedTypeWithEveryHandle) {
    for (const uint32_t portType : {0u, 2u, 512u, 1024u, 2048u, 4095u})
        for (uint32_t handle = 0; handle <= 65535; ++handle)
            ASSERT_EQ(portTypeFits(portType, static_cast<uint16_t>(handle)),
                      expected::portTypeFits(portType, static_cast<uint16_t>(handle)))
                << portType << " with " << handle;
}

TEST(PortTypeFit, EveryOtherTypeNeverFits) {
    for (uint32_t portType = 0; portType <= 70000; ++portType)
        for (uint32_t kind = 0; kind < 16; ++kind) {
            const auto handle = static_cast<uint16_t>(kind << 11);
            ASSERT_EQ(portTypeFits(portType, handle), expected::portTypeFits(portType, handle))
                << portType << " with " << handle;
        }
    for (const uint32_t portType : {0x80000000u, 0x10000u, 0xFFFFFFFFu, 0x10200u})
        EXPECT_FALSE(portTypeFits(portType, 0x6000));
}

TEST(TransportPortType, EveryNamedTransport) {
    EXPECT_EQ(portTypeOfTransport("HBN1"), 512u);
    EXPECT_EQ(portTypeOfTransport("HBN3"), 512u);
    EXPECT_EQ(portTypeOfTransport("USB1"), 1024u);
    EXPECT_EQ(portTypeOfTransport("PAR1"), 2048u);
    EXPECT_EQ(portTypeOfTransport("IPv4"), 2u);
}

TEST(TransportPortType, LetterCaseDoesNotCount) {
    EXPECT_EQ(portTypeOfTransport("hbn1"), 512u);
    EXPECT_EQ(portTypeOfTransport("hBn3"), 512u);
    EXPECT_EQ(portTypeOfTransport("usb1"), 1024u);
    EXPECT_EQ(portTypeOfTransport("Par1"), 2048u);
    EXPECT_EQ(portTypeOfTransport("IPV4"), 2u);
    EXPECT_EQ(portTypeOfTransport("ipv4"), 2u);
}

TEST(TransportPortType, OtherTransportsAreUnspecified) {
    for (const char *name : {"", "USB", "USB11", " USB1", "USB1 ", "HBN2", "IPv6", "PAR2",
                             "U\xD3"
                             "B1",
                             "1BSU"})
        EXPECT_EQ(portTypeOfTransport(name), 0u) << name;
}

TEST(TransportPortType, CharactersThatDifferByMoreThanCaseDoNotMatch) {
    EXPECT_EQ(portTypeOfTransport(std::string("IPv\x14")), 0u);
    EXPECT_EQ(portTypeOfTransport(std::string("USB\x11")), 0u);
}

} // namespace
} // namespace kal::test
