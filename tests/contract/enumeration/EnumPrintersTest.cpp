#include "tests/contract/enumeration/EnumerationFixture.h"

#include "tests/support/EveryCore.h"
#include "tests/support/ImportHook.h"

#include <atomic>
#include <stdexcept>
#include <thread>

namespace kal::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using ServiceCallback = uint32_t(uint32_t handle);

class KalEnumPrintersTest : public EnumerationTest {
  protected:
    /// What the service was asked: "Discovery USB1", "EnumPrinters IPv4".
    std::vector<std::string> asked() const {
        std::vector<std::string> steps;
        for (const ServiceCall &call : service.calls())
            if (call.entryPoint == "OrxDiscovery" || call.entryPoint == "OrxEnumPrinters")
                steps.push_back(call.entryPoint.substr(3) + " " + call.text(1));
        return steps;
    }
    std::vector<std::string> askedFor(uint32_t mask) {
        EXPECT_EQ(KalEnumPrinters(0, mask, report), KAL_OKAY);
        return asked();
    }

    /// The service finds these printers in its next enumeration.
    void finds(std::vector<uint32_t> handles) {
        service.does("OrxEnumPrinters", [this, handles](const ServiceCall &call) {
            for (const uint32_t handle : handles)
                callbackResults.push_back(call.callback<ServiceCallback>(3)(handle));
            return 0u;
        });
    }
    const ReportedPrinter &findOne(uint32_t handle = 0x1005) {
        finds({handle});
        KalEnumPrinters(0, 0x400, report);
        return reported.at(0);
    }

    std::vector<uint32_t> callbackResults;
};

// ------------------------------------------------------------------------------------ what the service is asked

TEST_F(KalEnumPrintersTest, ServiceIsAskedWithTheHandleThatItGaveAndTheRecordHasItsLowHalf) {
    property("Transport", "HBN1");
    const ReportedPrinter &printer = findOne(0xABCD1005);
    EXPECT_THAT(handlesAskedFor(), ElementsAre(0xABCD1005, 0xABCD1005, 0xABCD1005, 0xABCD1005));
    EXPECT_EQ(printer.at<uint16_t>(86), 0x1005);
    EXPECT_EQ(printer.at<uint16_t>(88), 8); // what follows the handle
}

