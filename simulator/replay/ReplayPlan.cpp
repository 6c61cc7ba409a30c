#include "simulator/replay/ReplayPlan.h"

#include <algorithm>
#include <iterator>

namespace simulator {

namespace {

/// Ignores addresses and callbacks, which differ between runs.
std::string keyOf(const std::string &entryPoint, const recording::Json &arguments) {
    auto comparable = arguments;
    for (auto &value : comparable) {
        for (const char *name : {"address", "callback"}) {
            if (value.is_object() && value.contains(name)) {
                value = {{name, "any"}};
            }
        }
    }
    return entryPoint + comparable.dump(-1, ' ', false, recording::Json::error_handler_t::replace);
}

/// When a call began or returned.
struct Moment {
    size_t place;
    int64_t time;
    const recording::RecordedCall *call;
    bool isReturn;
};

/// In the order of the recording.
std::vector<Moment> momentsOf(const std::vector<recording::RecordedCall> &calls) {
    std::vector<Moment> moments;
    moments.reserve(2 * calls.size());
    for (const auto &call : calls) {
        moments.push_back({call.beginPlace, call.begin.time, &call, false});
        if (call.end) {
            moments.push_back({call.endPlace, call.end->time, &call, true});
        }
    }
    std::ranges::sort(moments, {}, &Moment::place);
    return moments;
}

} // namespace

ReplayPlan::ReplayPlan(recording::Recording recording) : recording_(std::move(recording)) {
    for (const auto &call : recording_.calls) {
        calls_[keyOf(call.begin.entryPoint, call.begin.values)].push_back(&call);
    }
    const auto moments = momentsOf(recording_.calls);
    auto next = moments.begin(); // the first moment after the callback; callbacks are in order as well
    for (const auto &callback : recording_.callbacks) {
        if (callback.begin.within) {
            within_.emplace(*callback.begin.within, &callback);
            continue;
        }
        next = std::find_if(next, moments.end(), [&](const Moment &each) { return each.place > callback.beginPlace; });
        ReplayedCallback replayed;
        replayed.callback = &callback;
        if (next != moments.begin()) {
            const Moment &latest = *std::prev(next);
            replayed.anchor = latest.call;
            replayed.isAfterReturn = latest.isReturn;
            replayed.delay = callback.begin.time - latest.time;
        }
        byThemselves_.push_back(replayed);
    }
}

bool ReplayPlan::isMissing(const std::string &entryPoint) const {
    if (recording_.loads.empty()) {
        return false;
    }
    const auto &missing = recording_.loads.front().values;
    return std::find(missing.begin(), missing.end(), entryPoint) != missing.end();
}

const recording::RecordedCall *ReplayPlan::take(const std::string &entryPoint, const recording::Json &arguments) {
    const auto found = calls_.find(keyOf(entryPoint, arguments));
    if (found == calls_.end() || found->second.empty()) {
        return nullptr;
    }
    const auto *const call = found->second.front();
    found->second.pop_front();
    return call;
}

bool ReplayPlan::knows(const std::string &entryPoint, const recording::Json &arguments) const {
    return calls_.contains(keyOf(entryPoint, arguments));
}

std::vector<const recording::RecordedCallback *>
ReplayPlan::callbacksWithin(const recording::RecordedCall &call) const {
    std::vector<const recording::RecordedCallback *> found;
    const auto [first, last] = within_.equal_range(call.begin.number);
    std::transform(first, last, std::back_inserter(found), [](const auto &each) { return each.second; });
    return found;
}

} // namespace simulator
