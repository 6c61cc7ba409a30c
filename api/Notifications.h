#pragma once

#include <cstdint>
#include <optional>

namespace kal {

/// What to do with a notification about a printer, except the true end of a job.
struct NotificationVerdict {
    const char *text;              ///< for the log
    std::optional<uint32_t> state; ///< to post with WM_KAL_PRINTERSTATUS; if empty, nothing is posted
};

[[nodiscard]] NotificationVerdict classifyNotification(uint32_t notification) noexcept;

/// What the application gets to know of a printer's state.
struct PrintingState {
    bool isPrinting;
    const char *text; ///< for the log; null for an unknown state, which is not logged
};

[[nodiscard]] PrintingState classifyPrinterState(uint32_t state) noexcept;

} // namespace kal
