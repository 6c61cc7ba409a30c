// Many of everything: cycles, writes, open handles, threads, bytes. What must stay flat is looked at in tenths:
// handles, memory and time per call of the last tenth against the first.
//
//   long_run cycles --count 100000         register, open, print, close, unregister
//   long_run writes --count 1000000        of one open handle; with --log everything is logged
//   long_run handles                       all 65536 handles open at once
//   long_run threads --count 64            threads that print on handles of their own
//   long_run document --bytes 4294967296   one document, written in pieces
#include "api/kal.h"
#include "tests/endurance/LiveBlocks.h"
#include "tests/endurance/ProcessFigures.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/ServiceHost.h"
#include "tests/support/TemporaryFolder.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace kal::test;

namespace {

void require(bool condition, const std::string &what) {
    if (!condition)
        throw std::runtime_error(what);
}

template <class Value>
void requireEqual(Value is, Value shouldBe, const std::string &what) {
    require(is == shouldBe, what + ": " + std::to_string(is) + " instead of " + std::to_string(shouldBe));
}

/// A service that says yes and counts.
class CountingService {
  public:
    CountingService() {
        char text[64];
        std::snprintf(text, sizeof text, "%lx:%llx", GetCurrentProcessId(),
                      static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(&host)));
        SetEnvironmentVariableA(serviceHostVariable, text);
    }

    static inline std::array<std::atomic<uint64_t>, static_cast<size_t>(EntryPoint::count)> calls{};
    static inline std::array<std::atomic<uint32_t>, 65536> opens{}; ///< by handle
    static inline std::atomic<uint64_t> bytes = 0;
    static inline std::atomic<uint64_t> checksum = 0;
    static inline std::atomic<uint64_t> loads = 0;
    static inline size_t sumsEach = 1; ///< this many bytes apart are those that count for the checksum

    static uint64_t count(EntryPoint entryPoint) { return calls[static_cast<size_t>(entryPoint)]; }

    /// Of a piece that begins at the offset: pieces may arrive in any division.
    static uint64_t sumOf(const uint8_t *data, size_t size, uint64_t offset) {
        uint64_t sum = 0;
        for (size_t index = (sumsEach - offset % sumsEach) % sumsEach; index < size; index += sumsEach)
            sum += data[index] * (2 * (offset + index) + 1);
        return sum;
    }

  private:
    static void attached(HMODULE) { ++loads; }
    static void detached(HMODULE) {}
    static uint32_t called(EntryPoint entryPoint, const uint64_t *arguments) {
        ++calls[static_cast<size_t>(entryPoint)];
        switch (entryPoint) {
        case EntryPoint::OrxGetClientId:
            *reinterpret_cast<uint32_t *>(static_cast<uintptr_t>(arguments[0])) = 7;
            break;
        case EntryPoint::OrxOpenPrinter:
            ++opens[static_cast<uint16_t>(arguments[1])];
            break;
        case EntryPoint::OrxClosePrinter:
            --opens[static_cast<uint16_t>(arguments[1])];
            break;
        case EntryPoint::OrxWritePrinter: {
            const auto size = static_cast<uint32_t>(arguments[3]);
            checksum += sumOf(reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(arguments[2])), size, bytes);
            bytes += size;
            *reinterpret_cast<uint32_t *>(static_cast<uintptr_t>(arguments[4])) = size;
            break;
        }
        default:
            break;
        }
        return 0;
    }
    static constexpr ServiceHost host = {&attached, &detached, &called};
};

// -------------------------------------------------------------------------------------------------------- in tenths

struct Tenth {
    double microseconds; ///< of a call, median
    double least;        ///< the tenth part of the samples is faster: hardly anybody else was at work then
    double ratio;        ///< to the reference's time right beside it, median
    int64_t blocks;      ///< of the library's that live at its end
    ProcessFigures figures;
};

constexpr double mostSlower = 2.5;               // ratio of the last tenth to that of the first, on a busy machine
constexpr uint64_t mostGrowth = 4 * 1024 * 1024; // bytes, from the first tenth to the last
constexpr DWORD mostHandles = 4;                 // that come and go with the system's own work

/// The value that so many in a hundred of the samples lie below.
double percentile(std::vector<double> &samples, size_t percent) {
    const auto place = samples.begin() + static_cast<ptrdiff_t>(samples.size() * percent / 100);
    std::nth_element(samples.begin(), place, samples.end());
    return *place;
}

