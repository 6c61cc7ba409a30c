#include "logging/FunctionTrace.h"

#include "logging/MessageText.h"
#include "platform/Exception.h"

#include <exception>

namespace kal {

FunctionTrace::FunctionTrace(BasicLogger &logger, const LoggerComponent &component, std::string text, uint32_t level,
                             bool check)
    : text_(std::move(text)), component_(component), logger_(logger), level_(level),
      active_(check && logger.isEnabled(component, level)), loggerNumber_(active_ ? BasicLogger::instanceNumber() : 0) {
    if (active_) {
        MessageText line;
        line << '+' << text_;
        logger_.write(component_, level_, line.c_str());
        logger_.indent();
    }
}

FunctionTrace::~FunctionTrace() {
    if (!active_ || BasicLogger::instanceNumber() != loggerNumber_) {
        return;
    }
    try {
        logger_.unindent();
        MessageText line;
        line << '-' << text_;
        if (!result_.empty()) {
            line << " rc=" << result_;
        }
        logger_.write(component_, level_, line.c_str());
    } catch (const Exception &) {
        // The exit line is lost; the call's result is kept.
    } catch (const std::exception &) {
    }
}

void FunctionTrace::setResult(std::string_view text) {
    result_ = text;
}

} // namespace kal
