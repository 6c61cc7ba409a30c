/// Files read from front to back, and written ones that exist only when they are complete.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// A file open for reading; others may write, rename and delete it meanwhile. Failures end the command.
class InputFile {
  public:
    explicit InputFile(const std::string &path);
    ~InputFile();
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    [[nodiscard]] uint64_t size() const;
    /// Reads on; less than the buffer holds only at the end of the file.
    [[nodiscard]] size_t read(std::span<char> buffer);
    /// Whether the path still leads to this file.
    [[nodiscard]] bool isStillAt(const std::string &path) const;

  private:
    std::string path_;
    HANDLE file_;
};

/// A file that is written anew; without commit it is removed again.
class OutputFile {
  public:
    explicit OutputFile(const std::string &path);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(std::string_view bytes);
    void commit();

  private:
    void flush();

    std::string path_;
    std::string buffer_;
    HANDLE file_;
};

bool fileExists(const std::string &path);

/// The size of a file; nothing when there is none.
std::optional<uint64_t> fileSize(const std::string &path);

/// A whole small file; ends the command when it is larger than the limit.
std::vector<uint8_t> readWholeFile(const std::string &path, size_t limit);

/// The name behind the last backslash or slash.
std::string_view fileNameOf(std::string_view path);
/// Everything before that name, the backslash included.
std::string_view folderOf(std::string_view path);

} // namespace tool
