#include "simulator/ProcessMemory.h"

#include "comc/EntryPoints.h"

#include <algorithm>
#include <cwchar>
#include <mutex>

namespace simulator {

struct ProcessMemory::Content {
    uint64_t identity;
    uint32_t isReported;
    uint32_t calls[128];
};

ProcessMemory::ProcessMemory(uint64_t identity) {
    wchar_t name[64];
    std::swprintf(name, sizeof name / sizeof *name, L"Local\\comc-simulator-%lu", GetCurrentProcessId());
    const HANDLE section = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Content), name);
    const bool isNew = section != nullptr && GetLastError() != ERROR_ALREADY_EXISTS;
    content_ =
        section ? static_cast<Content *>(MapViewOfFile(section, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Content))) : nullptr;
    // The first handle is never closed, so that the section exists until the process exits.
    if (section && !isNew) {
        CloseHandle(section);
    }
    if (content_ && content_->identity != identity) {
        *content_ = Content{};
        content_->identity = identity;
    }
}

ProcessMemory::~ProcessMemory() {
    if (content_) {
        UnmapViewOfFile(content_);
    }
}

uint32_t ProcessMemory::countCall(std::string_view entryPoint) noexcept {
    static_assert(std::size(Content{}.calls) >= comc::entryPointCount);
    const comc::EntryPoint *const called = comc::findEntryPoint(entryPoint);
    const std::lock_guard hold(lock_);
    return content_ && called != nullptr ? ++content_->calls[called - comc::entryPoints().data()] : 1;
}

bool ProcessMemory::isFirstReport() noexcept {
    const std::lock_guard hold(lock_);
    return content_ == nullptr || content_->isReported++ == 0;
}

} // namespace simulator
