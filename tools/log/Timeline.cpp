#include "tools/log/Timeline.h"

#include "tools/text/NumberText.h"

#include <algorithm>
#include <vector>

namespace tool {

namespace {

/// What a call's event says of it. A name that comes twice has its last value in its first place.
class Members {
  public:
    explicit Members(std::string_view description) {
        members_.push_back({"call", description, false});
        for (const CallArgument &argument : callArguments(description)) {
            set(argument.name, argument.value, false);
        }
    }

    /// @param isLiteral  whether the value is a number, or true or false
    void set(std::string_view name, std::string_view value, bool isLiteral) {
        const auto found = std::ranges::find(members_, name, &Member::name);
        if (found == members_.end()) {
            members_.push_back({name, value, isLiteral});
        } else {
            *found = {name, value, isLiteral};
        }
    }

    void write(JsonLine &event) const {
        for (const Member &member : members_) {
            if (member.isLiteral) {
                event.addLiteral(member.name, member.value);
            } else {
                event.add(member.name, member.value);
            }
        }
    }

  private:
    struct Member {
        std::string_view name;
        std::string_view value;
        bool isLiteral;
    };
    std::vector<Member> members_;
};

} // namespace

Timeline::Timeline(Sink sink)
    : document_(std::move(sink),
                "The log has milliseconds; lines of one millisecond are placed one microsecond apart, in order.") {}

void Timeline::add(std::string_view rawLine) {
    const auto line = parseLogLine(rawLine);
    if (!line) {
        return;
    }
    ++lineCount_;
    const int64_t time = placeOf(*line);
    const Thread thread{line->processId.value_or(0), line->threadId.value_or(0)};
    introduce(thread);
    switch (callEvent(line->text)) {
    case CallEvent::entry:
        if (openCount_ >= mostOpenCalls) {
            writeUnfinished();
        }
        open_[thread].push_back({std::string(line->text.substr(1)), std::string(line->component), time,
                                 line->clock ? std::optional(line->clock->milliseconds()) : std::nullopt});
        ++openCount_;
        break;
    case CallEvent::exit:
        leave(thread, *line, time);
        break;
    case CallEvent::message:
        writeMark(thread, *line, time);
        break;
    }
}

void Timeline::finish() {
    writeUnfinished();
    document_.finish();
}

int64_t Timeline::placeOf(const LogLine &line) {
    const int64_t clock = line.clock ? line.clock->milliseconds() * 1000 : lastTime_ + 1;
    // Times go back if the clock was set. A step of more than an hour is kept; a smaller one is corrected.
    const bool setBack = clock < lastTime_ - 3'600'000'000;
    lastTime_ = setBack ? clock : std::max(clock, lastTime_ + 1);
    return lastTime_;
}

void Timeline::introduce(const Thread &thread) {
    if (document_.isIntroduced(thread.first)) {
        return;
    }
    const std::string name =
        thread.first == 0 ? "process (no pid= in the log)" : "process " + hexNumber(thread.first, 4);
    document_.introduce(thread.first, name);
}

void Timeline::leave(const Thread &thread, const LogLine &line, int64_t time) {
    auto &calls = open_[thread];
    const auto found = std::find_if(calls.rbegin(), calls.rend(), [&](const OpenCall &call) {
        return matchExit(line.text, call.description).has_value();
    });
    if (found == calls.rend()) {
        // The entry is missing: the log began, or was switched on, during this call.
        writeMark(thread, line, time);
    } else {
        const auto call = std::prev(found.base());
        const auto milliseconds = line.clock ? std::optional(line.clock->milliseconds()) : std::nullopt;
        // Later entries without an exit: if the log has thread ids, their exit lines were lost. Otherwise they may
        // belong to another thread and still run.
        if (line.threadId) {
            while (std::next(call) != calls.end()) {
                writeCall(thread, calls.back(), time, milliseconds, nullptr, false);
                calls.pop_back();
            }
        }
        const auto exit = matchExit(line.text, call->description);
        writeCall(thread, *call, time, milliseconds, exit->result ? &*exit->result : nullptr, true);
        calls.erase(call);
    }
    if (calls.empty()) {
        open_.erase(thread);
    }
}

void Timeline::writeCall(const Thread &thread, const OpenCall &call, int64_t end,
                         std::optional<int64_t> endMilliseconds, const std::string_view *result, bool finished) {
    --openCount_;
    ++callCount_;
    event_.begin();
    event_.add("name", callName(call.description));
    event_.add("cat", call.component);
    event_.add("ph", "X");
    event_.add("ts", call.begin);
    event_.add("dur", std::max<int64_t>(0, end - call.begin));
    event_.add("pid", thread.first);
    event_.add("tid", thread.second);
    Members members(call.description);
    std::string milliseconds;
    if (result != nullptr) {
        members.set("result", *result, false);
    }
    if (endMilliseconds && call.beginMilliseconds) {
        milliseconds = std::to_string(*endMilliseconds - *call.beginMilliseconds);
        members.set("milliseconds", milliseconds, true);
    }
    if (!finished) {
        ++unfinishedCount_;
        members.set("unfinished", "true", true);
    }
    event_.beginObject("args");
    members.write(event_);
    event_.endObject();
    if (!finished || (result != nullptr && isFailureResult(*result))) {
        event_.add("cname", failureColour);
    }
    document_.write(event_.end());
}

void Timeline::writeMark(const Thread &thread, const LogLine &line, int64_t time) {
    event_.begin();
    event_.add("name", line.text);
    event_.add("cat", line.component);
    event_.add("ph", "i");
    event_.add("s", "t");
    event_.add("ts", time);
    event_.add("pid", thread.first);
    event_.add("tid", thread.second);
    if (isFailure(line)) {
        event_.add("cname", failureColour);
    }
    document_.write(event_.end());
}

void Timeline::writeUnfinished() {
    for (const auto &[thread, calls] : open_) {
        for (const OpenCall &call : calls) {
            writeCall(thread, call, lastTime_, std::nullopt, nullptr, false);
        }
    }
    open_.clear();
}

} // namespace tool
