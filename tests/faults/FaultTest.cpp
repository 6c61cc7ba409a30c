// Every import of the shipped library fails in turn, in every scenario of its exports, once and for good.

#include "tests/faults/FaultBench.h"
#include "tests/faults/Watchdog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <set>

namespace kal::test {

namespace {

enum class Mode { once, forGood, outOfMemory, outOfMemoryForGood };

const char *nameOf(Mode mode) {
    switch (mode) {
    case Mode::once:
        return "failing imports: once";
    case Mode::forGood:
        return "failing imports: for good";
    case Mode::outOfMemory:
        return "out of memory: once";
    default:
        return "out of memory: for good";
    }
}

/// Whether everything is tried. Otherwise scenarios that differ by names only are left out, and only the first fault of
/// each import is followed by another run.
bool isThorough() {
    static const bool all = GetEnvironmentVariableA("KAL_FAULTS_ALL", nullptr, 0) != 0;
    return all;
}

/// What was tried, for the line at the end.
struct Tally {
    int tried = 0;
    int failed = 0;
};
std::map<Mode, Tally> tallies;

std::string joined(const std::vector<std::string> &texts) {
    std::string all;
    for (const std::string &text : texts)
        all += "\n      " + text;
    return all;
}

std::string describe(const Sight &sight) {
    return "    outcome: " + sight.outcome + "\n    service:" + joined(sight.service) +
           "\n    log:" + joined(sight.log);
}

/// Whether a line is one of the unhindered run, with or without the call's description.
bool isLessOf(const std::string &line, const std::string &whole) {
    if (line == whole)
        return true;
    if (whole.empty() || line.empty() || line[0] != whole[0] || (whole[0] != '+' && whole[0] != '-'))
        return false;
    const size_t result = whole.find(" rc=");
    return line.substr(1) == (result == std::string::npos || whole[0] == '+' ? "" : whole.substr(result)) ||
           line == whole.substr(0, result);
}

/// What the service has done that an application would have to know of, less what was undone; empty when nothing.
std::string changeIn(const std::vector<std::string> &service) {
    static const std::map<std::string, std::string> undoes = {
        {"OrxClosePrinter", "OrxOpenPrinter"},
        {"OrxUnregisterForAlertsPrinter", "OrxRegisterForAlertsPrinter"},
        {"OrxUnregisterForNotificationsPrinter", "OrxRegisterForNotificationsPrinter"}};
    std::multiset<std::string> done;
    for (const std::string &entryPoint : service) {
        const auto undone = undoes.find(entryPoint);
        const auto opened = undone == undoes.end() ? done.end() : done.find(undone->second);
        if (opened != done.end())
            done.erase(opened);
        else if (!entryPoint.starts_with("OrxGet") && entryPoint != "OrxEnumSpecificPrinter" &&
                 entryPoint != "OrxInitialize" && entryPoint != "OrxUninitialize")
            done.insert(entryPoint);
    }
    return done.empty() ? "" : *done.begin();
}

/// Whether a log is that of the unhindered run, lacking lines or descriptions.
bool isThinned(const std::vector<std::string> &log, const std::vector<std::string> &whole) {
    auto next = whole.begin();
    for (const std::string &line : log) {
        next = std::find_if(next, whole.end(), [&](const std::string &each) { return isLessOf(line, each); });
        if (next == whole.end())
            return false;
        ++next;
    }
    return true;
}

bool isMovedToRoot(const std::vector<std::string> &log, const std::vector<std::string> &whole) {
    return std::ranges::equal(log, whole, [](const std::string &line, const std::string &other) {
        return line == "in the drive's root: " + other;
    });
}

/// One for all tests: loading and setting up takes longer than most of them.
std::unique_ptr<FaultBench> bench;

FaultBench &sharedBench() {
    if (!bench)
        bench = std::make_unique<FaultBench>();
    return *bench;
}

/// One scenario with the log in one state.
class Scenario : public testing::TestWithParam<std::tuple<size_t, LogState>> {
  protected:
    Scenario() : bench_(sharedBench()), index_(std::get<0>(GetParam())) { bench_.enter(std::get<1>(GetParam())); }
    ~Scenario() override { tryingNothing(); }

