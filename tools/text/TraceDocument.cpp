#include "tools/text/TraceDocument.h"

#include "tools/text/JsonText.h"

namespace tool {

TraceDocument::TraceDocument(Sink sink, std::string_view clock) : sink_(std::move(sink)) {
    sink_("{\"displayTimeUnit\":\"ms\",\"otherData\":" + jsonLine({{"clock", clock}}) + ",\"traceEvents\":[");
}

void TraceDocument::introduce(uint32_t process, const std::string &name) {
    if (introduced_.insert(process).second) {
        write(nlohmann::ordered_json{
            {"name", "process_name"}, {"ph", "M"}, {"pid", process}, {"args", {{"name", name}}}});
    }
}

void TraceDocument::write(const nlohmann::ordered_json &event) {
    write(std::string_view(jsonLine(event)));
}

void TraceDocument::write(std::string_view event) {
    sink_(isFirst_ ? "\n" : ",\n");
    isFirst_ = false;
    sink_(event);
}

void TraceDocument::finish() {
    sink_("\n]}\n");
}

} // namespace tool
