#include <winsock2.h>
#include <ws2tcpip.h>

#include "tests/simulator/LoadedSimulator.h"

#include <gtest/gtest.h>

using namespace kal::test;

namespace {

/// A printer on loopback that does with a connection what the test wants, on a thread of its own.
class LoopbackPrinter {
  public:
    enum class Conduct { takesAll, talks, closesAfterTheFirstBytes, breaksAfterTheFirstBytes, stalls, neverCloses };

    explicit LoopbackPrinter(Conduct conduct) : conduct_(conduct) {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        listener_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        const int small = 4096;
        setsockopt(listener_, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char *>(&small), sizeof small);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int size = sizeof address;
        bind(listener_, reinterpret_cast<sockaddr *>(&address), size);
        getsockname(listener_, reinterpret_cast<sockaddr *>(&address), &size);
        port_ = ntohs(address.sin_port);
        listen(listener_, 1);
        done_ = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        thread_ = CreateThread(nullptr, 0, &LoopbackPrinter::run, this, 0, nullptr);
    }
    ~LoopbackPrinter() {
        SetEvent(done_);
        closesocket(listener_);
        WaitForSingleObject(thread_, 5000);
        CloseHandle(thread_);
        CloseHandle(done_);
        WSACleanup();
    }
    LoopbackPrinter(const LoopbackPrinter &) = delete;
    LoopbackPrinter &operator=(const LoopbackPrinter &) = delete;

    uint16_t port() const { return port_; }
    /// The bytes received, once the connection is over.
    const std::string &document() {
        WaitForSingleObject(thread_, 5000);
        return document_;
    }

  private:
    static DWORD WINAPI run(void *argument) {
        static_cast<LoopbackPrinter *>(argument)->serve();
        return 0;
    }

    void serve() {
        const SOCKET connection = accept(listener_, nullptr, nullptr);
        if (connection == INVALID_SOCKET)
            return;
        char buffer[4096];
        for (;;) {
            if (conduct_ == Conduct::stalls) {
                WaitForSingleObject(done_, 10000);
                break;
            }
            const int received = recv(connection, buffer, sizeof buffer, 0);
            if (received <= 0)
                break;
            document_.append(buffer, static_cast<size_t>(received));
            if (conduct_ == Conduct::talks)
                send(connection, buffer, received, 0);
            if (conduct_ == Conduct::closesAfterTheFirstBytes)
                break;
            if (conduct_ == Conduct::breaksAfterTheFirstBytes) {
                const linger breakAtOnce{1, 0};
                setsockopt(connection, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&breakAtOnce),
                           sizeof breakAtOnce);
                break;
            }
        }
        if (conduct_ == Conduct::talks)
            send(connection, "done", 4, 0); // the document's end has come, the connection's has not
        if (conduct_ == Conduct::neverCloses)
            WaitForSingleObject(done_, 10000);
        closesocket(connection);
    }

    Conduct conduct_;
    SOCKET listener_ = INVALID_SOCKET;
    uint16_t port_ = 0;
    HANDLE thread_ = nullptr;
    HANDLE done_ = nullptr;
    std::string document_;
};

using Conduct = LoopbackPrinter::Conduct;

std::string boundTo(uint16_t port, uint32_t timeoutMs = 10000) {
    const auto limit = std::to_string(timeoutMs);
    return R"({"printers":[{"handle":1,"transport":"IPv4","port":"p","device":"","rawTcp":{"host":"127.0.0.1","port":)" +
           std::to_string(port) + ",\"sendTimeoutMs\":" + limit + ",\"endTimeoutMs\":" + limit + "}}]}";
}

uint16_t portWithoutListener() {
    const LoopbackPrinter gone(Conduct::takesAll);
    return gone.port();
}

TEST(SimulatorRawTcp, DocumentArrivesWholeAndIsSpooledToo) {
    LoopbackPrinter printer(Conduct::takesAll);
    const LoadedSimulator simulator(boundTo(printer.port()));
    const std::string bytes(3'000'000, 'x');
    ASSERT_EQ(simulator.print(1, bytes), 0u);
    EXPECT_EQ(printer.document(), bytes);
    EXPECT_EQ(readFile(simulator.spool() / "job-000001.prn"), bytes);
}

TEST(SimulatorRawTcp, PrinterMayTalkWhileItTakesTheDocumentAndAfterIt) {
    LoopbackPrinter printer(Conduct::talks);
    const LoadedSimulator simulator(boundTo(printer.port()));
    simulator.open(1);
    simulator.start(1);
    std::string bytes;
    for (int piece = 0; piece < 20; ++piece) {
        const std::string each(1000, static_cast<char>('a' + piece));
        ASSERT_EQ(simulator.write(1, each), 0u) << piece;
        bytes += each;
        Sleep(5); // what the printer says is there before the next piece
    }
    EXPECT_EQ(simulator.end(1), 0u);
    EXPECT_EQ(printer.document(), bytes);
}

