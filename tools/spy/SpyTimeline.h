/// A recording of the spy as trace events: a span per call and callback, a mark when the library is loaded or unloaded.
#pragma once

#include "recording/Recording.h"
#include "tools/text/TraceDocument.h"

#include <cstddef>
#include <cstdint>
#include <map>

namespace tool {

class SpyTimeline {
  public:
    explicit SpyTimeline(TraceDocument::Sink sink)
        : document_(std::move(sink), "Microseconds since the recording began.") {}

    /// @param header  of the recording; known when its first event is read
    void add(const recording::RecordEvent &event, const recording::RecordingHeader &header);
    /// Writes the calls without a return, marked as unfinished, and the end of the document.
    void finish();

    [[nodiscard]] size_t callCount() const noexcept { return callCount_; }
    [[nodiscard]] size_t unfinishedCount() const noexcept { return unfinishedCount_; }

  private:
    void writeSpan(const recording::RecordEvent &begin, const recording::RecordEvent *end);

    TraceDocument document_;
    std::map<uint64_t, recording::RecordEvent> open_;
    uint32_t process_ = 0;
    int64_t lastTime_ = 0;
    size_t callCount_ = 0;
    size_t unfinishedCount_ = 0;
};

} // namespace tool