TEST_F(KalEnumPrintersTest, EmptyMaskAsksNothing) {
    EXPECT_EQ(KalEnumPrinters(0, 0, report), KAL_OKAY);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_F(KalEnumPrintersTest, AllBitsAskInOrder) {
    EXPECT_THAT(askedFor(0xFFFFFFFF), ElementsAre("Discovery USB1", "Discovery PAR1", "EnumPrinters IPv4",
                                                  "EnumPrinters USB1", "EnumPrinters PAR1"));
}

TEST_F(KalEnumPrintersTest, NetworkBitAsksForNetwork) {
    EXPECT_THAT(askedFor(0x2), ElementsAre("EnumPrinters IPv4"));
}

TEST_F(KalEnumPrintersTest, UsbBitAsksForUsb) {
    EXPECT_THAT(askedFor(0x400), ElementsAre("EnumPrinters USB1"));
}

TEST_F(KalEnumPrintersTest, ParallelBitAsksForParallel) {
    EXPECT_THAT(askedFor(0x800), ElementsAre("EnumPrinters PAR1"));
}

TEST_F(KalEnumPrintersTest, OtherBitsAskNothing) {
    EXPECT_THAT(askedFor(0x7FFFF3FD), IsEmpty());
}

TEST_F(KalEnumPrintersTest, DiscoveryAloneAsksNothing) {
    EXPECT_THAT(askedFor(0x80000000), IsEmpty());
}

TEST_F(KalEnumPrintersTest, DiscoveryKnowsNoNetwork) {
    EXPECT_THAT(askedFor(0x80000002), ElementsAre("EnumPrinters IPv4"));
}

TEST_F(KalEnumPrintersTest, DiscoveryOfUsb) {
    EXPECT_THAT(askedFor(0x80000400), ElementsAre("Discovery USB1", "EnumPrinters USB1"));
}

TEST_F(KalEnumPrintersTest, DiscoveryOfParallel) {
    EXPECT_THAT(askedFor(0x80000800), ElementsAre("Discovery PAR1", "EnumPrinters PAR1"));
}

TEST_F(KalEnumPrintersTest, EnumerationHandsOverANullAndTheLibrarysCallback) {
    KalEnumPrinters(0, 0xC02, report);
    const auto calls = service.calls("OrxEnumPrinters");
    ASSERT_THAT(calls, SizeIs(3));
    for (const ServiceCall &call : calls) {
        EXPECT_EQ(call.number(0), 101u + static_cast<uint32_t>(&call - calls.data()));
        EXPECT_EQ(call.arguments[2], 0u);
        EXPECT_NE(call.arguments[3], 0u);
        EXPECT_NE(call.arguments[3], reinterpret_cast<uintptr_t>(&report));
        EXPECT_EQ(call.thread, GetCurrentThreadId());
    }
}

TEST_F(KalEnumPrintersTest, DiscoveryNamesThePortProperty) {
    KalEnumPrinters(0, 0x80000C00, report);
    for (const ServiceCall &call : service.calls("OrxDiscovery"))
        EXPECT_EQ(call.text(2), "Portname");
    EXPECT_EQ(service.count("OrxDiscovery"), 2u);
}

// ------------------------------------------------------------------------------------------ failing steps

TEST_F(KalEnumPrintersTest, FailedUsbDiscoveryEndsTheCallAsSuccess) {
    service.answers("OrxDiscovery", 4711);
    EXPECT_THAT(askedFor(0x80000C02), ElementsAre("Discovery USB1"));
}

TEST_F(KalEnumPrintersTest, FailedParallelDiscoveryEndsTheCallAsSuccess) {
    service.answersInTurn("OrxDiscovery", {0, 4711});
    EXPECT_THAT(askedFor(0x80000C02), ElementsAre("Discovery USB1", "Discovery PAR1"));
}

TEST_F(KalEnumPrintersTest, FailedNetworkEnumerationEndsTheCallAsSuccess) {
    service.answers("OrxEnumPrinters", 4711);
    EXPECT_THAT(askedFor(0xC02), ElementsAre("EnumPrinters IPv4"));
}

TEST_F(KalEnumPrintersTest, FailedUsbEnumerationEndsTheCallAsSuccess) {
    service.answersInTurn("OrxEnumPrinters", {0, 4711});
    EXPECT_THAT(askedFor(0xC02), ElementsAre("EnumPrinters IPv4", "EnumPrinters USB1"));
}

TEST_F(KalEnumPrintersTest, FailedParallelEnumerationIsSuccess) {
    service.answersInTurn("OrxEnumPrinters", {0, 0, 4711});
    EXPECT_THAT(askedFor(0xC02), SizeIs(3));
}

TEST_F(KalEnumPrintersTest, FailedEnumerationIsLoggedWithItsCode) {
    service.answers("OrxEnumPrinters", 4711);
    KalEnumPrinters(0, 0x2, report);
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalEnumPrinters", "enumPrinters() failed, errorCode=4711",
                                                "-KalEnumPrinters rc=KAL_OKAY"));
}

TEST_F(KalEnumPrintersTest, FailedDiscoveryIsLoggedWithItsCode) {
    service.answers("OrxDiscovery", 4711);
    KalEnumPrinters(0, 0x80000400, report);
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalEnumPrinters", "discovery() failed, errorCode=4711", "-KalEnumPrinters rc=KAL_OKAY"));
}

// ---------------------------------------------------------------------------------- one printer found

