// Any log file as a timeline: the document must be what trace viewers can read.
#include "tools/log/Timeline.h"
#include "tests/fuzz/Input.h"
#include "tools/text/LineSplitter.h"

#include <nlohmann/json.hpp>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const std::string text = input.remainingText();
    std::string document;
    tool::Timeline timeline([&](std::string_view piece) { document += piece; });
    tool::LineSplitter splitter([&](std::string_view line) { timeline.add(line); });
    splitter.feed(text);
    splitter.finish();
    timeline.finish();

    const nlohmann::json parsed = nlohmann::json::parse(document, nullptr, false);
    fuzz::require(!parsed.is_discarded(), "the timeline is JSON");
    size_t calls = 0;
    for (const auto &event : parsed.at("traceEvents")) {
        const std::string phase = event.at("ph");
        calls += phase == "X" ? 1 : 0;
        fuzz::require(phase != "X" || event.at("dur").get<int64_t>() >= 0, "no call ends before it begins");
    }
    fuzz::require(calls == timeline.callCount(), "each call is a span");
    fuzz::require(timeline.unfinishedCount() <= timeline.callCount(), "an unfinished call is a call");
    return 0;
}
