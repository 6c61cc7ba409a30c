/// Converts a call's arguments, and the memory they point to, to the values of a recording.
#pragma once

#include "comc/EntryPoints.h"
#include "recording/RecordLine.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace recording {

using Words = std::array<uint64_t, comc::mostWords>;

/// A hash over bytes that arrive in chunks.
class Digest {
  public:
    virtual ~Digest() = default;
    virtual void add(const void *bytes, size_t count) = 0;
    /// The hash in lower-case hexadecimal digits. Call it once, after the last add().
    [[nodiscard]] virtual std::string finish() = 0;
};

/// Functions that Capture needs from its environment.
struct CaptureHost {
    /// Number of readable bytes at the address, at most `wanted`.
    std::function<size_t(const void *address, size_t wanted)> readable;
    std::function<std::unique_ptr<Digest>()> newDigest;
    /// The number of a client's function in the recording; 0 if it is not a function that can be called.
    std::function<uint32_t(uint64_t address, comc::ArgumentKind kind)> callbackNumber;
};

/// Takes one chunk of a buffer that is too large for one line.
using PieceSink = std::function<void(std::string_view argument, uint64_t offset, std::string hex)>;

/// Larger buffers are recorded in chunks of this size, so that lines and memory use stay limited.
inline constexpr size_t mostInlineBytes = size_t{32} * 1024;

/// JSON form of values that are neither numbers nor strings:
///
///     null                                        null pointer
///     {"length":5,"hex":"25215053..."}            bytes, or a string that is not UTF-8
///     {"length":90000,"sha256":"...","pieces":3}  bytes recorded on separate lines
///     {"length":5,"sha256":"..."}                 redacted bytes
///     {"output":true}                             buffer for the service's output
///     {"callback":1}                              callback of the client
///     {"address":"5a5a..."}                       other pointer; with "length": unreadable memory
class Capture {
  public:
    Capture(const CaptureHost &host, bool redacts) : host_(host), redacts_(redacts) {}

    /// The arguments of a call.
    [[nodiscard]] Json arguments(const comc::EntryPoint &entryPoint, const Words &words, const PieceSink &pieces) const;

    /// A callback's arguments.
    [[nodiscard]] Json callbackArguments(comc::ArgumentKind kind, const Words &words, const PieceSink &pieces) const;

    /// Copies the output buffers before the call.
    class Before {
      public:
        Before(const Capture &capture, const comc::EntryPoint &entryPoint, const Words &words);

      private:
        friend class Capture;
        std::array<std::string, comc::mostWords> contents_;
    };

    /// Outputs of the service. After a failure, only those that changed during the call.
    [[nodiscard]] Json outputs(const comc::EntryPoint &entryPoint, const Words &words, const Before &before,
                               bool succeeded, const PieceSink &pieces) const;

  private:
    [[nodiscard]] Json bytes(std::string_view name, uint64_t address, size_t length, bool isDocument,
                             const PieceSink &pieces) const;
    [[nodiscard]] Json text(uint64_t address) const;
    [[nodiscard]] Json wideText(uint64_t address) const;
    [[nodiscard]] std::string content(uint64_t address, size_t wanted) const;

    const CaptureHost &host_;
    bool redacts_;
};

} // namespace recording