TEST_F(KalEnumPrintersTest, PrinterIsReadInOrder) {
    property("Transport", "HBN1");
    findOne();
    const auto calls = service.calls();
    std::vector<std::string> reads;
    for (const ServiceCall &call : calls)
        if (call.entryPoint.starts_with("OrxGetString") || call.entryPoint.starts_with("OrxGetByteArray"))
            reads.push_back(call.entryPoint.substr(3) + " " + std::to_string(call.number(1)) + " " + call.text(2) +
                            " " + std::to_string(call.number(4)));
    EXPECT_THAT(reads, ElementsAre(std::string("GetStringPrinter 4101 ") + transportDescriptor + " 256",
                                   std::string("GetByteArrayPrinter 4101 ") + macAddressDescriptor + " 6",
                                   std::string("GetStringPrinter 4101 ") + portNameDescriptor + " 260",
                                   std::string("GetStringPrinter 4101 ") + deviceDescriptor + " 11"));
}

TEST_F(KalEnumPrintersTest, MacAddressIsOnlyReadOnAHostBasedNetwork) {
    findOne();
    EXPECT_EQ(service.count("OrxGetByteArrayPrinter"), 0u);
}

TEST_F(KalEnumPrintersTest, RecordOfAHostBasedNetworkPrinterByteByByte) {
    property("Transport", "HBN3");
    property("Portname", "HBN3:4711");
    const ReportedPrinter &printer = findOne(0xBEEF);
    std::vector<uint8_t> expected(100, 0);
    const uint8_t mac[] = {1, 2, 3, 0, 5, 6};
    std::copy_n(mac, 6, expected.begin());
    std::memcpy(&expected[6], "HBN3:4711", 9);
    expected[86] = 0xEF;
    expected[87] = 0xBE;
    expected[88] = 8;
    expected[93] = 0x02; // 512
    expected[98] = 1;
    EXPECT_EQ(printer.head, expected);
    EXPECT_EQ(printer.secondName, "HBN3:4711");
}

TEST_F(KalEnumPrintersTest, RecordOfAUsbPrinterByteByByte) {
    property("Device", "BpdPrinter");
    const ReportedPrinter &printer = findOne(0x0005);
    std::vector<uint8_t> expected(100, 0);
    std::memcpy(&expected[6], "PORT1", 5);
    expected[86] = 5;
    expected[88] = 3;
    expected[93] = 0x04; // 1024
    EXPECT_EQ(printer.head, expected);
    EXPECT_EQ(printer.secondName, "PORT1");
}

struct TransportRow {
    const char *transport;
    uint32_t code;
};

void PrintTo(const TransportRow &row, std::ostream *stream) {
    *stream << '"' << row.transport << '"';
}

class EnumPrintersTransportTest : public KalEnumPrintersTest, public testing::WithParamInterface<TransportRow> {};

TEST_P(EnumPrintersTransportTest, PortTypeIsReportedAndReturnedToTheService) {
    property("Transport", GetParam().transport);
    const ReportedPrinter &printer = findOne();
    EXPECT_EQ(printer.at<uint32_t>(92), GetParam().code);
    EXPECT_EQ(printer.at<uint16_t>(98), GetParam().code == 512 ? 1 : 0);
    EXPECT_THAT(callbackResults, ElementsAre(GetParam().code));
    const bool hasMac = printer.at<uint32_t>(0) != 0;
    EXPECT_EQ(hasMac, GetParam().code == 512);
}

INSTANTIATE_TEST_SUITE_P(Transports, EnumPrintersTransportTest,
                         testing::Values(TransportRow{"HBN1", 512}, TransportRow{"HBN3", 512},
                                         TransportRow{"USB1", 1024}, TransportRow{"PAR1", 2048},
                                         TransportRow{"IPv4", 2}, TransportRow{"hbn1", 512}, TransportRow{"usb1", 1024},
                                         TransportRow{"IPV4", 2}, TransportRow{"HBN2", 0}, TransportRow{"", 0},
                                         TransportRow{"USB12", 0}));

