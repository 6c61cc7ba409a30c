/// Files for sequential reading, and output files that remain only if they are complete.
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

/// A file open for reading; other processes may write, rename and delete it. Failures end the command.
class InputFile {
  public:
    explicit InputFile(const std::string &path);
    ~InputFile();
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    [[nodiscard]] uint64_t size() const;
    /// Reads the next bytes. Fills the buffer except at the end of the file.
    [[nodiscard]] size_t read(std::span<char> buffer);
    /// Whether the path still refers to this file.
    [[nodiscard]] bool isStillAt(const std::string &path) const;

  private:
    std::string path_;
    HANDLE file_;
};

/// Replaces a file. Without commit, the new file is deleted.
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

/// The size of a file; nothing if it does not exist.
std::optional<uint64_t> fileSize(const std::string &path);

/// The content of a small file; ends the command if it is larger than the limit.
std::vector<uint8_t> readWholeFile(const std::string &path, size_t limit);

/// The part after the last backslash or slash.
std::string_view fileNameOf(std::string_view path);
/// The part before the file name, with the backslash.
std::string_view folderOf(std::string_view path);

} // namespace tool
