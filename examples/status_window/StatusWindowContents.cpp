#include "StatusWindow.h"

#include "StateIcons.h"
#include "Texts.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int stateColumn = 4;

bool isHighContrast() {
    HIGHCONTRASTW contrast = {};
    contrast.cbSize = sizeof contrast;
    SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0);
    return (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

} // namespace

int StatusWindow::selectedRow() const {
    return ListView_GetNextItem(printerList_, -1, LVNI_SELECTED);
}

Printer *StatusWindow::selectedPrinter() {
    const auto row = static_cast<size_t>(selectedRow());
    return row < printers_.size() ? &printers_[row] : nullptr;
}

Printer *StatusWindow::findPrinter(uint16_t handle) {
    const auto position = std::ranges::find(printers_, handle, &Printer::handle);
    return position != printers_.end() ? &*position : nullptr;
}

void StatusWindow::setCell(HWND list, int row, int column, const std::wstring &text) {
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = const_cast<wchar_t *>(text.c_str()); // read only, by its contract
    SendMessageW(list, LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

void StatusWindow::addRow(HWND list, int row, std::initializer_list<std::wstring> cells) {
    LVITEMW item = {};
    item.iItem = row;
    SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    for (int column = 0; const std::wstring &cell : cells) {
        setCell(list, row, column++, cell);
    }
}

void StatusWindow::showState(int row) {
    const PrinterState state = printers_[static_cast<size_t>(row)].state;
    LVITEMW item = {};
    item.mask = LVIF_IMAGE;
    item.iItem = row;
    item.iImage = stateIcon(state);
    SendMessageW(printerList_, LVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    setCell(printerList_, row, stateColumn, stateName(state));
}

/// Gives the name of a state its colour, unless the row is selected or the user has chosen the colours for contrast.
LRESULT StatusWindow::colourState(NMLVCUSTOMDRAW &cell) const {
    switch (cell.nmcd.dwDrawStage) {
    case CDDS_PREPAINT:
        return isHighContrast() ? CDRF_DODEFAULT : CDRF_NOTIFYITEMDRAW;
    case CDDS_ITEMPREPAINT:
        return CDRF_NOTIFYSUBITEMDRAW;
    case CDDS_ITEMPREPAINT | CDDS_SUBITEM: {
        const size_t row = cell.nmcd.dwItemSpec;
        const bool isSelected = row == static_cast<size_t>(selectedRow());
        if (row < printers_.size() && !isSelected) {
            cell.clrText =
                cell.iSubItem == stateColumn ? stateColour(printers_[row].state) : GetSysColor(COLOR_WINDOWTEXT);
        }
        return CDRF_DODEFAULT;
    }
    default:
        return CDRF_DODEFAULT;
    }
}

/// Has the messages of the selected printer drawn anew.
void StatusWindow::showEvents() {
    const Printer *const printer = selectedPrinter();
    ListView_SetItemCountEx(eventList_, printer ? static_cast<int>(printer->events.size()) : 0, LVSICF_NOSCROLL);
    fitColumns(eventList_, eventColumns);
}

void StatusWindow::showHeading() {
    const Printer *const printer = selectedPrinter();
    SetWindowTextW(heading_,
                   printer ? (printer->port + L": " + stateName(printer->state)).c_str() : L"No printer is selected");
}

void StatusWindow::showSelected() {
    showHeading();
    newEvents_ = 0;
    ListView_SetItemState(eventList_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    showEvents();
    enableControls();
}

void StatusWindow::setStatus(const std::wstring &text) const {
    if (!isClosing_) { // until the window disappears, the last words are those of the close
        SetWindowTextW(statusBar_, text.c_str());
    }
}

/// A button that goes grey with the focus on it would leave the keyboard without a control: the focus moves on.
void StatusWindow::enableControls() {
    const HWND focused = GetFocus();
    for (const HWND button : {printButton_, cancelButton_, refreshButton_}) {
        EnableWindow(button, isCommandEnabled(GetDlgCtrlID(button)) ? TRUE : FALSE);
    }
    if (focused == printButton_ || focused == cancelButton_ || focused == refreshButton_) {
        for (const HWND next : {focused, focused == printButton_ ? cancelButton_ : printButton_, printerList_}) {
            if (IsWindowEnabled(next)) {
                SetFocus(next);
                break;
            }
        }
    }
}