    ExportScenario &scenario() { return bench_.scenarios()[index_]; }

    void label(const Fault &fault) const {
        nowTrying(bench_.brandCode + std::string(" ") + name_ + ": " + fault.import + " fails at call " +
                  std::to_string(fault.nth) + (fault.forGood ? " for good" : " once"));
    }

    /// Runs that fill the tables that last as long as the library.
    void warmUp() {
        label({});
        bench_.run(scenario(), {});
        bench_.run(scenario(), {});
        before_ = bench_.watch().holdings();
    }

    void learn() {
        name_ = scenario().name;
        warmUp();
        whole_ = bench_.run(scenario(), {});
        calls_ = bench_.watch().calls();
        tidied_ = bench_.tidied();
        ASSERT_EQ(bench_.watch().holdings().text(), before_.text()) << "an unhindered run leaves something over";
    }

    /// Fails the nth call of the import, n rising until the scenario runs clean.
    void sweep(const std::string &import, Mode mode) {
        for (int nth = 1;; ++nth) {
            const Fault fault = {import, nth, mode == Mode::forGood || mode == Mode::outOfMemoryForGood};
            label(fault);
            const Sight sight = bench_.run(scenario(), fault);
            if (!bench_.watch().hasFailed())
                break;
            std::string complaint = examine(fault, sight);
            complaint += examineAfter(isThorough() || nth == 1);
            Tally &tally = tallies[mode];
            ++tally.tried;
            if (!complaint.empty()) {
                ++tally.failed;
                ADD_FAILURE() << import << " (" << whatFailed(fault) << ") fails at call " << nth
                              << (fault.forGood ? " and from then on\n" : " once\n") << complaint << "  seen:\n"
                              << describe(sight) << "\n  unhindered:\n"
                              << describe(whole_);
            }
            if (!complaint.empty() || isLogBroken_)
                renew();
        }
    }

    void sweepEach(Mode mode) {
        for (const ImportRow &row : importTable())
            if (row.use == ImportUse::fails || row.use == ImportUse::letsGo)
                sweep(row.name, mode);
        EXPECT_THAT(bench_.watch().unexpected(), testing::IsEmpty());
    }

    FaultBench &bench_;

  private:
    /// In the unhindered run; in the latest one for an import that needs another failure to be called.
    std::vector<ImportWatch::Call> callsOf(const std::string &import) const {
        const auto calls = failsBehind(import).empty() ? calls_ : bench_.watch().calls();
        std::vector<ImportWatch::Call> found;
        std::ranges::copy_if(calls, std::back_inserter(found), [&](const auto &call) { return call.import == import; });
        return found;
    }

    std::string whatFailed(const Fault &fault) const {
        const auto calls = callsOf(fault.import);
        const auto index = static_cast<size_t>(fault.nth) - 1;
        return index < calls.size() ? calls[index].what : "a call that the unhindered run does not make";
    }

    /// What is wrong with a run; empty when it is as promised.
    std::string examine(const Fault &fault, const Sight &sight) {
        isLogBroken_ = false;
        return fault.import == Fault::memory ? examineMemory(sight) : examinePromise(fault, sight);
    }

