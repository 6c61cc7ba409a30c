#include "simulator/printers/PrinterStore.h"

#include <cstdio>
#include <fstream>
#include <iterator>

namespace simulator {

namespace {

/// Held while a file is read, changed and replaced. If the owner died, the file is still complete: only a complete file
/// replaces it.
class MutexHold {
  public:
    explicit MutexHold(HANDLE mutex) : mutex_(mutex) { WaitForSingleObject(mutex_, INFINITE); }
    ~MutexHold() { ReleaseMutex(mutex_); }
    MutexHold(const MutexHold &) = delete;
    MutexHold &operator=(const MutexHold &) = delete;

  private:
    HANDLE mutex_;
};

StoredPrinter readFile(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        return {};
    }
    return readStoredPrinter(std::string(std::istreambuf_iterator<char>(stream), {}));
}

uint32_t writeFile(const std::filesystem::path &file, const StoredPrinter &printer) {
    std::error_code failure;
    std::filesystem::create_directories(file.parent_path(), failure);
    auto temporary = file;
    temporary.replace_extension(".new");
    {
        std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
        stream << composeStoredPrinter(printer);
        stream.close();
        if (!stream) {
            return ERROR_WRITE_FAULT;
        }
    }
    return MoveFileExW(temporary.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING) ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

} // namespace

PrinterStore::PrinterStore(std::filesystem::path folder)
    : folder_(std::move(folder)), mutex_(CreateMutexW(nullptr, FALSE, L"Local\\comc-simulator-store")) {}

StoredPrinter PrinterStore::read(uint16_t handle) const {
    const MutexHold hold(mutex_.get());
    return readFile(fileOf(handle));
}

uint32_t PrinterStore::update(uint16_t handle, const std::function<void(StoredPrinter &)> &change) {
    const MutexHold hold(mutex_.get());
    auto printer = readFile(fileOf(handle));
    change(printer);
    return writeFile(fileOf(handle), printer);
}

std::filesystem::path PrinterStore::fileOf(uint16_t handle) const {
    char name[24];
    std::snprintf(name, sizeof name, "printer-%04x.json", handle);
    return folder_ / name;
}

uint64_t systemTimeMs() noexcept {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return ((static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime) / 10000;
}

} // namespace simulator
