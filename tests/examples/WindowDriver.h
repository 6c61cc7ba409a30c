// Another process's window as a person sees and uses it: found by its texts, read cell by cell, used by keys and
// clicks.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace kal::test {

/// Looks again and again until the condition holds. @return whether it ever did
[[nodiscard]] bool eventually(const std::function<bool()> &condition, DWORD milliseconds = 20000);

class WindowDriver {
  public:
    /// Waits for the process's visible window of this class.
    WindowDriver(DWORD processId, HANDLE process, const wchar_t *className);

    [[nodiscard]] HWND window() const { return window_; }

    /// A direct child by its class and, when one is given, by its text.
    [[nodiscard]] HWND control(const wchar_t *className, const wchar_t *text = nullptr) const;
    [[nodiscard]] HWND button(const wchar_t *text) const { return control(L"Button", text); }
    [[nodiscard]] HWND list(const wchar_t *name) const { return control(L"SysListView32", name); }

    [[nodiscard]] static std::wstring text(HWND control);
    [[nodiscard]] std::vector<std::vector<std::wstring>> rows(HWND list, int mostRows = 1000) const;
    /// Index of the picture of a row.
    [[nodiscard]] int image(HWND list, int row) const;
    void select(HWND list, int row) const;
    static void click(HWND button);
    /// Presses a key for the control that has the focus, as the keyboard does.
    void press(WORD key) const;
    /// Presses Alt and a letter.
    void pressAlt(wchar_t letter) const;
    [[nodiscard]] HWND focus() const;
    [[nodiscard]] RECT place(HWND control) const; ///< in the window's client coordinates
    [[nodiscard]] RECT clientArea() const;
    void resize(int width, int height) const;
    /// What the system sends when the window comes to a monitor of another resolution.
    void changeResolution(UINT resolution, const RECT &place) const;
    /// Has the window and all its controls draw themselves from the start.
    void repaint() const;
    /// Whether the window's thread takes messages.
    [[nodiscard]] bool answersWithin(UINT milliseconds) const;
    void close() const;

  private:
    HWND window_ = nullptr;
    HANDLE process_;
};

} // namespace kal::test