TEST_F(KalEnumPrintersTest, UnreadableTransportIsUsb) {
    propertyFails("Transport", 5);
    EXPECT_EQ(findOne().at<uint32_t>(92), 1024u);
    EXPECT_THAT(callbackResults, ElementsAre(1024u));
}

struct DeviceRow {
    const char *device;
    uint16_t deviceClass;
};

void PrintTo(const DeviceRow &row, std::ostream *stream) {
    *stream << '"' << row.device << '"';
}

class EnumPrintersDeviceTest : public KalEnumPrintersTest, public testing::WithParamInterface<DeviceRow> {};

TEST_P(EnumPrintersDeviceTest, DeviceClassIsThatOfTheKind) {
    property("Device", GetParam().device);
    EXPECT_EQ(findOne().at<uint16_t>(88), GetParam().deviceClass);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EnumPrintersDeviceTest,
                         testing::Values(DeviceRow{"CpdPrinter", 8}, DeviceRow{"BpdPrinter", 3}, DeviceRow{"", 3},
                                         DeviceRow{"cpdprinter", 3}, DeviceRow{"CpdPrinte", 3},
                                         DeviceRow{"CpdPrinters", 3}));

TEST_F(KalEnumPrintersTest, UnreadableDeviceKindIsIgnored) {
    propertyFails("Device", 5);
    EXPECT_EQ(findOne().at<uint16_t>(88), 3u);
    EXPECT_THAT(callbackResults, ElementsAre(1024u));
}

TEST_F(KalEnumPrintersTest, DeviceKindThatFillsItsBufferIsNotReadBeyond) {
    propertyIsRaw("Device", "CpdPrinterX");
    EXPECT_EQ(findOne().at<uint16_t>(88), 3u);
}

TEST_F(KalEnumPrintersTest, TransportThatFillsItsBufferIsUnknown) {
    propertyIsRaw("Transport", std::string(256, 'U'));
    EXPECT_EQ(findOne().at<uint32_t>(92), 0u);
}

class EnumPrintersNameTest : public KalEnumPrintersTest, public testing::WithParamInterface<size_t> {};

TEST_P(EnumPrintersNameTest, FirstNameIsCutAndSecondIsWhole) {
    std::string name;
    for (size_t index = 0; index < GetParam(); ++index)
        name.push_back(static_cast<char>('A' + index % 26));
    property("Portname", name);
    const ReportedPrinter &printer = findOne(0x4321);
    EXPECT_EQ(printer.portName(), name.substr(0, 79));
    EXPECT_EQ(printer.secondName, name);
    EXPECT_EQ(printer.at<uint16_t>(86), 0x4321);
}

INSTANTIATE_TEST_SUITE_P(Lengths, EnumPrintersNameTest, testing::Values(0u, 1u, 78u, 79u, 80u, 81u, 94u, 258u, 259u));

TEST_F(KalEnumPrintersTest, NameThatFillsItsBufferIsNotReadBeyond) {
    propertyIsRaw("Portname", std::string(260, 'N'));
    const ReportedPrinter &printer = findOne();
    EXPECT_EQ(printer.portName(), std::string(79, 'N'));
    EXPECT_EQ(printer.secondName, std::string(259, 'N')); // and its terminator
}

TEST_F(KalEnumPrintersTest, UnreadableMacAddressSkipsThePrinter) {
    property("Transport", "HBN1");
    propertyFails("MacAddress", 4711);
    finds({0x1005});
    EXPECT_EQ(KalEnumPrinters(0, 0x2, report), KAL_OKAY);
    EXPECT_THAT(reported, IsEmpty());
    EXPECT_THAT(callbackResults, ElementsAre(0u));
    EXPECT_THAT(machine.logTexts(),
                ElementsAre("+KalEnumPrinters", "KalEnumPrintersCallback", "getByteArrayPrinter, errorCode=4711",
                            "KAL_OKAY", "-KalEnumPrinters rc=KAL_OKAY"));
}