/// How much larger a figure is at the end than at the beginning; of two neighbours, so that a tenth that the machine
/// spoiled is not taken for a trend.
double growth(const std::vector<Tenth> &tenths, double Tenth::*figure) {
    return std::min(tenths[8].*figure, tenths[9].*figure) / std::max(tenths[0].*figure, tenths[1].*figure);
}

template <class Work>
double microsecondsOf(const Work &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

/// Something of the system's that takes as long all the time on an idle machine, and longer while others are at work.
void callSystem() {
    for (int number = 0; number < 20; ++number)
        CloseHandle(CreateEventA(nullptr, FALSE, FALSE, nullptr));
}

/// Calls so often, in samples of some calls each, and holds the last tenth against the first. What else the machine
/// does meanwhile slows the reference beside each sample as well.
void inTenths(const char *what, uint64_t count, uint64_t callsOfSample, const std::function<void()> &call) {
    const uint64_t samplesOfTenth = std::max<uint64_t>(1, count / 10 / callsOfSample);
    const LiveBlocks blocks;
    std::vector<Tenth> tenths;
    for (int number = 0; number < 10; ++number) {
        std::vector<double> times, ratios;
        for (uint64_t sample = 0; sample < samplesOfTenth; ++sample) {
            const double before = microsecondsOf(callSystem);
            const double time = microsecondsOf([&] {
                for (uint64_t each = 0; each < callsOfSample; ++each)
                    call();
            });
            times.push_back(time / static_cast<double>(callsOfSample));
            ratios.push_back(time / (before + microsecondsOf(callSystem)));
        }
        tenths.push_back({percentile(times, 50), percentile(times, 10), percentile(ratios, 50), blocks.count(),
                          ProcessFigures::now()});
    }
    const Tenth &first = tenths.front(), &last = tenths.back();
    std::printf("%s: %llu times; median of a tenth in microseconds:", what,
                static_cast<unsigned long long>(10 * samplesOfTenth * callsOfSample));
    for (const Tenth &tenth : tenths)
        std::printf(" %.1f", tenth.microseconds);
    std::printf("; least %.1f -> %.1f, beside the reference %.2f -> %.2f; handles %lu -> %lu; blocks %lld -> %lld; "
                "memory %llu -> %llu KiB\n",
                first.least, last.least, first.ratio, last.ratio, first.figures.handles, last.figures.handles,
                static_cast<long long>(first.blocks), static_cast<long long>(last.blocks),
                static_cast<unsigned long long>(first.figures.bytes / 1024),
                static_cast<unsigned long long>(last.figures.bytes / 1024));
    // What really grows with the number of calls shows in both figures; what else the machine does seldom.
    require(std::min(growth(tenths, &Tenth::ratio), growth(tenths, &Tenth::least)) < mostSlower,
            "a call has become slower");
    require(last.figures.handles <= first.figures.handles + mostHandles, "handles have become more");
    requireEqual(last.blocks, first.blocks, "blocks of the library's that are left over");
    require(last.figures.bytes <= first.figures.bytes + mostGrowth, "memory has become more");
}

// ------------------------------------------------------------------------------------------------------------- runs

constexpr uint16_t handle = 0x6001;

void printOnce(uint16_t to) {
    char data[256] = {};
    uint32_t size = sizeof data;
    requireEqual(KalOpen(0, to, 0), KAL_OKAY, "KalOpen");
    requireEqual(KalStartDoc(to, 0, "document"), KAL_OKAY, "KalStartDoc");
    requireEqual(KalWrite(0, to, 0, data, &size), KAL_OKAY, "KalWrite");
    requireEqual(KalEndDoc(to, 0), KAL_OKAY, "KalEndDoc");
    requireEqual(KalClose(0, to), KAL_OKAY, "KalClose");
}

void requireIdle() {
    require(GetModuleHandleA("comc.dll") == nullptr, "comc.dll is loaded and nothing needs it");
}

void runCycles(uint64_t count) {
    const uint64_t loads = CountingService::loads;
    inTenths("cycles", count, 5, [] {
        KalRegisterApp(0);
        printOnce(handle);
        KalUnregisterApp(0);
        requireIdle();
    });
    const uint64_t cycles = CountingService::count(EntryPoint::OrxOpenPrinter);
    requireEqual(CountingService::loads - loads, cycles, "loads of comc.dll");
    requireEqual(CountingService::count(EntryPoint::OrxUninitialize), cycles, "ends of comc.dll");
    requireEqual(CountingService::count(EntryPoint::OrxClosePrinter), cycles, "closes");
}

void runWrites(uint64_t count, bool logs) {
    KalRegisterApp(0);
    requireEqual(KalOpen(0, handle, 0), KAL_OKAY, "KalOpen");
    requireEqual(KalStartDoc(handle, 0, nullptr), KAL_OKAY, "KalStartDoc");
    std::vector<char> data(4096);
    inTenths(logs ? "writes, logged" : "writes", count, 100, [&] {
        auto size = static_cast<uint32_t>(data.size());
        requireEqual(KalWrite(0, handle, 0, data.data(), &size), KAL_OKAY, "KalWrite");
    });
    requireEqual<uint64_t>(CountingService::bytes, CountingService::count(EntryPoint::OrxWritePrinter) * data.size(),
                           "bytes at the service");
    requireEqual(KalEndDoc(handle, 0), KAL_OKAY, "KalEndDoc");
    requireEqual(KalClose(0, handle), KAL_OKAY, "KalClose");
    KalUnregisterApp(0);
    requireIdle();
}

/// A handle has 16 bits, so there are no more than these; each may be open any number of times.
void runHandles(uint32_t all) {
    KalRegisterApp(0);
    const ProcessFigures before = ProcessFigures::now();
    for (uint32_t each = 0; each < all; ++each)
        requireEqual(KalOpen(0, static_cast<uint16_t>(each), 0), KAL_OKAY, "KalOpen");
    const ProcessFigures open = ProcessFigures::now();
    requireEqual<uint64_t>(CountingService::loads, 1, "loads of comc.dll");
    requireEqual<uint64_t>(CountingService::count(EntryPoint::OrxGetClientId), 1, "identifiers asked for");
    for (uint32_t each = 0; each < all; ++each)
        requireEqual(CountingService::opens[each].load(), 1u, "opens of handle " + std::to_string(each));

    // With all of them open the next open is the second of a handle: counted, and it needs a close of its own.
    requireEqual(KalOpen(0, 0, 0), KAL_OKAY, "the second KalOpen");
    for (uint32_t each = 0; each < all; each += 257) {
        char byte = 0;
        uint32_t size = 1;
        requireEqual(KalWrite(0, static_cast<uint16_t>(each), 0, &byte, &size), KAL_OKAY, "KalWrite");
    }
    for (uint32_t each = 0; each < all; ++each) { // scattered, so that the table is not emptied from one end
        const auto scattered = static_cast<uint16_t>(each * 40503u % all);
        require(GetModuleHandleA("comc.dll") != nullptr, "comc.dll is needed and not loaded");
        requireEqual(KalClose(0, scattered), KAL_OKAY, "KalClose");
        requireEqual(KalClose(0, scattered), scattered == 0 ? KAL_OKAY : DEVERR_INVHANDLE, "KalClose again");
    }
    requireEqual(KalClose(0, 0), DEVERR_INVHANDLE, "KalClose of the last");
    requireIdle();
    const ProcessFigures after = ProcessFigures::now();
    std::printf("handles: %u open at once; handles of the process %lu -> %lu -> %lu; memory %llu -> %llu -> %llu KiB\n",
                all, before.handles, open.handles, after.handles, static_cast<unsigned long long>(before.bytes / 1024),
                static_cast<unsigned long long>(open.bytes / 1024),
                static_cast<unsigned long long>(after.bytes / 1024));
    require(open.handles <= before.handles + mostHandles, "an open handle costs one of the system");
    require(after.handles <= before.handles + mostHandles, "handles are left over");
    KalUnregisterApp(0);
}

void runThreads(uint64_t count, int printsOfThread) {
    KalRegisterApp(0);
    printOnce(1);
    const ProcessFigures before = ProcessFigures::now();
    std::atomic<bool> go = false;
    std::atomic<uint64_t> failures = 0;
    std::vector<std::thread> threads;
    for (uint64_t number = 0; number < count; ++number)
        threads.emplace_back([&, number] {
            while (!go)
                Sleep(1);
            try {
                for (int each = 0; each < printsOfThread; ++each)
                    printOnce(static_cast<uint16_t>(0x100 + number));
            } catch (const std::exception &) {
                ++failures;
            }
        });
    go = true;
    for (std::thread &thread : threads)
        thread.join();
    requireEqual<uint64_t>(failures, 0, "threads that failed");
    requireIdle();
    requireEqual<uint64_t>(CountingService::bytes, (count * static_cast<uint64_t>(printsOfThread) + 1) * 256,
                           "bytes at the service");
    requireEqual(CountingService::count(EntryPoint::OrxInitialize), CountingService::count(EntryPoint::OrxUninitialize),
                 "begins and ends of comc.dll");
    KalUnregisterApp(0);
    const ProcessFigures after = ProcessFigures::now();
    std::printf("threads: %llu with %d prints each; handles of the process %lu -> %lu\n",
                static_cast<unsigned long long>(count), printsOfThread, before.handles, after.handles);
    require(after.handles <= before.handles + mostHandles, "handles are left over");
}

/// The byte counter has 32 bits and wraps without a word; only the trace tells it.
void runDocument(PrivateMachine &machine, uint64_t total) {
    constexpr size_t pieceSize = 1u << 20;
    std::vector<uint8_t> piece(pieceSize);
    for (size_t index = 0; index < piece.size(); ++index)
        piece[index] = static_cast<uint8_t>(index * 31 >> 3);
    CountingService::sumsEach = total <= (1u << 28) ? 1 : 61; // reading every byte again would be most of the time
    KalRegisterApp(0);
    requireEqual(KalOpen(0, handle, 0), KAL_OKAY, "KalOpen");
    requireEqual(KalStartDoc(handle, 0, "long"), KAL_OKAY, "KalStartDoc");
    uint64_t sum = 0;
    for (uint64_t sent = 0; sent < total;) {
        auto size = static_cast<uint32_t>(std::min<uint64_t>(pieceSize, total - sent));
        sum += CountingService::sumOf(piece.data(), size, sent);
        requireEqual(KalWrite(0, handle, 0, piece.data(), &size), KAL_OKAY, "KalWrite");
        sent += size;
    }
    requireEqual<uint64_t>(CountingService::bytes, total, "bytes at the service");
    requireEqual<uint64_t>(CountingService::checksum, sum, "checksum of the bytes");
    KalUnregisterApp(0);

    // A logger of a new registration reads its settings at once; the counter goes on, it is the process's.
    machine.logEverything();
    KalRegisterApp(0);
    requireEqual(KalOpen(0, handle, 0), KAL_OKAY, "KalOpen");
    uint32_t size = 1000;
    requireEqual(KalWrite(0, handle, 0, piece.data(), &size), KAL_OKAY, "KalWrite");
    requireEqual(KalStartDoc(handle, 0, "short"), KAL_OKAY, "KalStartDoc");
    size = 10;
    requireEqual(KalWrite(0, handle, 0, piece.data(), &size), KAL_OKAY, "KalWrite");
    KalUnregisterApp(0);
    const auto texts = machine.logTexts();
    const std::string begin = "+KalWrite() handle=" + std::to_string(handle);
    const std::string expected[] = {
        begin + " byteCount=1000 totalByteCount=" + std::to_string(static_cast<uint32_t>(total + 1000)),
        begin + " byteCount=10 totalByteCount=10"};
    for (const std::string &line : expected)
        require(std::ranges::find(texts, line) != texts.end(), "the log lacks: " + line);
    std::printf("document: %llu bytes in pieces; traced total after 1000 more: %u\n",
                static_cast<unsigned long long>(total), static_cast<uint32_t>(total + 1000));
}

} // namespace

