/// Capturing in this process: what can be read of its memory, and the system's hash.
#pragma once

#include "recording/Capture.h"

namespace recording {

/// How many bytes from the address on can be read now, at most so many as are wanted.
[[nodiscard]] size_t readableBytes(const void *address, size_t wanted) noexcept;

/// Whether a function may stand there.
[[nodiscard]] bool isExecutable(const void *address) noexcept;

/// SHA-256. A system that cannot compute it gives an empty hash.
[[nodiscard]] std::unique_ptr<Digest> newSha256();

} // namespace recording
