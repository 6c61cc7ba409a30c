#pragma once

#include <cstdint>

namespace kal {

// What the service calls. None of these raises, whatever happens, and each returns 1 while no application is
// registered.

/// One alert of a printer. @return 0 (also when nobody wants it), 1 on failure, 87 for bytes that are no alert
uint32_t KalAlertCallback(uint32_t handle, const uint8_t *alert, uint32_t length) noexcept;

/// One notification about a printer or its job. @param endOfJobFlag  may be null @return 0, or 1 on failure
uint32_t KalNotificationCallback(uint32_t handle, uint32_t category, uint32_t notification,
                                 const uint32_t *endOfJobFlag, void *, void *) noexcept;

/// Whether an alert of a BpdPrinter is to be posted, and as what.
/// @param alert            as classifyStatusWindowAlert needs it
/// @param[out] message     receives the window message when it is
[[nodiscard]] bool statusWindowAlert(const uint8_t *alert, uint32_t length, uint32_t *message) noexcept;

/// Starts the alert ids at 0 again.
void resetAlertIds() noexcept;

} // namespace kal
