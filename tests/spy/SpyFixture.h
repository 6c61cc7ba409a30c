// Loads the spy in front of the fake service, as a client does, and reads its recording.
#pragma once

#include "recording/Recording.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace kal::test {

/// Reads a recording.
inline recording::Recording readRecording(const std::filesystem::path &file) {
    recording::RecordingReader reader;
    std::ifstream lines(file, std::ios::binary);
    for (std::string line; std::getline(lines, line);) {
        reader.add(line);
    }
    return reader.finish();
}

inline std::vector<std::filesystem::path> recordingsIn(const std::filesystem::path &folder) {
    std::vector<std::filesystem::path> found;
    std::error_code missing;
    for (const auto &entry : std::filesystem::directory_iterator(folder, missing)) {
        if (entry.path().extension() == ".jsonl") {
            found.push_back(entry.path());
        }
    }
    return found;
}

/// All tests of the program share one recorder and one recording. Each looks only at the events since its start.
class SpyTest : public testing::Test {
  protected:
    SpyTest() : before_(recording().calls.size()), callbacksBefore_(recording().callbacks.size()) {}
    ~SpyTest() override { unload(); }

    void load() {
        module = LoadLibraryW((programFolder() / "comc.dll").c_str());
        ASSERT_NE(module, nullptr) << GetLastError();
    }
    void unload() {
        if (module != nullptr) {
            FreeLibrary(std::exchange(module, nullptr));
        }
    }
    /// Calls an entry point with 64-bit words, so that all of them can be compared.
    template <class... Words>
    uint64_t call(const char *name, Words... words) const {
        return exported<uint64_t(Words...)>(module, name)(words...);
    }
    static uint64_t word(const void *pointer) { return reinterpret_cast<uintptr_t>(pointer); }

    static recording::Recording recording() {
        const auto files = recordingsIn(programFolder() / "recordings");
        return files.empty() ? recording::Recording() : readRecording(files.back());
    }
    std::vector<recording::RecordedCall> calls() const {
        auto all = recording().calls;
        all.erase(all.begin(), all.begin() + static_cast<ptrdiff_t>(before_));
        return all;
    }
    std::vector<recording::RecordedCallback> callbacks() const {
        auto all = recording().callbacks;
        all.erase(all.begin(), all.begin() + static_cast<ptrdiff_t>(callbacksBefore_));
        return all;
    }

    RecordedService service;
    HMODULE module = nullptr;

  private:
    size_t before_;
    size_t callbacksBefore_;
};

} // namespace kal::test
