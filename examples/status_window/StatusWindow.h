// A window that lists printers, shows their states and messages, and prints a test page. StatusWindow.cpp has its
// behaviour, StatusWindowLayout.cpp its controls and where they are.
#pragma once

#include "PrinterService.h"

#include <windows.h>

#include <commctrl.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <vector>

class StatusWindow {
  public:
    /// Shows the window until it is closed. @return the exit code of the program
    static int show(HINSTANCE instance, int showCmd);

  private:
    struct Column {
        const wchar_t *title;
        int width; // at 96 dpi; the last column takes what is left
    };

    enum ControlId : int {
        IdPrint = IDOK,      // Enter
        IdCancel = IDCANCEL, // Escape
        IdRefresh = 100,
        IdPrinterList,
        IdEventList,
        IdOther,
    };

    static const Column printerColumns[5];
    static const Column eventColumns[3];
    static constexpr int progressSteps = 1000;

    StatusWindow() = default;

    [[nodiscard]] int pumpMessages() const;
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam);

    // Messages of the printers

    void onPrinterMessage(UINT message, uint16_t handle, uint16_t value);
    void setState(uint16_t handle, PrinterState state);
    void addEvent(Printer &printer, PrinterEvent event);
    void onEventsArrived();

    // News of the service thread

    void takeNews();
    void onNews(const news::SearchBegins &);
    void onNews(news::PrinterFound &found);
    void onNews(const news::StateChanged &change);
    void onNews(const news::SearchEnds &end);
    void onNews(const news::RegistrationRefused &);
    void onNews(const news::Progress &progress);
    void onNews(const news::PrintEnds &end);
    void onNews(const news::Stopped &);
    void onEndOfJob(uint16_t handle);

    // Commands

    void onCommand(int id);
    [[nodiscard]] bool isCommandEnabled(int id);
    LRESULT onNotify(NMHDR &notification);
    void tellEvent(const LVITEMW &item);
    void onClose();

    // Controls and layout

    void onCreate();
    static void addColumns(HWND list, std::span<const Column> columns);
    [[nodiscard]] SIZE leastSize() const;
    [[nodiscard]] int scaled(int length) const;
    [[nodiscard]] UINT windowResolution() const;
    static UINT systemResolution();
    void onResolutionChanged(UINT resolution, const RECT &place);
    void setResolution(UINT resolution);
    static SIZE textSize(HWND control);
    void layOut();
    void fitColumns(HWND list, std::span<const Column> columns) const;

    // Contents

    [[nodiscard]] int selectedRow() const;
    [[nodiscard]] Printer *selectedPrinter();
    [[nodiscard]] Printer *findPrinter(uint16_t handle);
    static void setCell(HWND list, int row, int column, const std::wstring &text);
    static void addRow(HWND list, int row, std::initializer_list<std::wstring> cells);
    void showState(int row);
    [[nodiscard]] LRESULT colourState(NMLVCUSTOMDRAW &cell) const;
    void showEvents();
    void showHeading();
    void showSelected();
    void setStatus(const std::wstring &text) const;
    void enableControls();

    HWND window_ = nullptr;
    HWND printerLabel_ = nullptr;
    HWND printerList_ = nullptr;
    HWND heading_ = nullptr;
    HWND eventLabel_ = nullptr;
    HWND eventList_ = nullptr;
    int newEvents_ = 0; // of the selected printer, not shown yet
    HWND progress_ = nullptr;
    HWND printButton_ = nullptr;
    HWND cancelButton_ = nullptr;
    HWND refreshButton_ = nullptr;
    HWND statusBar_ = nullptr;
    HWND focus_ = nullptr; // who had the focus when the window was left
    HFONT font_ = nullptr;
    HFONT boldFont_ = nullptr;
    UINT resolution_ = 96;

    std::vector<Printer> printers_; // in the order of the list
    std::vector<Printer> previousPrinters_;
    uint16_t previousHandle_ = 0;
    uint16_t jobHandle_ = 0;
    bool isJobOver_ = true;
    bool isSearching_ = false;
    bool isPrinting_ = false;
    bool isClosing_ = false;
    std::unique_ptr<PrinterService> service_;
};
