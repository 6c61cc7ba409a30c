#pragma once

#include "logging/BasicLogger.h"
#include "logging/MessageText.h"
#include "platform/Exception.h"

#include <exception>

namespace kal {

/// Writes one line composed of pieces, if the component logs at the level; nothing is composed otherwise. What goes
/// wrong while logging is nobody's concern.
template <class... Pieces>
void logMessage(const LoggerComponent &component, uint32_t level, const Pieces &...pieces) noexcept {
    try {
        if (logEnabled(component, level)) [[unlikely]] {
            MessageText text;
            (text << ... << pieces);
            BasicLogger::getInstance().write(component, level, text.c_str());
        }
    } catch (const Exception &) {
    } catch (const std::exception &) {
    }
}

} // namespace kal
