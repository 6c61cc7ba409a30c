#pragma once

#include "logging/BasicLogger.h"
#include "logging/LogFailure.h"
#include "logging/MessageText.h"

namespace kal {

/// If the component logs at the level, composes one line from the pieces and writes it. Failures are ignored.
template <class... Pieces>
void logMessage(const LoggerComponent &component, uint32_t level, const Pieces &...pieces) noexcept {
    ignoringLogFailures([&] {
        if (logEnabled(component, level)) [[unlikely]] {
            MessageText text;
            (text << ... << pieces);
            BasicLogger::getInstance().write(component, level, text.c_str());
        }
    });
}

} // namespace kal