int main(int argumentCount, char **arguments) {
    uint64_t count = 1000;
    uint64_t bytes = 1u << 24;
    int prints = 20;
    bool logs = false;
    CLI::App application("Many calls, handles, threads and bytes through kalclient.dll");
    application.require_subcommand(1);
    auto *const cycles = application.add_subcommand("cycles", "register, open, print, close, unregister");
    auto *const writes = application.add_subcommand("writes", "of one open handle");
    auto *const handles = application.add_subcommand("handles", "all 65536 open at once");
    auto *const threads = application.add_subcommand("threads", "that print on handles of their own");
    auto *const document = application.add_subcommand("document", "written in pieces");
    uint32_t openAtOnce = 65536;
    handles->add_option("--count", openAtOnce, "how many, a power of two")->check(CLI::Range(1u, 65536u));
    for (auto *const each : {cycles, writes, threads})
        each->add_option("--count", count, "how many")->check(CLI::PositiveNumber);
    writes->add_flag("--log", logs, "with everything logged");
    threads->add_option("--prints", prints, "of each thread")->check(CLI::PositiveNumber);
    document->add_option("--bytes", bytes, "of the document")->check(CLI::PositiveNumber);
    CLI11_PARSE(application, argumentCount, arguments);

    PrivateMachine machine;
    if (logs)
        machine.logEverything();
    const CountingService service;
    try {
        if (*cycles)
            runCycles(count);
        else if (*writes)
            runWrites(count, logs);
        else if (*handles)
            runHandles(openAtOnce);
        else if (*threads)
            runThreads(count, prints);
        else
            runDocument(machine, bytes);
    } catch (const std::exception &exception) {
        std::printf("FAILED: %s\n", exception.what());
        return 1;
    }
    return 0;
}
