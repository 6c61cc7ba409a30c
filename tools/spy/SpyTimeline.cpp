#include "tools/spy/SpyTimeline.h"

#include <algorithm>

namespace tool {

using recording::EventKind;
using recording::RecordEvent;

void SpyTimeline::add(const RecordEvent &event, const recording::RecordingHeader &header) {
    process_ = header.process;
    document_.introduce(process_, header.program);
    if (event.kind != EventKind::bytes) {
        lastTime_ = std::max(lastTime_, event.time);
    }
    switch (event.kind) {
    case EventKind::call:
    case EventKind::callback:
        open_[event.number] = event;
        break;
    case EventKind::callReturn:
    case EventKind::callbackReturn:
        if (const auto begin = open_.extract(event.number)) {
            writeSpan(begin.mapped(), &event);
        }
        break;
    case EventKind::load:
    case EventKind::unload:
        document_.write({{"name", event.kind == EventKind::load ? "comc.dll loaded" : "comc.dll unloading"},
                         {"cat", "comc.dll"},
                         {"ph", "i"},
                         {"s", "t"},
                         {"ts", event.time},
                         {"pid", process_},
                         {"tid", event.thread}});
        break;
    case EventKind::bytes:
        break;
    }
}

void SpyTimeline::finish() {
    for (const auto &[number, begin] : open_) {
        writeSpan(begin, nullptr);
    }
    document_.finish();
}

void SpyTimeline::writeSpan(const RecordEvent &begin, const RecordEvent *end) {
    const bool isCall = begin.kind == EventKind::call;
    auto arguments = begin.values;
    bool isFailure = end == nullptr;
    if (end == nullptr) {
        ++unfinishedCount_;
        arguments["unfinished"] = true;
    } else if (end->raised) {
        isFailure = true;
        arguments["raised"] = true;
    } else {
        isFailure = isCall && end->result != 0; // the result of a callback has no general meaning
        arguments["result"] = end->result;
        if (isCall) {
            arguments["outputs"] = end->values;
        }
    }
    callCount_ += isCall ? 1 : 0;
    const auto duration = (end == nullptr ? lastTime_ : end->time) - begin.time;
    recording::Json event{{"name", isCall ? begin.entryPoint : begin.callbackKind + " callback"},
                          {"cat", isCall ? "call" : "callback"},
                          {"ph", "X"},
                          {"ts", begin.time},
                          {"dur", std::max<int64_t>(duration, 0)}, // may be negative in a damaged recording
                          {"pid", process_},
                          {"tid", begin.thread},
                          {"args", std::move(arguments)}};
    if (isFailure) {
        event["cname"] = failureColour;
    }
    document_.write(event);
}

} // namespace tool
