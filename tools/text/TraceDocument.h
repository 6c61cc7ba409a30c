/// Writes trace events in the JSON format of Perfetto and chrome://tracing, in chunks.
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

    /// @param clock  a note on the times, for people who read the file
    TraceDocument(Sink sink, std::string_view clock);

    [[nodiscard]] bool isIntroduced(uint32_t process) const { return introduced_.contains(process); }
    /// Writes the name of a process at its first use.
    void introduce(uint32_t process, const std::string &name);
    void write(const nlohmann::ordered_json &event);
    /// An event that is JSON already.
    void write(std::string_view event);
    void finish();

  private:
    Sink sink_;
    std::set<uint32_t> introduced_;
    bool isFirst_ = true;
};

/// The colour for failures.
inline constexpr std::string_view failureColour = "terrible";

} // namespace tool
