#pragma once

#include "platform/Exception.h"

#include <exception>

namespace kal {

/// Calls body() and ignores what it throws: only the log line is lost. An application must not notice a failing log.
template <class Body>
void ignoringLogFailures(Body body) {
    try {
        body();
    } catch (const Exception &) {
    } catch (const std::exception &) {
    }
}

} // namespace kal
