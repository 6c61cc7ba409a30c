#pragma once

#include <cstdint>

namespace kal {

// The service calls these. None of them throws, and each returns 1 while no application is registered.

/// One alert of a printer. @return 0 (even if no window is set), 1 on failure, 87 if the bytes are not an alert
uint32_t KalAlertCallback(uint32_t handle, const uint8_t *alert, uint32_t length) noexcept;

/// One notification about a printer or its job. @param endOfJobFlag  may be null @return 0, or 1 on failure
uint32_t KalNotificationCallback(uint32_t handle, uint32_t category, uint32_t notification,
                                 const uint32_t *endOfJobFlag, void *, void *) noexcept;

/// Whether to post an alert of a BpdPrinter.
/// @param alert            as for classifyStatusWindowAlert
/// @param[out] message     receives the window message to post
[[nodiscard]] bool statusWindowAlert(const uint8_t *alert, uint32_t length, uint32_t *message) noexcept;

} // namespace kal
