/// Trace events in the JSON format that Perfetto and chrome://tracing open, handed out piece by piece.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace tool {

class TraceDocument {
  public:
    using Sink = std::function<void(std::string_view piece)>;

    /// @param clock  what to know of the times, for who looks into the file
    TraceDocument(Sink sink, std::string_view clock);

    /// Names a process, the first time that it is asked for.
    void introduce(uint32_t process, const std::string &name);
    void write(const nlohmann::ordered_json &event);
    void finish();

  private:
    Sink sink_;
    std::set<uint32_t> introduced_;
    bool isFirst_ = true;
};

/// The colour of what failed.
inline constexpr std::string_view failureColour = "terrible";

} // namespace tool
