// Runs a target over its corpus, without a fuzzer: inputs that once showed something are tried on every change. Each
// line of the corpus is the name of an input and its bytes as pairs of hexadecimal digits.
#include "platform/Hexadecimal.h"
#include "tests/fuzz/Input.h"

#include <fstream>

namespace {

/// Stops at anything that is not a pair of digits; then there are fewer bytes than pairs.
std::vector<uint8_t> bytesOf(std::string_view digits) {
    std::vector<uint8_t> bytes;
    for (; digits.size() >= 2; digits.remove_prefix(2)) {
        const int high = kal::hexadecimalValue(digits[0]);
        const int low = kal::hexadecimalValue(digits[1]);
        if (high < 0 || low < 0) {
            break;
        }
        bytes.push_back(static_cast<uint8_t>(high * 16 + low));
    }
    return bytes;
}

} // namespace

int main(int count, char **arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: %s CORPUS-FILE\n", arguments[0]);
        return 2;
    }
    std::ifstream corpus(arguments[1]);
    size_t inputs = 0;
    for (std::string line; std::getline(corpus, line); ++inputs) {
        const size_t space = std::min(line.find(' '), line.size());
        const std::string digits = line.substr(std::min(space + 1, line.size()));
        const std::vector<uint8_t> bytes = bytesOf(digits);
        if (bytes.size() * 2 != digits.size()) {
            std::fprintf(stderr, "%s: line %zu is not a name and pairs of hexadecimal digits\n", arguments[1],
                         inputs + 1);
            return 2;
        }
        std::fprintf(stderr, "%s\n", line.substr(0, space).c_str()); // before the run, so that a crash has a name
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%zu inputs ran clean\n", inputs);
    return inputs == 0 ? 1 : 0;
}