    std::string examinePromise(const Fault &fault, const Sight &sight) {
        const auto calls = callsOf(fault.import);
        auto last = static_cast<size_t>(fault.forGood ? calls.size() : static_cast<size_t>(fault.nth));
        // From then on: the first call whose failure changes the outcome decides it; others before and behind it show
        // in the log only.
        bool isLogLess = false;
        bool isAskedLess = false;
        for (size_t index = static_cast<size_t>(fault.nth) - 1; index < std::min(last, calls.size()); ++index) {
            Promise *const promise = promiseOf(calls[index], scenario());
            if (promise == nullptr)
                return "  nothing is promised for " + fault.import + " (" + calls[index].what + ")\n";
            promise->isUsed = true;
            switch (promise->consequence) {
            case Consequence::nothing:
                break;
            case Consequence::lineLost:
                if (!fault.forGood)
                    return check(sight.log.size() + 1 == whole_.log.size() && isThinned(sight.log, whole_.log),
                                 "the log should lack one line") +
                           checkSame(sight);
                isLogLess = true;
                break;
            case Consequence::lessLogged:
                isLogLess = true;
                break;
            case Consequence::nothingLogged:
                isLogBroken_ = true;
                return check(sight.log.empty(), "nothing should be logged") + checkSame(sight);
            case Consequence::loggedElsewhere:
                return check(isMovedToRoot(sight.log, whole_.log), "the log should be in the drive's root") +
                       checkSame(sight);
            case Consequence::unsaid:
                isAskedLess = true;
                break;
            case Consequence::answers:
                return check(sight.outcome == promise->text, "the outcome should be " + promise->text);
            case Consequence::workerLost:
                ++before_.counts["block of memory"];
                return check(sight.outcome == promise->text, "the outcome should be " + promise->text) +
                       check(fault.forGood || saysException(fault, sight), "the log should tell of the exception");
            case Consequence::raises:
                return check(sight.outcome == "raises " + promise->text, "it should raise " + promise->text);
            }
        }
        if (isAskedLess)
            return check(sight.outcome == whole_.outcome, "the outcome should be as without the failure");
        return check(isLogLess ? isThinned(sight.log, whole_.log) : sight.log == whole_.log,
                     isLogLess ? "the log should be thinner only" : "the log should be as without the failure") +
               checkSame(sight);
    }

    /// Whether the log tells of the failure's code, unless there is no log.
    bool saysException(const Fault &fault, const Sight &sight) {
        const auto row = std::ranges::find(importTable(), fault.import, &ImportRow::name);
        const std::string line = scenario().exports.back() + "() exception=" + std::to_string(row->lastError);
        return whole_.log.empty() || std::ranges::find(sight.log, line) != sight.log.end();
    }

    /// A bad_alloc may leave the export, if nothing has changed: the same call then works, and tidying finds as much to
    /// do as ever. Otherwise nothing but the log may show it.
    std::string examineMemory(const Sight &sight) {
        if (sight.outcome != "raises bad_alloc") {
            Promise *const promise = promiseOf({Fault::memory, ""}, scenario());
            if (promise != nullptr && sight.outcome == promise->text) {
                promise->isUsed = true;
                return check(isThinned(sight.log, whole_.log), "the log should be thinner only");
            }
            return checkSame(sight) + check(isThinned(sight.log, whole_.log), "the log should be thinner only");
        }
        if (const std::string change = changeIn(sight.service); !change.empty())
            return "  it raises an exception, though the service has done " + change + "\n";
        std::string expected = whole_.outcome;
        if (const size_t note = expected.find(" unregistered"); note != std::string::npos)
            expected.erase(note);
        return check(bench_.callAgain().outcome == expected,
                     "the call made again should give " + expected + ", not " + bench_.callAgain().outcome) +
               check(bench_.tidied() == tidied_, "the exception has left something behind: tidying is" +
                                                     joined(bench_.tidied()) + "\n  instead of" + joined(tidied_));
    }

    std::string checkSame(const Sight &sight) const {
        return check(sight.outcome == whole_.outcome, "the outcome should be as without the failure") +
               check(sight.service == whole_.service, "the service should be called as without the failure");
    }

    /// Behind each run: nothing is left over, and the next run is as if nothing had been.
    std::string examineAfter(bool runsAgain) {
        const Holdings after = bench_.watch().holdings();
        std::string complaint = check(after == before_, "left over: " + after.text() + " instead of " + before_.text());
        if (!runsAgain)
            return complaint;
        Sight expected = whole_;
        if (isLogBroken_)
            expected.log.clear();
        const Sight next = bench_.run(scenario(), {});
        complaint += check(next == expected, "the next run is not as before:\n" + describe(next) + "\n");
        return complaint;
    }

