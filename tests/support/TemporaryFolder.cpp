#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <fstream>
#include <iterator>

#include <windows.h>

namespace kal::test {

TemporaryFolder::TemporaryFolder() {
    static std::atomic<int> number = 0;
    const auto beginning = "kal-test-" + std::to_string(GetCurrentProcessId()) + "-";
    do { // an earlier process with the same id may have been killed before its cleanup
        path_ = std::filesystem::temp_directory_path() / (beginning + std::to_string(++number));
    } while (!std::filesystem::create_directories(path_));
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored; // the file of a library that is still loaded cannot be deleted; that is not an error
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
