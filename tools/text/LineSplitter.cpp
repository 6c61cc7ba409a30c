#include "tools/text/LineSplitter.h"

namespace tool {

void LineSplitter::feed(std::string_view block) {
    for (size_t lineEnd = block.find('\n'); lineEnd != std::string_view::npos; lineEnd = block.find('\n')) {
        if (rest_.empty()) {
            handOut(block.substr(0, lineEnd));
        } else {
            rest_.append(block.substr(0, lineEnd));
            handOut(rest_);
            rest_.clear();
        }
        block.remove_prefix(lineEnd + 1);
    }
    rest_.append(block);
    if (rest_.size() >= longestLine) {
        handOut(rest_);
        rest_.clear();
    }
}

void LineSplitter::finish() {
    if (!rest_.empty()) {
        handOut(rest_);
        rest_.clear();
    }
}

void LineSplitter::handOut(std::string_view line) {
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    sink_(line);
}

} // namespace tool
