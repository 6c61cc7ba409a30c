// Runs a target over the files of its corpus, without a fuzzer: what once was found stays found.
#include "tests/fuzz/Input.h"

#include <filesystem>
#include <fstream>
#include <iterator>

int main(int count, char **arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: %s CORPUS-FOLDER\n", arguments[0]);
        return 2;
    }
    size_t inputs = 0;
    for (const auto &entry : std::filesystem::directory_iterator(arguments[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        std::fprintf(stderr, "%s\n", entry.path().c_str()); // before, so that a crash has a name
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        ++inputs;
    }
    std::printf("%zu inputs ran clean\n", inputs);
    return inputs == 0 ? 1 : 0;
}