TEST(SimulatorRawTcp, BytesGoOutAsTheyAreWritten) {
    LoopbackPrinter printer(Conduct::breaksAfterTheFirstBytes);
    const LoadedSimulator simulator(boundTo(printer.port()));
    simulator.open(1);
    simulator.start(1);
    ASSERT_EQ(simulator.write(1, "first"), 0u);
    EXPECT_EQ(printer.document(), "first"); // the job is not ended yet
}

TEST(SimulatorRawTcp, RefusedConnectionIsNotFoundAndLeavesNoJob) {
    const LoadedSimulator simulator(boundTo(portWithoutListener()));
    simulator.open(1);
    EXPECT_EQ(simulator.start(1), 1168u);
    EXPECT_EQ(simulator.write(1, "x"), 50u);
    EXPECT_TRUE(simulator.spooled(".part").empty());
    EXPECT_EQ(simulator.start(1), 1168u);
}

TEST(SimulatorRawTcp, UnknownHostIsNotFound) {
    const LoadedSimulator simulator(
        R"({"printers":[{"handle":1,"transport":"IPv4","port":"p","device":"","rawTcp":{"host":"256.1.1.1"}}]})");
    simulator.open(1);
    EXPECT_EQ(simulator.start(1), 1168u);
}

TEST(SimulatorRawTcp, BrokenConnectionIsBusyAndNothingIsReportedAsDone) {
    LoopbackPrinter printer(Conduct::breaksAfterTheFirstBytes);
    const LoadedSimulator simulator(boundTo(printer.port()));
    simulator.open(1);
    simulator.start(1);
    uint32_t code = 0;
    for (int piece = 0; piece < 100 && code == 0; ++piece) {
        code = simulator.write(1, std::string(1000, 'x'));
        Sleep(5);
    }
    EXPECT_EQ(code, 170u);
    EXPECT_EQ(simulator.write(1, "x"), 170u);
    EXPECT_EQ(simulator.end(1), 170u);
    EXPECT_TRUE(simulator.spooled(".prn").empty());
    EXPECT_TRUE(simulator.spooled(".part").empty());
}

TEST(SimulatorRawTcp, ConnectionClosedInOrderBeforeTheEndIsBusy) {
    for (const bool writesOnceMore : {false, true}) {
        LoopbackPrinter printer(Conduct::closesAfterTheFirstBytes);
        const LoadedSimulator simulator(boundTo(printer.port()));
        simulator.open(1);
        simulator.start(1);
        simulator.write(1, "x");
        EXPECT_EQ(printer.document(), "x");
        Sleep(50);
        if (writesOnceMore) {
            EXPECT_EQ(simulator.write(1, "y"), 170u);
        }
        EXPECT_EQ(simulator.end(1), 170u);
        EXPECT_TRUE(simulator.spooled(".prn").empty());
    }
}

TEST(SimulatorRawTcp, ConnectionBrokenBeforeTheEndIsBusyAtTheEnd) {
    LoopbackPrinter printer(Conduct::breaksAfterTheFirstBytes);
    const LoadedSimulator simulator(boundTo(printer.port()));
    simulator.open(1);
    simulator.start(1);
    simulator.write(1, "x");
    static_cast<void>(printer.document()); // the connection is broken by then
    EXPECT_EQ(simulator.end(1), 170u);
    EXPECT_TRUE(simulator.spooled(".prn").empty());
}

TEST(SimulatorRawTcp, StalledPrinterIsATimeOutWithinItsTime) {
    const LoopbackPrinter printer(Conduct::stalls);
    const LoadedSimulator simulator(boundTo(printer.port(), 300));
    simulator.open(1);
    simulator.start(1);
    const auto before = nowMs();
    uint32_t written = 99;
    EXPECT_EQ(simulator.write(1, std::string(50'000'000, 'x'), &written), 1460u);
    EXPECT_EQ(written, 0u);
    EXPECT_GE(nowMs() - before, 290u);
    EXPECT_LT(nowMs() - before, 5000u);
    EXPECT_EQ(simulator.end(1), 1460u);
    EXPECT_TRUE(simulator.spooled(".prn").empty());
}

TEST(SimulatorRawTcp, PrinterThatNeverConfirmsTheEndIsATimeOut) {
    const LoopbackPrinter printer(Conduct::neverCloses);
    const LoadedSimulator simulator(boundTo(printer.port(), 300));
    simulator.open(1);
    simulator.start(1);
    simulator.write(1, "x");
    EXPECT_EQ(simulator.end(1), 1460u);
    EXPECT_TRUE(simulator.spooled(".prn").empty());
}

TEST(SimulatorRawTcp, CancelEndsTheConnectionAndKeepsNothing) {
    LoopbackPrinter printer(Conduct::takesAll);
    const LoadedSimulator simulator(boundTo(printer.port()));
    simulator.open(1);
    simulator.start(1);
    simulator.write(1, "half");
    ASSERT_EQ(simulator.cancel(1), 0u);
    EXPECT_EQ(printer.document(), "half");
    EXPECT_TRUE(simulator.spooled(".prn").empty());
    EXPECT_TRUE(simulator.spooled(".part").empty());
}

} // namespace
