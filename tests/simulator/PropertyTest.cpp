#include "tests/simulator/LoadedSimulator.h"

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

constexpr const char *transport = "<Name>Transport</Name><Type>String</Type><Access>ReadOnly</Access>";
constexpr const char *device = "<Name>Device</Name><Type>String</Type><Access>ReadOnly</Access>";
constexpr const char *portName = "<Name>Portname</Name><Type>String</Type><Access>Writeable</Access>";
constexpr const char *macAddress = "<Name>MacAddress</Name><Type>ByteArray</Type><Access>ReadOnly</Access>";
constexpr const char *endOfJobDuration = "<Name>TeojDuration</Name><Type>Long</Type><Access>Writeable</Access>";
constexpr const char *tripletJobId = "<Name>TripletJobId</Name><Type>ByteArray</Type><Access>Writeable</Access>";

struct SimulatorProperty : testing::Test {
    LoadedSimulator simulator;

    uint32_t string(uint32_t handle, const char *descriptor, char *buffer, uint32_t size, uint32_t *length) {
        return simulator.call<uint32_t(uint32_t, uint32_t, const char *, char *, uint32_t, uint32_t *)>(
            "OrxGetStringPrinter", 7u, handle, descriptor, buffer, size, length);
    }
    std::string string(uint32_t handle, const char *descriptor) {
        char buffer[64] = {};
        uint32_t length = 0;
        const auto code = string(handle, descriptor, buffer, sizeof buffer, &length);
        return code == 0 ? buffer : "code " + std::to_string(code);
    }
    uint32_t bytes(uint32_t handle, const char *descriptor, void *buffer, uint32_t size, uint32_t *length) {
        return simulator.call<uint32_t(uint32_t, uint32_t, const char *, void *, uint32_t, uint32_t *)>(
            "OrxGetByteArrayPrinter", 7u, handle, descriptor, buffer, size, length);
    }
    uint32_t number(uint32_t handle, const char *descriptor, uint32_t *value) {
        return simulator.call<uint32_t(uint32_t, uint32_t, const char *, uint32_t *)>("OrxGetLongPrinter", 7u, handle,
                                                                                      descriptor, value);
    }
    uint32_t setString(uint32_t handle, const char *descriptor, const std::string &value) {
        return simulator.call<uint32_t(uint32_t, uint32_t, const char *, const char *, uint32_t)>(
            "OrxSetStringPrinter", 7u, handle, descriptor, value.c_str(), static_cast<uint32_t>(value.size()));
    }
    uint32_t setJobString(uint32_t handle, const char *key, const char *value) {
        return simulator.call<uint32_t(uint32_t, uint32_t, const char *, const char *)>("OrxSetJobStringPrinter", 7u,
                                                                                        handle, key, value);
    }
};

TEST_F(SimulatorProperty, TransportsAreThoseOfTheBuiltInPrinters) {
    EXPECT_EQ(string(0x6001, transport), "IPv4");
    EXPECT_EQ(string(0x4001, transport), "HBN3");
    EXPECT_EQ(string(3, transport), "USB1");
    EXPECT_EQ(string(0x1001, transport), "PAR1");
}

TEST_F(SimulatorProperty, DeviceKindFitsElevenBytes) {
    char buffer[11];
    uint32_t length = 0;
    ASSERT_EQ(string(0x6001, device, buffer, sizeof buffer, &length), 0u);
    EXPECT_STREQ(buffer, "CpdPrinter");
    EXPECT_EQ(length, 11u);
}

TEST_F(SimulatorProperty, TooSmallABufferIsNotTouchedAndTheLengthTold) {
    char buffer[10] = "untouched";
    uint32_t length = 0;
    EXPECT_EQ(string(0x6001, device, buffer, sizeof buffer, &length), 122u);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(length, 11u);
}

TEST_F(SimulatorProperty, LengthMayBeLeftOut) {
    char buffer[20];
    EXPECT_EQ(string(0x6001, device, buffer, sizeof buffer, nullptr), 0u);
}

