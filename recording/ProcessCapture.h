/// Parts of capturing that need the system: readable memory of this process, and SHA-256.
#pragma once

#include "recording/Capture.h"

namespace recording {

/// Number of bytes at the address that can be read now, at most `wanted`.
[[nodiscard]] size_t readableBytes(const void *address, size_t wanted) noexcept;

/// Whether the address is in executable memory.
[[nodiscard]] bool isExecutable(const void *address) noexcept;

/// SHA-256. The hash is empty if the system cannot compute it.
[[nodiscard]] std::unique_ptr<Digest> newSha256();

} // namespace recording