    static std::string check(bool isSo, const std::string &complaint) { return isSo ? "" : "  " + complaint + "\n"; }

    void renew() {
        bench_.renew();
        warmUp();
    }

    size_t index_;
    std::string name_;
    Holdings before_;
    Sight whole_;
    std::vector<ImportWatch::Call> calls_;
    std::vector<std::string> tidied_;
    bool isLogBroken_ = false;
};

TEST_P(Scenario, EachImportFailsOnce) {
    ASSERT_NO_FATAL_FAILURE(learn());
    sweepEach(Mode::once);
}

TEST_P(Scenario, EachImportFailsForGood) {
    ASSERT_NO_FATAL_FAILURE(learn());
    sweepEach(Mode::forGood);
}

TEST_P(Scenario, MemoryRunsOut) {
    ASSERT_NO_FATAL_FAILURE(learn());
    sweep(Fault::memory, Mode::outOfMemory);
    sweep(Fault::memory, Mode::outOfMemoryForGood);
}

/// The scenarios, for the tests' names.
const std::vector<ExportScenario> &knownScenarios() {
    static const StagedLibrary library;
    static const std::vector<ExportScenario> all = exportScenarios({library.module(), nullptr, {}, {}, ""});
    return all;
}

std::vector<size_t> scenarioIndices() {
    std::vector<size_t> all;
    for (size_t index = 0; index < knownScenarios().size(); ++index)
        if (isThorough() || !knownScenarios()[index].isLikeEarlierOne)
            all.push_back(index);
    return all;
}

std::string testName(const testing::TestParamInfo<Scenario::ParamType> &info) {
    std::string name = knownScenarios()[std::get<0>(info.param)].name;
    name += std::get<1>(info.param) == LogState::on ? " log on" : " key missing";
    for (char &character : name)
        if (std::isalnum(static_cast<unsigned char>(character)) == 0)
            character = '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Faults, Scenario,
                         testing::Combine(testing::ValuesIn(scenarioIndices()),
                                          testing::Values(LogState::on, LogState::keyMissing)),
                         testName);

/// A freshly loaded library, to which no alert came yet.
class LockOfAlerts : public testing::Test {
  protected:
    LockOfAlerts() {
        sharedBench().enter(LogState::keyMissing);
        sharedBench().renew();
    }
    ~LockOfAlerts() override { bench.reset(); }

    static std::string outcome(const std::string &scenario, const Fault &fault) {
        return sharedBench()
            .run(*std::ranges::find(sharedBench().scenarios(), scenario, &ExportScenario::name), fault)
            .outcome;
    }
};

TEST_F(LockOfAlerts, ThatCannotBeMadeRefusesTheAlertAndTheNextIsTaken) {
    EXPECT_EQ(outcome("alert to message", {"CreateMutexA", 1, false}), "1");
    EXPECT_EQ(outcome("alert to message", {}), "0");
}

/// Says at the end what was tried, and how often, and which rows of the tables were not: nothing to mind unless all
/// parts of a thorough run say so.
class Report : public testing::Environment {
  public:
    void TearDown() override {
        bench.reset();
        for (const Mode mode : {Mode::once, Mode::forGood, Mode::outOfMemory, Mode::outOfMemoryForGood})
            std::printf("tried %s: %d, failed: %d\n", nameOf(mode), tallies[mode].tried, tallies[mode].failed);
        if (!isThorough())
            return;
        for (const std::string &import : ImportWatch::neverFailed())
            std::printf("not tried: the import %s\n", import.c_str());
        for (const std::string &promise : unusedPromises())
            std::printf("not tried: the consequence %s\n", promise.c_str());
    }
};

[[maybe_unused]] const auto *const report = testing::AddGlobalTestEnvironment(new Report);

} // namespace

} // namespace kal::test