TEST_F(SimulatorProperty, MacAddressIsThatOfTheHostBasedPrinterAlone) {
    uint8_t address[6] = {};
    uint32_t length = 0;
    ASSERT_EQ(bytes(0x4001, macAddress, address, sizeof address, &length), 0u);
    EXPECT_EQ(length, 6u);
    const uint8_t expected[] = {0x00, 0x02, 0xB3, 0xC4, 0xD5, 0xE6};
    EXPECT_EQ(std::memcmp(address, expected, 6), 0);
    EXPECT_EQ(bytes(0x6001, macAddress, address, sizeof address, &length), 50u);
}

TEST_F(SimulatorProperty, UnknownHandleIsInvalid) {
    EXPECT_EQ(string(77, device), "code 6");
}

TEST_F(SimulatorProperty, UnknownPropertyIsNotSupported) {
    EXPECT_EQ(string(3, "<Name>Colour</Name><Type>String</Type>"), "code 50");
}

TEST_F(SimulatorProperty, BrokenDescriptorIsAnInvalidParameter) {
    EXPECT_EQ(string(3, "Device"), "code 87");
    EXPECT_EQ(string(3, nullptr), "code 87");
    EXPECT_EQ(string(3, "<Name>Device</Name><Type>Long</Type>"), "code 87");
}

TEST_F(SimulatorProperty, PropertyOfAnotherTypeIsAnInvalidParameter) {
    uint32_t value = 0;
    EXPECT_EQ(number(3, "<Name>Device</Name>", &value), 87u);
}

TEST_F(SimulatorProperty, ConfiguredPropertiesAreAnswered) {
    uint32_t value = 0;
    ASSERT_EQ(number(0x6001, "<Name>PageCount</Name><Type>Long</Type>", &value), 0u);
    EXPECT_EQ(value, 1200u);
}

TEST_F(SimulatorProperty, WrittenPropertyOutlivesTheLibrary) {
    ASSERT_EQ(setString(3, portName, "USB777"), 0u);
    simulator.reload();
    EXPECT_EQ(string(3, portName), "USB777");
    EXPECT_EQ(string(0x6001, portName), "192.0.2.10");
}

TEST_F(SimulatorProperty, ReadOnlyPropertyCannotBeWritten) {
    EXPECT_EQ(setString(3, device, "CpdPrinter"), 5u);
    EXPECT_EQ(setString(3, "<Name>Device</Name>", "CpdPrinter"), 5u);
    EXPECT_EQ(string(3, device), "BpdPrinter");
}

TEST_F(SimulatorProperty, EndOfJobDurationComesAsAJobString) {
    ASSERT_EQ(setJobString(3, endOfJobDuration, "65535000"), 0u);
    simulator.reload();
    uint32_t value = 0;
    ASSERT_EQ(number(3, endOfJobDuration, &value), 0u);
    EXPECT_EQ(value, 65535000u);
}

TEST_F(SimulatorProperty, EndOfJobDurationThatIsNoNumberIsRefused) {
    EXPECT_EQ(setJobString(3, endOfJobDuration, "soon"), 87u);
    EXPECT_EQ(setJobString(3, endOfJobDuration, ""), 87u);
    EXPECT_EQ(setJobString(3, endOfJobDuration, "4294967296"), 87u);
}

TEST_F(SimulatorProperty, TripletJobIdIsKept) {
    const uint8_t id[] = {1, 2, 3, 4};
    ASSERT_EQ((simulator.call<uint32_t(uint32_t, uint32_t, const char *, const void *, uint32_t)>(
                  "OrxSetByteArrayPrinter", 7u, 3u, tripletJobId, id, 4u)),
              0u);
    uint8_t kept[4] = {};
    uint32_t length = 0;
    ASSERT_EQ(bytes(3, tripletJobId, kept, 4, &length), 0u);
    EXPECT_EQ(std::memcmp(kept, id, 4), 0);
}

