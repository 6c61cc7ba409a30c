// A folder under the system's temporary folder, deleted with its content at the end.
#pragma once

#include <filesystem>
#include <string>

namespace kal::test {

class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::filesystem::path &path() const { return path_; }
    std::filesystem::path operator/(const std::string &name) const { return path_ / name; }
    /// Writes a file with these bytes; returns its full path.
    std::string write(const std::string &name, const std::string &bytes) const;

  private:
    std::filesystem::path path_;
};

/// The content of a file; empty if it cannot be read.
std::string readFile(const std::filesystem::path &path);

/// The folder of the running test program.
std::filesystem::path programFolder();

} // namespace kal::test
