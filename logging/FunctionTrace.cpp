#include "logging/FunctionTrace.h"

#include "logging/LogFailure.h"
#include "logging/MessageText.h"

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
    ignoringLogFailures([&] { // the call's result is kept
        logger_.unindent();
        MessageText line;
        line << '-' << text_;
        if (!result_.empty()) {
            line << " rc=" << result_;
        }
        logger_.write(component_, level_, line.c_str());
    });
}

void FunctionTrace::setResult(std::string_view text) {
    result_ = text;
}

} // namespace kal