TEST_F(KalEnumPrintersTest, UnreadablePortNameSkipsThePrinterUnderTheOtherReadsWording) {
    propertyFails("Portname", 4711);
    finds({0x1005});
    EXPECT_EQ(KalEnumPrinters(0, 0x2, report), KAL_OKAY);
    EXPECT_THAT(reported, IsEmpty());
    EXPECT_THAT(callbackResults, ElementsAre(0u));
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalEnumPrinters", "KalEnumPrintersCallback",
                                                "getByteArrayPrinter, errorCode=4711", "-KalEnumPrinters rc=KAL_OKAY"));
}

TEST_F(KalEnumPrintersTest, FoundPrinterIsLogged) {
    findOne();
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalEnumPrinters", "KalEnumPrintersCallback", "Just before callback",
                                                "Just after callback", "-KalEnumPrinters rc=KAL_OKAY"));
}

TEST_F(KalEnumPrintersTest, EveryPrinterIsReportedInTheServicesOrder) {
    finds({3, 1, 2});
    KalEnumPrinters(0, 0x402, report);
    std::vector<uint16_t> handles;
    for (const ReportedPrinter &printer : reported)
        handles.push_back(printer.at<uint16_t>(86));
    EXPECT_THAT(handles, ElementsAre(3, 1, 2, 3, 1, 2));
}

TEST_F(KalEnumPrintersTest, SkippedPrinterDoesNotHideTheNext) {
    service.does("OrxEnumPrinters", [this](const ServiceCall &call) {
        propertyFails("Portname", 5);
        callbackResults.push_back(call.callback<ServiceCallback>(3)(1));
        property("Portname", "PORT2");
        callbackResults.push_back(call.callback<ServiceCallback>(3)(2));
        return 0u;
    });
    KalEnumPrinters(0, 0x400, report);
    EXPECT_THAT(callbackResults, ElementsAre(0u, 1024u));
    EXPECT_THAT(reported, SizeIs(1));
}

TEST_F(KalEnumPrintersTest, NothingOfOnePrinterStaysInTheNextOnesRecord) {
    property("Transport", "HBN1");
    property("Portname", std::string(79, 'L'));
    service.does("OrxEnumPrinters", [this](const ServiceCall &call) {
        call.callback<ServiceCallback>(3)(1);
        property("Transport", "USB1");
        property("Portname", "P");
        property("Device", "BpdPrinter");
        call.callback<ServiceCallback>(3)(2);
        return 0u;
    });
    KalEnumPrinters(0, 0x400, report);
    ASSERT_THAT(reported, SizeIs(2));
    std::vector<uint8_t> expected(100, 0);
    expected[6] = 'P';
    expected[86] = 2;
    expected[88] = 3;
    expected[93] = 0x04;
    EXPECT_EQ(reported[1].head, expected);
}

TEST_F(KalEnumPrintersTest, NullCallbackIsNobodyToReportTo) {
    finds({0x1005});
    EXPECT_EQ(KalEnumPrinters(0, 0x2, nullptr), KAL_OKAY);
    EXPECT_THAT(callbackResults, ElementsAre(1024u));
}

TEST_F(KalEnumPrintersTest, ServiceMayReportOnAThreadOfItsOwn) {
    service.does("OrxEnumPrinters", [this](const ServiceCall &call) {
        std::thread([&] { callbackResults.push_back(call.callback<ServiceCallback>(3)(7)); }).join();
        return 0u;
    });
    KalEnumPrinters(0, 0x2, report);
    ASSERT_THAT(reported, SizeIs(1));
    EXPECT_NE(reported[0].thread, GetCurrentThreadId());
}

