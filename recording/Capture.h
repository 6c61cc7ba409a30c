/// The memory behind a call's words as the values of a recording: arguments before the call, outputs after it.
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

/// A hash over bytes that come in pieces.
class Digest {
  public:
    virtual ~Digest() = default;
    virtual void add(const void *bytes, size_t count) = 0;
    /// In lower-case hexadecimal digits. Once, at the end.
    [[nodiscard]] virtual std::string finish() = 0;
};

/// What capturing needs of the world around it.
struct CaptureHost {
    /// How many bytes from the address on can be read, at most so many as are wanted.
    std::function<size_t(const void *address, size_t wanted)> readable;
    std::function<std::unique_ptr<Digest>()> newDigest;
    /// The number by which a recording knows a function of the client; 0 when it is none that can be called.
    std::function<uint32_t(uint64_t address, comc::ArgumentKind kind)> callbackNumber;
};

/// Takes a piece of a buffer that is too large for one line.
using PieceSink = std::function<void(std::string_view argument, uint64_t offset, std::string hex)>;

/// A buffer of more bytes is told of in pieces of so many, so that no line and no memory grows with a document.
inline constexpr size_t mostInlineBytes = 32 * 1024;

/// How a value of a recording looks that is no number and no text:
///
///     null                                    a null pointer
///     {"length":5,"hex":"25215053..."}        bytes; also a text that is none in UTF-8
///     {"length":90000,"sha256":"...","pieces":3}  bytes that stand in lines of their own
///     {"length":5,"sha256":"..."}             redacted bytes, which stand nowhere
///     {"output":true}                         room for what the service answers
///     {"callback":1}                          a function of the client
///     {"address":"5a5a..."}                   anything else; with "length" when so many bytes there cannot be read
class Capture {
  public:
    Capture(const CaptureHost &host, bool redacts) : host_(host), redacts_(redacts) {}

    /// What the service is handed.
    [[nodiscard]] Json arguments(const comc::EntryPoint &entryPoint, const Words &words, const PieceSink &pieces) const;

    /// A callback's arguments.
    [[nodiscard]] Json callbackArguments(comc::ArgumentKind kind, const Words &words, const PieceSink &pieces) const;

    /// What is in the memory that the service may write to; to be made before the call.
    class Before {
      public:
        Before(const Capture &capture, const comc::EntryPoint &entryPoint, const Words &words);

      private:
        friend class Capture;
        std::array<std::string, comc::mostWords> contents_;
    };

    /// What the service wrote. After a success that is what it says it wrote; after a failure only what is another
    /// value than before, since what a caller left in its variables is no answer.
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
