// The ledger: for each export and each state of the log, every import that the library calls, lock acquisitions and
// allocations among them, against the list of those that its work requires. Exact, so it is a test. The floors, against
// which the exports are timed, are held to the same list.

#include "bench/BenchLibrary.h"
#include "bench/FloorWork.h"
#include "bench/ImportCounter.h"
#include "bench/LedgerScenarios.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <vector>

namespace {

using bench::BenchLibrary;
using bench::FloorWork;
using bench::ImportCounter;
using bench::LogState;
using bench::Scenario;
using nlohmann::json;

LRESULT CALLBACK ignoreMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return DefWindowProcA(window, message, wParam, lParam);
}

HWND makeMessageWindow() {
    WNDCLASSA type = {};
    type.lpfnWndProc = ignoreMessage;
    type.lpszClassName = "ledger";
    RegisterClassA(&type);
    return CreateWindowExA(0, "ledger", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}

/// The calls of a scenario in steady state: made once before, so that settings are cached and the thread is known, and
/// with the tick moved on, since a setting that was read in this very tick is read again.
ImportCounter::Counts measure(const Scenario &scenario, const ImportCounter &counter) {
    const auto run = [&] {
        scenario.before();
        Sleep(20);
        const auto start = counter.counts();
        scenario.call();
        const auto calls = counter.since(start);
        scenario.after();
        return calls;
    };
    run();
    return run();
}

/// Sums the fragments of a scenario for a state. A part may also be a whole other scenario.
ImportCounter::Counts requiredCalls(const json &required, const std::string &scenario, const std::string &state) {
    ImportCounter::Counts sum;
    for (const std::string part : required.at("scenarios").at(scenario)) {
        if (required.at("scenarios").contains(part)) {
            for (const auto &[function, count] : requiredCalls(required, part, state)) {
                sum[function] += count;
            }
            continue;
        }
        const json &definition = required.at("fragments").at(part);
        for (const char *when : {"always", state.c_str()}) {
            if (definition.contains(when)) {
                for (const auto &[function, count] : definition.at(when).items()) {
                    sum[function] += count.get<uint64_t>();
                }
            }
        }
    }
    return sum;
}

std::string describe(const ImportCounter::Counts &counts) {
    std::string text;
    for (const auto &[function, calls] : counts) {
        text += (text.empty() ? "" : " ") + function + "=" + std::to_string(calls);
    }
    return text;
}

uint64_t countOf(const ImportCounter::Counts &counts, const char *function) {
    const auto position = counts.find(function);
    return position == counts.end() ? 0 : position->second;
}

/// The export that a scenario's name begins with.
std::string exportOf(const std::string &scenario) {
    return scenario.substr(0, scenario.find(','));
}

/// What the table itself must keep to: every export stands in it, and no more is allocated than two records for a
/// worker thread and one string a line. Making and removing logger and binding is the first registration's and the
/// last's.
/// @return what it does not keep to, one line each
std::vector<std::string> offences(const json &required, const json &exports) {
    std::vector<std::string> found;
    std::set<std::string> present;
    for (const auto &[scenario, parts] : required.at("scenarios").items()) {
        const std::string exported = exportOf(scenario);
        present.insert(exported);
        if (!exports.contains(exported) || std::ranges::count(parts, "logger and binding made") != 0 ||
            std::ranges::count(parts, "KalRegisterApp, first") != 0) {
            continue;
        }
        const auto off = requiredCalls(required, scenario, "off");
        const auto on = requiredCalls(required, scenario, "on");
        if (countOf(off, "malloc") != 2 * countOf(off, "_beginthreadex")) {
            found.push_back(scenario + " allocates while nothing is logged");
        }
        if (countOf(on, "malloc") > countOf(off, "malloc") + countOf(on, "WriteFile")) {
            found.push_back(scenario + " allocates more than once a line");
        }
    }
    for (const auto &[exported, signature] : exports.items()) {
        if (!present.contains(exported)) {
            found.push_back(exported + " is not in the table");
        }
    }
    return found;
}

/// Numbers of counts that are equal to the required ones, and that differ from them.
struct Tally {
    int equal = 0;
    int different = 0;
};

void compare(Tally &tally, const char *state, const std::string &name, const ImportCounter::Counts &expected,
             const ImportCounter::Counts &calls) {
    const bool isEqual = calls == expected;
    (isEqual ? tally.equal : tally.different)++;
    std::printf("%-9s %-12s %s\n", isEqual ? "equal" : "DIFFERENT", state, name.c_str());
    if (!isEqual) {
        std::printf("          required: %s\n          made:     %s\n", describe(expected).c_str(),
                    describe(calls).c_str());
    }
    std::fflush(stdout);
}

/// The floors' scenarios have the names of the library's.
std::vector<Scenario> floorScenarios(FloorWork &floor, HWND window) {
    constexpr uint16_t handle = 3;
    static const char document[4096] = {};
    static const uint8_t request[] = {0xA5, 0, 3, 0x50, 4, 0};
    static const uint8_t alert[24] = {};
    const auto takeAlert = [&floor, window] { floor.alert(window, handle, alert, sizeof alert); };
    return {
        {"KalOpen, again", [&] { floor.open(handle); }},
        {"KalClose, not last", [&] { floor.close(handle); }},
        {"KalStartDoc", [&] { floor.startDoc(handle); }},
        {"KalEndDoc", [&] { floor.endDoc(handle); }},
        {"KalWrite", [&] { floor.write(handle, document, sizeof document); }},
        {"KalSendBidi", [&] { floor.sendBidi(handle, request, sizeof request); }},
        {"KalEnumPrinters, one printer", [&] { floor.enumPrinters(); }},
        {"KalSetClientName", [&] { floor.setClientName("name"); }},
        {"alert to message, its id come round again", takeAlert,
         [&floor, takeAlert] {
             floor.restartAlertIds();
             takeAlert();
             floor.restartAlertIds();
         }},
    };
}

/// The floors are this program's, so what counting itself calls is taken off.
void measureFloors(Tally &tally, const json &required, const std::set<std::string> &ignored,
                   const BenchLibrary &library, LogState state, HWND window) {
    FloorWork floor(library, state);
    const ImportCounter counter(GetModuleHandleA(nullptr));
    const auto own = measure({"", [] {}}, counter);
    for (const Scenario &scenario : floorScenarios(floor, window)) {
        ImportCounter::Counts calls = measure(scenario, counter);
        for (const auto &[function, count] : own) {
            calls[function] -= count;
        }
        std::erase_if(calls, [&](const auto &entry) { return entry.second == 0 || ignored.contains(entry.first); });
        compare(tally, bench::nameOf(state), "the floor of " + scenario.name,
                requiredCalls(required, scenario.name, bench::nameOf(state)), calls);
    }
}

int run(const char *requiredPath, const char *interfacePath) {
    std::ifstream requiredFile(requiredPath);
    const json required = json::parse(requiredFile);
    std::set<std::string> ignored;
    for (const auto &entry : required.at("ignored").items()) {
        ignored.insert(entry.key());
    }
    std::ifstream interfaceFile(interfacePath);
    const std::vector<std::string> tableOffences = offences(required, json::parse(interfaceFile).at("exports"));
    for (const std::string &offence : tableOffences) {
        std::printf("OFFENCE   %s\n", offence.c_str());
    }

    BenchLibrary library;
    const HWND window = makeMessageWindow();
    const ImportCounter counter(library.module());
    Tally tally;
    Tally floors;
    for (const LogState state : bench::logStates) {
        library.enter(state);
        for (const Scenario &scenario : ledgerScenarios(library, window)) {
            ImportCounter::Counts calls = measure(scenario, counter);
            std::erase_if(calls, [&](const auto &entry) { return ignored.contains(entry.first); });
            compare(tally, bench::nameOf(state), scenario.name,
                    requiredCalls(required, scenario.name, bench::nameOf(state)), calls);
        }
        measureFloors(floors, required, ignored, library, state, window);
    }
    const auto scenarioCount = static_cast<int>(required.at("scenarios").size());
    if (tally.equal + tally.different != scenarioCount * static_cast<int>(std::size(bench::logStates))) {
        std::printf("OFFENCE   the table has %d scenarios, some were not measured\n", scenarioCount);
        return 1;
    }
    std::printf("%d ledger entries equal, %d different, %d floors equal, %d different, %zu offences\n", tally.equal,
                tally.different, floors.equal, floors.different, tableOffences.size());
    return tally.different == 0 && floors.different == 0 && tableOffences.empty() ? 0 : 1;
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount != 3) {
        std::fprintf(stderr, "usage: ledger required.json kal.abi.json\n");
        return 2;
    }
    try {
        return run(arguments[1], arguments[2]);
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "ledger: %s\n", exception.what());
        return 1;
    }
}