TEST_F(KalEnumPrintersTest, TwoEnumerationsAtOnceReportToTheCallbackStoredLast) {
    bool isNested = false;
    service.does("OrxEnumPrinters", [&](const ServiceCall &call) {
        if (!isNested) {
            isNested = true;
            std::thread([] { EXPECT_EQ(KalEnumPrinters(0, 0x400, reportElsewhere), KAL_OKAY); }).join();
        }
        call.callback<ServiceCallback>(3)(5);
        return 0u;
    });
    EXPECT_EQ(KalEnumPrinters(0, 0x2, report), KAL_OKAY);
    EXPECT_THAT(reported, IsEmpty());
    EXPECT_EQ(reportedElsewhere, 2);
}

TEST_F(KalEnumPrintersTest, ManyEnumerationsAtOnceAllEnd) {
    const EveryCore everyCore;
    finds({});
    service.does("OrxEnumPrinters", [](const ServiceCall &call) {
        for (uint32_t handle = 0; handle < 20; ++handle)
            EXPECT_EQ(call.callback<ServiceCallback>(3)(handle), 1024u);
        return 0u;
    });
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index)
        threads.emplace_back([] { EXPECT_EQ(KalEnumPrinters(0, 0x402, nullptr), KAL_OKAY); });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(service.count("OrxEnumPrinters"), 8u);
}

TEST_F(KalEnumPrintersTest, CallbackMayEnumerateAgain) {
    static int depth;
    depth = 0;
    finds({1});
    const auto enumerateAgain = [](const PortInfoRecord *) {
        if (++depth < 3)
            KalEnumPrinters(0, 0x2, nullptr);
    };
    EXPECT_EQ(KalEnumPrinters(0, 0x2, enumerateAgain), KAL_OKAY);
    EXPECT_EQ(depth, 1);
}

TEST_F(KalEnumPrintersTest, LateCallAfterTheLastUnregistrationAnswersOne) {
    ServiceCallback *late = nullptr;
    service.does("OrxEnumPrinters", [&](const ServiceCall &call) {
        late = call.callback<ServiceCallback>(3);
        return 0u;
    });
    KalEnumPrinters(0, 0x2, report);
    KalUnregisterApp(0);
    forget();
    EXPECT_EQ(late(5), 1u);
    EXPECT_THAT(reported, IsEmpty());
    EXPECT_THAT(service.sequence(), IsEmpty());
    KalRegisterApp(0);
}

TEST_F(KalEnumPrintersTest, ExceptionsOfTheCallbackDoNotReachTheService) {
    const KalPortCallback throwing[] = {[](const PortInfoRecord *) { throw std::runtime_error("the application's"); },
                                        [](const PortInfoRecord *) { throw 7; }};
    for (const KalPortCallback each : throwing) {
        callbackResults.clear();
        finds({1, 2});
        EXPECT_NO_THROW(EXPECT_EQ(KalEnumPrinters(0, 0x2, each), KAL_OKAY));
        EXPECT_THAT(callbackResults, ElementsAre(1u, 1u));
    }
}

TEST_F(KalEnumPrintersTest, CallWhileTheServiceIsBeingUnloadedAnswersOneAndAsksNothing) {
    ServiceCallback *late = nullptr;
    service.does("OrxEnumPrinters", [&](const ServiceCall &call) {
        late = call.callback<ServiceCallback>(3);
        return 0u;
    });
    KalEnumPrinters(0, 0x2, report);
    ASSERT_EQ(KalOpen(0, 5, 0), KAL_OKAY); // keeps the service loaded until the unregistration
    forget();
    uint32_t answer = 7;
    service.does("OrxUninitialize", [&](const ServiceCall &) {
        std::thread([&] { answer = late(5); }).join();
        return 0u;
    });
    KalUnregisterApp(0);
    EXPECT_EQ(answer, 1u);
    EXPECT_THAT(reported, IsEmpty());
    EXPECT_THAT(service.sequence(), ElementsAre("OrxUninitialize"));
    service.answers("OrxUninitialize", 0);
    KalRegisterApp(0);
}

