#include "tests/examples/WindowDriver.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>

namespace kal::test {

namespace {

/// Memory inside the other process, for messages that carry an address.
class RemoteMemory {
  public:
    RemoteMemory(HANDLE process, size_t size)
        : process_(process), address_(VirtualAllocEx(process, nullptr, size, MEM_COMMIT, PAGE_READWRITE)) {
        if (address_ == nullptr) {
            throw std::runtime_error("no memory in the other process");
        }
    }
    ~RemoteMemory() { VirtualFreeEx(process_, address_, 0, MEM_RELEASE); }
    RemoteMemory(const RemoteMemory &) = delete;
    RemoteMemory &operator=(const RemoteMemory &) = delete;

    [[nodiscard]] std::byte *address() const { return static_cast<std::byte *>(address_); }

    template <class Value>
    void write(const Value &value) const {
        if (!WriteProcessMemory(process_, address_, &value, sizeof value, nullptr)) {
            throw std::runtime_error("the other process cannot be written to");
        }
    }

    template <class Value>
    void read(size_t offset, Value &value) const {
        if (!ReadProcessMemory(process_, address() + offset, &value, sizeof value, nullptr)) {
            throw std::runtime_error("the other process cannot be read");
        }
    }

  private:
    HANDLE process_;
    void *address_;
};

struct CellRequest {
    LVITEMW item;
    std::array<wchar_t, 512> text;
};

struct WindowSearch {
    DWORD processId;
    const wchar_t *className;
    HWND found;
};

BOOL CALLBACK lookAtWindow(HWND window, LPARAM parameter) {
    auto &search = *reinterpret_cast<WindowSearch *>(parameter);
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    wchar_t className[64] = L"";
    GetClassNameW(window, className, 64);
    const bool isWanted = processId == search.processId && std::wstring(className) == search.className;
    if (isWanted && IsWindowVisible(window)) {
        search.found = window;
        return FALSE;
    }
    return TRUE;
}

} // namespace

bool eventually(const std::function<bool()> &condition, DWORD milliseconds) {
    const ULONGLONG deadline = GetTickCount64() + milliseconds;
    while (!condition()) {
        if (GetTickCount64() > deadline) {
            return false;
        }
        Sleep(10);
    }
    return true;
}

WindowDriver::WindowDriver(DWORD processId, HANDLE process, const wchar_t *className) : process_(process) {
    WindowSearch search = {processId, className, nullptr};
    const bool isThere = eventually([&] {
        EnumWindows(&lookAtWindow, reinterpret_cast<LPARAM>(&search));
        return search.found != nullptr;
    });
    if (!isThere) {
        throw std::runtime_error("the window does not appear");
    }
    window_ = search.found;
}

HWND WindowDriver::control(const wchar_t *className, const wchar_t *text) const {
    return FindWindowExW(window_, nullptr, className, text);
}

std::wstring WindowDriver::text(HWND control) {
    std::array<wchar_t, 512> text = {};
    SendMessageW(control, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    return text.data();
}

std::vector<std::vector<std::wstring>> WindowDriver::rows(HWND list, int mostRows) const {
    const HWND header = reinterpret_cast<HWND>(SendMessageW(list, LVM_GETHEADER, 0, 0));
    const auto columnCount = static_cast<int>(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0));
    const auto rowCount = std::min(static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0)), mostRows);
    const RemoteMemory memory(process_, sizeof(CellRequest));
    std::vector<std::vector<std::wstring>> rows;
    for (int row = 0; row < rowCount; ++row) {
        auto &cells = rows.emplace_back();
        for (int column = 0; column < columnCount; ++column) {
            CellRequest request = {};
            request.item.iSubItem = column;
            request.item.pszText = reinterpret_cast<wchar_t *>(memory.address() + offsetof(CellRequest, text));
            request.item.cchTextMax = static_cast<int>(request.text.size());
            memory.write(request);
            SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(memory.address()));
            memory.read(offsetof(CellRequest, text), request.text);
            cells.emplace_back(request.text.data());
        }
    }
    return rows;
}

int WindowDriver::image(HWND list, int row) const {
    LVITEMW item = {};
    item.mask = LVIF_IMAGE;
    item.iItem = row;
    const RemoteMemory memory(process_, sizeof item);
    memory.write(item);
    SendMessageW(list, LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(memory.address()));
    memory.read(0, item);
    return item.iImage;
}

void WindowDriver::select(HWND list, int row) const {
    LVITEMW item = {};
    item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
    item.state = item.stateMask;
    const RemoteMemory memory(process_, sizeof item);
    memory.write(item);
    SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(memory.address()));
}

void WindowDriver::click(HWND button) {
    PostMessageW(button, BM_CLICK, 0, 0);
}

void WindowDriver::press(WORD key) const {
    const HWND receiver = focus() != nullptr ? focus() : window_;
    PostMessageW(receiver, WM_KEYDOWN, key, 1);
    PostMessageW(receiver, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
}

void WindowDriver::pressAlt(wchar_t letter) const {
    constexpr LPARAM altIsDown = 0x20000001;
    PostMessageW(focus() != nullptr ? focus() : window_, WM_SYSCHAR, letter, altIsDown);
}

HWND WindowDriver::focus() const {
    GUITHREADINFO information = {};
    information.cbSize = sizeof information;
    GetGUIThreadInfo(GetWindowThreadProcessId(window_, nullptr), &information);
    return information.hwndFocus;
}

RECT WindowDriver::place(HWND control) const {
    RECT place = {};
    GetWindowRect(control, &place);
    MapWindowPoints(nullptr, window_, reinterpret_cast<POINT *>(&place), 2);
    return place;
}

RECT WindowDriver::clientArea() const {
    RECT area = {};
    GetClientRect(window_, &area);
    return area;
}

void WindowDriver::resize(int width, int height) const {
    SetWindowPos(window_, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void WindowDriver::changeResolution(UINT resolution, const RECT &place) const {
    const RemoteMemory memory(process_, sizeof place);
    memory.write(place);
    constexpr UINT resolutionChanged = 0x02E0; // WM_DPICHANGED, which headers for older systems lack
    SendMessageW(window_, resolutionChanged, MAKEWPARAM(resolution, resolution),
                 reinterpret_cast<LPARAM>(memory.address()));
}

void WindowDriver::repaint() const {
    RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

bool WindowDriver::answersWithin(UINT milliseconds) const {
    DWORD_PTR ignored = 0;
    return SendMessageTimeoutW(window_, WM_NULL, 0, 0, SMTO_BLOCK, milliseconds, &ignored) != 0;
}

void WindowDriver::close() const {
    PostMessageW(window_, WM_CLOSE, 0, 0);
}

} // namespace kal::test
