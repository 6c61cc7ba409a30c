#include "simulator/events/EventJournal.h"

#include "simulator/Handle.h"
#include "simulator/printers/PrinterStore.h"

#include <mutex>

namespace simulator {

namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr uint64_t largestJournal = 1 << 20;

uint64_t sizeOf(HANDLE file) noexcept {
    LARGE_INTEGER size{};
    GetFileSizeEx(file, &size);
    return static_cast<uint64_t>(size.QuadPart);
}

Handle openToRead(const std::filesystem::path &file) noexcept {
    return Handle(
        CreateFileW(file.c_str(), GENERIC_READ, shareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

} // namespace

void EventJournal::append(const PrinterEvent &event, uint32_t afterMs) noexcept {
    try {
        const auto text = composeEventLine({systemTimeMs() + afterMs, GetCurrentProcessId(), event});
        Handle file(CreateFileW(file_.c_str(), FILE_APPEND_DATA, shareAll, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                nullptr));
        if (file && sizeOf(file.get()) > largestJournal) {
            file.close();
            // Start again with an empty file. Readers notice that it is shorter and read it from the start.
            Handle(CreateFileW(file_.c_str(), GENERIC_WRITE, shareAll, nullptr, TRUNCATE_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr))
                .close();
            file = Handle(CreateFileW(file_.c_str(), FILE_APPEND_DATA, shareAll, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
        }
        DWORD written = 0;
        if (file) {
            WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        }
    } catch (const std::exception &) {
        // The event is not reported to other processes.
    }
}

void EventJournal::skipToEnd() noexcept {
    const std::lock_guard hold(lock_);
    const auto file = openToRead(file_);
    offset_ = file ? sizeOf(file.get()) : 0;
    reader_.restart();
}

std::vector<EventLine> EventJournal::takeNew() {
    const std::lock_guard hold(lock_);
    std::vector<EventLine> lines;
    const auto file = openToRead(file_);
    if (!file) {
        return lines;
    }
    const auto size = sizeOf(file.get());
    if (size < offset_) {
        offset_ = 0;
        reader_.restart();
    }
    if (size == offset_) {
        return lines;
    }
    std::string text(static_cast<size_t>(size - offset_), '\0');
    LARGE_INTEGER position;
    position.QuadPart = static_cast<LONGLONG>(offset_);
    DWORD read = 0;
    if (!SetFilePointerEx(file.get(), position, nullptr, FILE_BEGIN) ||
        !ReadFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &read, nullptr)) {
        return lines;
    }
    offset_ += read;
    lines = reader_.take(std::string_view(text).substr(0, read));
    std::erase_if(lines, [](const EventLine &line) { return line.process == GetCurrentProcessId(); });
    return lines;
}

} // namespace simulator