TEST_F(KalEnumPrintersTest, LastUnregistrationWaitsForTheCallback) {
    static std::atomic<bool> isInside, isUnregistered, isEarly;
    isInside = isUnregistered = isEarly = false;
    ServiceCallback *callback = nullptr;
    service.does("OrxEnumPrinters", [&](const ServiceCall &call) {
        callback = call.callback<ServiceCallback>(3);
        return 0u;
    });
    KalEnumPrinters(0, 0x2, [](const PortInfoRecord *) {
        isInside = true;
        Sleep(200);
        isEarly = isUnregistered.load();
    });
    std::thread late([&] { EXPECT_EQ(callback(5), 1024u); });
    while (!isInside)
        Sleep(1);
    KalUnregisterApp(0);
    isUnregistered = true;
    late.join();
    EXPECT_FALSE(isEarly);
    KalRegisterApp(0);
}

TEST_F(KalEnumPrintersTest, CallbackMayMakeTheLastUnregistration) {
    finds({5});
    ASSERT_EQ(KalOpen(0, 5, 0), KAL_OKAY);
    const int unloads = service.unloads();
    const ImportHook<"Sleep", void(DWORD)> wait(GetModuleHandleA("kalclient.dll"),
                                                [&](DWORD time) { wait.original(time); });
    EXPECT_EQ(KalEnumPrinters(0, 0x402, [](const PortInfoRecord *) { KalUnregisterApp(0); }), KAL_OKAY);
    EXPECT_EQ(wait.calls(), 0);
    // The service goes on after the callback, so it is not unloaded, and is asked for the other kind of printers, too.
    EXPECT_EQ(service.unloads(), unloads);
    EXPECT_EQ(service.count("OrxEnumPrinters"), 2u);
    EXPECT_THAT(callbackResults, ElementsAre(1024u, 1u));
    KalRegisterApp(0);
    finds({6});
    forget();
    EXPECT_EQ(KalEnumPrinters(0, 0x2, report), KAL_OKAY);
    EXPECT_THAT(machine.logTexts(), ElementsAre("+KalEnumPrinters", "KalEnumPrintersCallback", "Just before callback",
                                                "Just after callback", "-KalEnumPrinters rc=KAL_OKAY"));
    EXPECT_EQ(KalClose(0, 5), DEVERR_INVHANDLE) << "the binding is a fresh one";
}

TEST_F(KalEnumPrintersTest, NothingIsRaisedIntoTheServiceWhenThereIsNoMemory) {
    int tried = 0;
    const HMODULE library = GetModuleHandleA("kalclient.dll");
    // No setting is fresh, so each log line reads its settings again, which takes memory.
    DWORD now = 0;
    const ImportHook<"GetTickCount", DWORD()> clock(library, [&] { return now += 3'600'000; });
    service.does("OrxEnumPrinters", [&](const ServiceCall &call) {
        auto *const found = call.callback<ServiceCallback>(3);
        // One at a time: when memory stays out, the compiler's run time ends the process at its first exception.
        bool hasFailed = true;
        for (int nth = 0; hasFailed; ++nth) {
            int left = nth;
            const ImportHook<"malloc", void *(size_t)> memory(
                library, [&](size_t size) { return left-- == 0 ? nullptr : memory.original(size); });
            EXPECT_NO_THROW(found(5)) << nth;
            hasFailed = left < 0;
            tried += hasFailed ? 1 : 0;
        }
        return 0u;
    });
    EXPECT_EQ(KalEnumPrinters(0, 0x2, report), KAL_OKAY);
    EXPECT_GT(tried, 0);
}

TEST_F(KalEnumPrintersTest, DirtAboveTheFirstArgumentsIsCutOff) {
    const auto call = library<int32_t(uint64_t, uint64_t, void *)>("KalEnumPrinters");
    EXPECT_EQ(call(dirty16(0), dirty32(0x2), reinterpret_cast<void *>(&report)), KAL_OKAY);
    EXPECT_THAT(asked(), ElementsAre("EnumPrinters IPv4"));
}

} // namespace
} // namespace kal::test
