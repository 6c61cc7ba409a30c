#include "tests/simulator/LoadedSimulator.h"

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

uint32_t calls = 0;

uint32_t count(uint32_t) {
    return ++calls;
}

TEST(SimulatorOtherDevices, EnumerationsSucceedAndFindNone) {
    const LoadedSimulator simulator;
    calls = 0;
    for (const char *name : {"OrxEnumHids", "OrxEnumScanners", "OrxEnumCardReaders", "OrxEnumWindowsHids",
                             "OrxEnumWindowsScanners", "OrxEnumWindowsPrinters"})
        EXPECT_EQ((simulator.call<uint32_t(uint32_t, const char *, const char *, OrxEnumCallback)>(name, 7u, nullptr,
                                                                                                   nullptr, &count)),
                  0u)
            << name;
    EXPECT_EQ(calls, 0u);
}

TEST(SimulatorOtherDevices, OperationsOnADeviceFindNone) {
    const LoadedSimulator simulator;
    for (const char *name :
         {"OrxOpenHid", "OrxOpenScanner", "OrxOpenCardReader", "OrxCloseHid", "OrxCloseScanner", "OrxCloseCardReader",
          "OrxDeleteHid", "OrxEndJobScanner", "OrxCancelJobScanner", "OrxUnregisterForReportsHid",
          "OrxUnregisterForNotificationsHid", "OrxUnregisterForAsyncDataScanner",
          "OrxUnregisterForNotificationsCardReader", "OrxUnregisterForAsyncDataCardReader"})
        EXPECT_EQ((simulator.call<uint32_t(uint32_t, uint32_t)>(name, 7u, 1u)), 1168u) << name;
}

TEST(SimulatorOtherDevices, SpecificPortIsNotFound) {
    const LoadedSimulator simulator;
    uint32_t handle = 0;
    for (const char *name : {"OrxEnumSpecificHid", "OrxEnumSpecificScanner", "OrxEnumSpecificCardReader"})
        EXPECT_EQ((simulator.call<uint32_t(uint32_t, const char *, uint32_t *)>(name, 7u, "LPT1", &handle)), 1168u)
            << name;
}

TEST(SimulatorOtherDevices, RegistrationsForAllOfAKindSucceed) {
    const LoadedSimulator simulator;
    for (const char *name : {"OrxRegisterForReportsHids", "OrxRegisterForReportsCardReader"})
        EXPECT_EQ((simulator.call<uint32_t(uint32_t, const void *)>(name, 7u, nullptr)), 0u) << name;
    for (const char *name :
         {"OrxUnregisterForReportsHids", "OrxUnregisterForReportsCardReader", "OrxUnregisterForSystemNotifications"})
        EXPECT_EQ((simulator.call<uint32_t(uint32_t)>(name, 7u)), 0u) << name;
}

TEST(SimulatorService, ControlSucceeds) {
    const LoadedSimulator simulator;
    for (const char *name : {"OrxInstall", "OrxUninstall", "OrxSuspend", "OrxResume", "OrxAddMonitor"})
        EXPECT_EQ(simulator.call<uint32_t()>(name), 0u) << name;
}

TEST(SimulatorService, InstallSucceedsWithoutInitialize) {
    LoadedSimulator simulator;
    simulator.call<uint32_t()>("OrxUninitialize");
    EXPECT_EQ(simulator.call<uint32_t()>("OrxInstall"), 0u);
    EXPECT_EQ(simulator.open(3), 1062u);
}

TEST(SimulatorService, ClientIdIsThatOfTheProcess) {
    const LoadedSimulator simulator;
    uint32_t identifier = 0;
    EXPECT_EQ((simulator.call<uint32_t(uint32_t *, const char *)>("OrxGetClientId", &identifier, "")), 0u);
    EXPECT_EQ(identifier, GetCurrentProcessId());
}

} // namespace
