// `kal print` against a program that calls the simulator directly: the time of whole processes, in turn, and the memory
// that kal.exe takes for a large document and for a small one. The documents lie in KAL_BENCH_DOCUMENTS, or here.

#include "bench/Program.h"
#include "bench/Timing.h"

#include <windows.h>

#include <psapi.h> // needs windows.h before it

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr uint64_t mebibyte = 1024 * 1024;
constexpr int rounds = 9;

struct Run {
    double seconds;
    uint64_t peakBytes; ///< committed memory of its own, at most
};

/// Runs a program to its end, which must be a good one.
Run run(const std::string &program) {
    std::string commandLine = program; // the system may write into it
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    PROCESS_INFORMATION process = {};
    const uint64_t begin = bench::ticks();
    if (CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process) ==
        0) {
        throw std::runtime_error("cannot start " + commandLine);
    }
    PROCESS_MEMORY_COUNTERS memory = {};
    uint64_t peak = 0;
    // Windows tells the peak of an ended process; Wine tells only of one that runs, and of what it has at the moment.
    bool isOver = false;
    while (!isOver) {
        isOver = WaitForSingleObject(process.hProcess, 20) != WAIT_TIMEOUT;
        if (GetProcessMemoryInfo(process.hProcess, &memory, sizeof memory) != 0) {
            peak = std::max<uint64_t>(peak, memory.PeakPagefileUsage);
        }
    }
    const double seconds = bench::microsecondsOf(bench::ticks() - begin) / 1e6;
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (code != 0) {
        throw std::runtime_error(commandLine + " ended with " + std::to_string(code));
    }
    return {seconds, peak};
}

void makeDocument(const std::filesystem::path &path, uint64_t size) {
    std::vector<char> piece(mebibyte);
    for (size_t each = 0; each < piece.size(); ++each) {
        piece[each] = static_cast<char>(each * 131 >> 3);
    }
    std::ofstream file(path, std::ios::binary);
    for (uint64_t written = 0; written < size; written += piece.size()) {
        file.write(piece.data(), static_cast<std::streamsize>(piece.size()));
    }
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

/// The spooled documents, which must have arrived whole, are removed: the disk need not hold them all.
void takeAway(const std::filesystem::path &spool, uint64_t size) {
    int documents = 0;
    for (const auto &entry : std::filesystem::directory_iterator(spool)) {
        if (entry.path().extension() == ".prn") {
            ++documents;
            if (entry.file_size() != size) {
                throw std::runtime_error("a document arrived with another size");
            }
        }
    }
    if (documents != 1) {
        throw std::runtime_error("not just one document arrived");
    }
    std::filesystem::remove_all(spool);
}

nlohmann::json measure(uint64_t size, const std::filesystem::path &folder) {
    const auto document = folder / "document.bin";
    const auto spool = folder / "spool";
    SetEnvironmentVariableA("KAL_SIMULATOR_SPOOL", spool.string().c_str());
    makeDocument(document, size);
    const std::string kal = "kal.exe print --quiet --printer 3 \"" + document.string() + "\"";
    const std::string direct = "direct_print.exe \"" + document.string() + "\"";
    std::vector<double> subjects;
    std::vector<double> floors;
    std::vector<double> ratios;
    uint64_t peak = 0;
    uint64_t floorPeak = 0;
    for (int round = 0; round < rounds; ++round) {
        double seconds[2] = {}; // baseline, subject
        for (const bool isSubject : {round % 2 == 0, round % 2 != 0}) {
            const Run measured = run(isSubject ? kal : direct);
            takeAway(spool, size);
            (isSubject ? subjects : floors).push_back(measured.seconds);
            seconds[isSubject ? 1 : 0] = measured.seconds;
            uint64_t &most = isSubject ? peak : floorPeak;
            most = std::max(most, measured.peakBytes);
        }
        ratios.push_back(seconds[0] / seconds[1]);
    }
    std::filesystem::remove(document);
    // The quickest of each: whatever else the machine does, handing out memory for the spool above all, only adds.
    const double subject = *std::ranges::min_element(subjects);
    const double floor = *std::ranges::min_element(floors);
    return {{"bytes", size},
            {"kalSeconds", subject},
            {"directSeconds", floor},
            {"rateRatio", floor / subject},
            {"lowerQuartile", bench::quantile(ratios, 0.25)},
            {"upperQuartile", bench::quantile(ratios, 0.75)},
            {"kalPeakBytes", peak},
            {"directPeakBytes", floorPeak}};
}

nlohmann::json measureAll() {
    const char *const room = std::getenv("KAL_BENCH_DOCUMENTS");
    const auto folder =
        (room != nullptr ? std::filesystem::path(room) : std::filesystem::current_path()) / "print_rate";
    std::filesystem::create_directory(folder);
    nlohmann::json result = nlohmann::json::array();
    for (const uint64_t size : {64 * mebibyte, 1024 * mebibyte}) {
        result.push_back(measure(size, folder));
        std::printf("%s\n", result.back().dump().c_str());
        std::fflush(stdout);
    }
    std::filesystem::remove_all(folder);
    return result;
}

} // namespace

int main(int argumentCount, char **arguments) {
    return bench::runProgram(argumentCount, arguments, measureAll);
}