TEST_F(SimulatorProperty, JobStringsAreToldOfTheNextJob) {
    ASSERT_EQ(setJobString(3, "Department", "Sales"), 0u);
    simulator.reload();
    simulator.print(3, "x");
    const auto text = readFile(simulator.spool() / "job-000001.json");
    EXPECT_NE(text.find("\"Department\": \"Sales\""), std::string::npos) << text;
}

TEST_F(SimulatorProperty, NullJobStringIsAnInvalidParameter) {
    EXPECT_EQ(setJobString(3, nullptr, "x"), 87u);
    EXPECT_EQ(setJobString(3, "x", nullptr), 87u);
}

TEST_F(SimulatorProperty, PropertyThatCannotBeStoredIsAWriteFault) {
    std::filesystem::remove_all(simulator.spool());
    simulator.folder().write("spool", "a file stands where the folder should be");
    EXPECT_EQ(setString(3, portName, "USB777"), 29u);
}

TEST_F(SimulatorProperty, CacheHasAHeadOrNone) {
    uint8_t block[256] = {};
    uint32_t length = 0;
    const auto cache = [&](uint32_t handle, uint32_t size) {
        return simulator.call<uint32_t(uint32_t, uint32_t, void *, uint32_t, uint32_t *)>("OrxGetCachePrinter", 7u,
                                                                                          handle, block, size, &length);
    };
    ASSERT_EQ(cache(3, sizeof block), 0u);
    EXPECT_EQ(block[0], 0xA5);
    EXPECT_EQ(length, 8u + std::string("MODEL:USB printer;STATE:ready;").size());
    ASSERT_EQ(cache(0x4001, sizeof block), 0u);
    EXPECT_EQ(block[0], 'M');
    EXPECT_EQ(cache(3, 10), 122u);
    EXPECT_EQ(length, 8u + std::string("MODEL:USB printer;STATE:ready;").size());
    EXPECT_EQ(cache(9, 10), 6u);
}

uint32_t stateOf(const LoadedSimulator &simulator, uint32_t handle) {
    uint32_t state = 0;
    const auto code =
        simulator.call<uint32_t(uint32_t, uint32_t, uint32_t *)>("OrxGetCurrentStatePrinter", 7u, handle, &state);
    return code == 0 ? state : 1000 + code;
}

bool becomesIdle(const LoadedSimulator &simulator, uint32_t handle) {
    const auto deadline = nowMs() + 10'000;
    while (stateOf(simulator, handle) == 1 && nowMs() < deadline) {
        Sleep(5);
    }
    return stateOf(simulator, handle) == 3;
}

TEST_F(SimulatorProperty, StateIsIdleBeforePrintingWithinAndIdleAfter) {
    EXPECT_EQ(stateOf(simulator, 3), 3u);
    simulator.open(3);
    simulator.start(3);
    EXPECT_EQ(stateOf(simulator, 3), 1u);
    simulator.end(3);
    EXPECT_TRUE(becomesIdle(simulator, 3));
}

TEST_F(SimulatorProperty, StateOfUnknownHandleIsInvalid) {
    EXPECT_EQ(stateOf(simulator, 9), 1006u);
}

TEST(SimulatorState, PrinterIsBusyForAWhileAfterTheLastByteAlsoAfterAReload) {
    LoadedSimulator simulator(
        R"({"printers":[{"handle":1,"transport":"USB1","port":"p","device":"","printingMs":1500}]})");
    const auto before = nowMs();
    ASSERT_EQ(simulator.print(1, "x"), 0u);
    EXPECT_EQ(stateOf(simulator, 1), 1u);
    simulator.reload();
    EXPECT_EQ(stateOf(simulator, 1), 1u);
    EXPECT_TRUE(becomesIdle(simulator, 1));
    EXPECT_GE(nowMs() - before, 1490u); // by another clock than the simulator's
}

} // namespace
