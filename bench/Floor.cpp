// Each export against its floor, both in one process. What counts is the median of the ratios.

#include "bench/BenchLibrary.h"
#include "bench/FloorWork.h"
#include "bench/Program.h"
#include "bench/Timing.h"

#include <cstdio>
#include <functional>
#include <vector>

namespace {

using bench::BenchLibrary;
using bench::Comparison;
using bench::FloorWork;
using bench::LogState;

constexpr uint16_t handle = 3;
constexpr double blockMicroseconds = 150'000;

struct Pair {
    std::string name;
    std::function<void()> subject;
    std::function<void()> floor;
};

void drainMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    }
}

HWND makeMessageWindow() {
    WNDCLASSA type = {};
    type.lpfnWndProc = DefWindowProcA;
    type.lpszClassName = "floor";
    RegisterClassA(&type);
    return CreateWindowExA(0, "floor", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}

std::vector<Pair> pairs(const BenchLibrary &library, FloorWork &floor, HWND window) {
    static const std::vector<char> document(65536, 'x');
    static const uint8_t request[] = {0xA5, 0, 3, 0x50, 4, 0};
    static const uint8_t alert[24] = {0xA5, 0, 21, 0, 0xF0, 0x73, 0, 0, 0, 0, 2};
    auto *const open = library.get<decltype(KalOpen)>("KalOpen");
    auto *const close = library.get<decltype(KalClose)>("KalClose");
    auto *const startDoc = library.get<decltype(KalStartDoc)>("KalStartDoc");
    auto *const endDoc = library.get<decltype(KalEndDoc)>("KalEndDoc");
    auto *const write = library.get<decltype(KalWrite)>("KalWrite");
    auto *const sendBidi = library.get<decltype(KalSendBidi)>("KalSendBidi");
    auto *const enumPrinters = library.get<decltype(KalEnumPrinters)>("KalEnumPrinters");
    auto *const setClientName = library.get<decltype(KalSetClientName)>("KalSetClientName");
    const auto writeOf = [=](uint32_t size) {
        return [=] {
            uint32_t count = size;
            write(0, handle, 0, document.data(), &count);
        };
    };
    return {
        {"KalWrite, 4 KiB", writeOf(4096), [&] { floor.write(handle, document.data(), 4096); }},
        {"KalWrite, 64 KiB", writeOf(65536), [&] { floor.write(handle, document.data(), 65536); }},
        {"KalStartDoc and KalEndDoc",
         [=] {
             startDoc(handle, 0, "document");
             endDoc(handle, 0);
         },
         [&] {
             floor.startDoc(handle);
             floor.endDoc(handle);
         }},
        {"KalOpen and KalClose",
         [=] {
             open(0, handle, 0);
             close(0, handle);
         },
         [&] {
             floor.open(handle);
             floor.close(handle);
         }},
        {"KalSendBidi",
         [=] {
             uint8_t response[64];
             uint32_t size = sizeof response;
             sendBidi(0, handle, 0, 1, response, &size, nullptr, 0);
         },
         [&] { floor.sendBidi(handle, request, sizeof request); }},
        {"KalEnumPrinters, 1,000 printers", [=] { enumPrinters(0, NETTYPEUSB, nullptr); },
         [&] { floor.enumPrinters(); }},
        {"alert to PostMessageA", [callback = BenchLibrary::alertCallback()] { callback(handle, alert, sizeof alert); },
         [&, window] { floor.alert(window, handle, alert, sizeof alert); }},
        // The export that does least but write a line.
        {"a log line (KalSetClientName)", [=] { setClientName("name"); }, [&] { floor.setClientName("name"); }},
    };
}

nlohmann::json measureAll() {
    BenchLibrary library;
    const HWND window = makeMessageWindow();
    auto *const restartAlertIds = library.get<decltype(Initialize)>("Initialize");
    auto results = nlohmann::json::array();
    std::printf("%-12s %-32s %12s %12s %7s %15s\n", "log", "what", "floor us", "library us", "ratio", "quartiles");
    for (const LogState state : bench::logStates) {
        library.enter(state);
        library.get<decltype(KalOpen)>("KalOpen")(0, handle, 0);
        BenchLibrary::setPrinterCount(1000);
        const uint32_t mask = 1;
        library.get<decltype(KalCaptureAlerts)>("KalCaptureAlerts")(0, handle, &mask, window);
        FloorWork floor(library, state);
        const auto betweenBlocks = [&] {
            drainMessages();
            // Both replace the alerts of the previous block.
            restartAlertIds();
            floor.restartAlertIds();
            DeleteFileA(library.logPath().c_str()); // both append to a small file
        };
        for (const Pair &pair : pairs(library, floor, window)) {
            const Comparison measured = bench::compare(pair.subject, pair.floor, betweenBlocks, blockMicroseconds);
            std::printf("%-12s %-32s %12.2f %12.2f %7.3f %7.3f-%.3f\n", bench::nameOf(state), pair.name.c_str(),
                        measured.floor, measured.subject, measured.ratio, measured.low, measured.high);
            std::fflush(stdout);
            results.push_back({{"state", bench::nameOf(state)},
                               {"what", pair.name},
                               {"floorMicroseconds", measured.floor},
                               {"libraryMicroseconds", measured.subject},
                               {"ratio", measured.ratio},
                               {"lowerQuartile", measured.low},
                               {"upperQuartile", measured.high},
                               {"calls", measured.calls}});
        }
        library.get<decltype(KalReleaseAlerts)>("KalReleaseAlerts")(0, handle);
        library.get<decltype(KalClose)>("KalClose")(0, handle);
    }
    return results;
}

} // namespace

int main(int argumentCount, char **arguments) {
    return bench::runProgram(argumentCount, arguments, measureAll);
}
