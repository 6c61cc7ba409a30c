#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <fstream>
#include <iterator>

#include <windows.h>

namespace kal::test {

TemporaryFolder::TemporaryFolder() {
    static std::atomic<int> number = 0;
    const auto beginning = "kal-test-" + std::to_string(GetCurrentProcessId()) + "-";
    do { // an earlier process of the same number may have been ended before it could tidy up
        path_ = std::filesystem::temp_directory_path() / (beginning + std::to_string(++number));
    } while (!std::filesystem::create_directories(path_));
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored; // a library that is still mapped keeps its file; the test itself is not wrong for that
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string &name, const std::string &bytes) const {
    const auto file = path_ / name;
    std::ofstream(file, std::ios::binary) << bytes;
    return file.string();
}

std::string readFile(const std::filesystem::path &path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::filesystem::path programFolder() {
    char name[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, name, MAX_PATH);
    return std::filesystem::path(name).parent_path();
}

} // namespace kal::test
