#pragma once

#include <cstdint>

namespace kal {

/// The name of a result code in the log; null if it has no name.
[[nodiscard]] const char *resultName(int32_t result) noexcept;

// These convert a code of the service to a result, by kind of operation.

/// Opening, starting and ending a job.
[[nodiscard]] int32_t standardResult(uint32_t serviceCode) noexcept;
/// Closing a handle.
[[nodiscard]] int32_t closeResult(uint32_t serviceCode) noexcept;
/// Writing document data: busy is deliberately KAL_FAIL here.
[[nodiscard]] int32_t writeResult(uint32_t serviceCode) noexcept;
/// Operations that only distinguish success and failure.
[[nodiscard]] int32_t plainResult(uint32_t serviceCode) noexcept;
/// Reading a printer's cache.
[[nodiscard]] int32_t cacheResult(uint32_t serviceCode) noexcept;
/// Exchanging a bidi request: here 1 means busy.
[[nodiscard]] int32_t bidiResult(uint32_t serviceCode) noexcept;
/// Switching notifications on or off: every code that is not listed deliberately counts as success.
[[nodiscard]] int32_t notificationModeResult(uint32_t serviceCode) noexcept;

} // namespace kal
