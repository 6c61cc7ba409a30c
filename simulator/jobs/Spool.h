#pragma once

#include "simulator/Handle.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace simulator {

/// The content of the JSON file of a finished job.
struct JobDescription {
    std::string documentName;
    std::string user;
    std::string host;
    std::string options;
    uint16_t handle = 0;
    std::string printer;
    std::string port;
    uint32_t clientId = 0;
    std::string jobStringsJson; // an object
};

/// The data of one job in the spool folder. The file has a temporary name until it is complete. Failures have one of
/// two codes: 112 for a full disk, 29 for anything else.
class SpoolFile {
  public:
    /// @return 0 or the code of the failure. @throws std::bad_alloc
    [[nodiscard]] uint32_t create(const std::filesystem::path &folder, std::optional<uint64_t> capacity);
    [[nodiscard]] uint32_t write(const void *data, uint32_t count);
    /// Writes the description and gives the job its final name.
    [[nodiscard]] uint32_t finish(const JobDescription &description);
    void discard() noexcept;

    ~SpoolFile() { discard(); }
    SpoolFile() = default;
    SpoolFile(const SpoolFile &) = delete;
    SpoolFile &operator=(const SpoolFile &) = delete;

    [[nodiscard]] uint32_t jobNumber() const noexcept { return number_; }
    [[nodiscard]] uint64_t size() const noexcept { return size_; }
    [[nodiscard]] const std::filesystem::path &finalName() const noexcept { return final_; }

  private:
    std::filesystem::path folder_;
    std::filesystem::path temporary_;
    std::filesystem::path final_;
    std::optional<uint64_t> capacity_;
    uint32_t number_ = 0;
    uint64_t size_ = 0;
    std::string startTime_;
    Handle file_;
};

} // namespace simulator
