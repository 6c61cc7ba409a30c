#include "StatusWindow.h"

#include "Texts.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr size_t mostEventsKept = 500;
constexpr const wchar_t *windowClassName = L"KalStatusWindow";

struct MessageText {
    UINT message;
    const wchar_t *text;
};

// The messages whose high half is an alert id. Their values lie above WM_USER: only a window of an own class may be
// given to KalCaptureAlerts, for a control understands other things by them.
constexpr MessageText alertMessages[] = {
    {WM_KAL_DSA, L"Power-on reset"},
    {WM_KAL_TONERPREDICTION, L"Toner prediction"},
    {WM_KAL_JOBOIRALERTEX, L"Job alert"},
    {WM_KAL_WARNINGSEX, L"Warning"},
    {WM_KAL_CONFIGCHANGEEX, L"Configuration changed"},
    {WM_KAL_CPD_STATUSCHANGE, L"Status changed"},
};

} // namespace

int StatusWindow::show(HINSTANCE instance, int showCmd) {
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_LISTVIEW_CLASSES | ICC_PROGRESS_CLASS | ICC_BAR_CLASSES};
    InitCommonControlsEx(&classes);
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = &StatusWindow::procedure;
    windowClass.hInstance = instance;
    windowClass.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    windowClass.lpszClassName = windowClassName;
    StatusWindow self;
    if (RegisterClassExW(&windowClass) == 0 ||
        CreateWindowExW(0, windowClassName, L"Printer status", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                        CW_USEDEFAULT, 0, 0, nullptr, nullptr, instance, &self) == nullptr) {
        return 1;
    }
    ShowWindow(self.window_, showCmd);
    return self.pumpMessages();
}

int StatusWindow::pumpMessages() const {
    ACCEL keys[] = {{FVIRTKEY, VK_F5, IdRefresh}, {FVIRTKEY | FCONTROL, 'P', IdPrint}};
    const HACCEL accelerators = CreateAcceleratorTableW(keys, static_cast<int>(std::size(keys)));
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        // IsDialogMessage gives Tab, the underlined letters, Enter and Escape their meaning. Messages posted to the
        // window itself, the printers' among them, pass through it to DispatchMessage.
        if (!TranslateAcceleratorW(window_, accelerators, &message) && !IsDialogMessageW(window_, &message)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
    DestroyAcceleratorTable(accelerators);
    return 0;
}

LRESULT CALLBACK StatusWindow::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto *const self = static_cast<StatusWindow *>(reinterpret_cast<const CREATESTRUCTW *>(lParam)->lpCreateParams);
        self->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto *const self = reinterpret_cast<StatusWindow *>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self ? self->onMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT StatusWindow::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CREATE:
        onCreate();
        return 0;
    case WM_SIZE:
        layOut();
        return 0;
    case WM_GETMINMAXINFO:
        reinterpret_cast<MINMAXINFO *>(lParam)->ptMinTrackSize = {leastSize().cx, leastSize().cy};
        return 0;
    case WM_DPICHANGED: // moved to a monitor of another resolution; the new place is suggested
        onResolutionChanged(HIWORD(wParam), *reinterpret_cast<const RECT *>(lParam));
        return 0;
    case WM_ACTIVATE: // the focus comes back to the control that had it
        if (LOWORD(wParam) == WA_INACTIVE) {
            focus_ = GetFocus();
        }
        break;
    case WM_SETFOCUS:
        SetFocus(focus_ != nullptr ? focus_ : printerList_);
        return 0;
    case WM_NEXTDLGCTL: // from IsDialogMessage, for an underlined letter of a label; only dialogs know it by
                        // themselves
        SetFocus(LOWORD(lParam) != 0 ? reinterpret_cast<HWND>(wParam)
                                     : GetNextDlgTabItem(window_, GetFocus(), wParam != 0 ? TRUE : FALSE));
        return 0;
    case WM_COMMAND:
        onCommand(LOWORD(wParam));
        return 0;
    case WM_NOTIFY:
        onNotify(*reinterpret_cast<const NMHDR *>(lParam));
        return 0;
    case WM_CLOSE:
        onClose();
        return 0;
    case WM_DESTROY:
        DeleteObject(font_);
        DeleteObject(boldFont_);
        PostQuitMessage(0);
        return 0;

    case MessageSearchBegins:
        onSearchBegins();
        return 0;
    case MessagePrinterFound:
        onPrinterFound(std::move(*takeContent<Printer>(lParam)));
        return 0;
    case MessagePrinterState:
        setState(static_cast<uint16_t>(wParam), *takeContent<std::wstring>(lParam));
        return 0;
    case MessageSearchEnds:
        onSearchEnds(static_cast<int32_t>(lParam));
        return 0;
    case MessageRefused:
        setStatus(L"There is no printer service to register with on this machine.");
        return 0;
    case MessageEventsArrived:
        onEventsArrived();
        return 0;
    case MessageProgress:
        SendMessageW(progress_, PBM_SETPOS, wParam * progressSteps / static_cast<WPARAM>(lParam), 0);
        return 0;
    case MessagePrintEnds:
        onPrintEnds(static_cast<PrintOutcome>(wParam), static_cast<int32_t>(lParam));
        return 0;
    case MessageStopped:
        service_.reset();
        DestroyWindow(window_);
        return 0;

    case WM_KAL_DSA:
    case WM_KAL_TONERPREDICTION:
    case WM_KAL_ENDOFJOB:
    case WM_KAL_PRINTERSTATUS:
    case WM_KAL_JOBOIRALERTEX:
    case WM_KAL_WARNINGSEX:
    case WM_KAL_CONFIGCHANGEEX:
    case WM_KAL_CPD_STATUSCHANGE:
        onPrinterMessage(message, LOWORD(wParam), HIWORD(wParam));
        return 0;
    default:
        break;
    }
    return DefWindowProcW(window_, message, wParam, lParam);
}

/// Messages of all printers of the process arrive here; which printer it is stands in the low half of wParam.
void StatusWindow::onPrinterMessage(UINT message, uint16_t handle, uint16_t value) {
    Printer *const printer = findPrinter(handle);
    if (isClosing_ || printer == nullptr) {
        return; // a closing window must not call the library again: it is being unregistered
    }
    switch (message) {
    case WM_KAL_PRINTERSTATUS:
        setState(handle, stateName(value));
        addEvent(*printer, {localTime(), L"Printer state", stateName(value)});
        break;
    case WM_KAL_ENDOFJOB: // the paper is out, or the service waited long enough: the printer's flag tells
        addEvent(*printer, {localTime(), L"End of job", L"flag " + std::to_wstring(value)});
        onEndOfJob(handle);
        break;
    default:
        const auto *const row = std::ranges::find(alertMessages, message, &MessageText::message);
        addEvent(*printer, {localTime(), row->text, hexadecimal(PrinterService::fetchAlert(value))});
    }
}

void StatusWindow::setState(uint16_t handle, const std::wstring &state) {
    if (Printer *const printer = findPrinter(handle)) {
        printer->state = state;
        const auto row = static_cast<int>(printer - printers_.data());
        setCell(printerList_, row, static_cast<int>(std::size(printerColumns)) - 1, state);
        if (row == selectedRow()) {
            showHeading();
        }
    }
}

void StatusWindow::addEvent(Printer &printer, PrinterEvent event) {
    if (printer.events.size() == mostEventsKept) {
        printer.events.pop_back();
    }
    printer.events.push_front(std::move(event));
    if (&printer == selectedPrinter() && newEvents_++ == 0) {
        PostMessageW(window_, MessageEventsArrived, 0, 0);
    }
}

/// Behind the messages that waited when the first of them arrived: drawing the list takes longer than taking a
/// message in, so a burst of them is drawn at once.
void StatusWindow::onEventsArrived() {
    const int marked = ListView_GetNextItem(eventList_, -1, LVNI_SELECTED);
    const int moved = std::exchange(newEvents_, 0);
    showEvents();
    if (marked >= 0) { // the mark stays with its message, which is further down now
        constexpr UINT isMarked = LVIS_SELECTED | LVIS_FOCUSED;
        ListView_SetItemState(eventList_, marked, 0, isMarked);
        ListView_SetItemState(eventList_, marked + moved, isMarked, isMarked);
    }
}

void StatusWindow::onSearchBegins() {
    if (const Printer *const printer = selectedPrinter()) {
        previousHandle_ = printer->handle;
    }
    previousPrinters_ = std::exchange(printers_, {});
    ListView_DeleteAllItems(printerList_);
    isSearching_ = true;
    setStatus(L"Looking for printers...");
    showSelected();
}

void StatusWindow::onPrinterFound(Printer printer) {
    for (Printer &previous : previousPrinters_) {
        if (previous.handle == printer.handle) {
            printer.events = std::move(previous.events);
        }
    }
    const bool isCpd = printer.deviceClass == KAL_DEVICE_CLASS_CPD;
    addRow(printerList_, static_cast<int>(printers_.size()),
           {printer.port, connectionName(printer.portType), handleText(printer.handle),
            isCpd ? L"CpdPrinter" : L"BpdPrinter", printer.state});
    printers_.push_back(std::move(printer));
}

void StatusWindow::onSearchEnds(int32_t result) {
    isSearching_ = false;
    previousPrinters_.clear();
    const Printer *const previous = findPrinter(previousHandle_);
    const auto row = previous ? static_cast<int>(previous - printers_.data()) : 0;
    ListView_SetItemState(printerList_, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    if (result != KAL_OKAY) {
        setStatus(L"The printers cannot be listed: " + resultText(result) + L".");
    } else {
        setStatus(printers_.size() == 1 ? L"1 printer found."
                                        : std::to_wstring(printers_.size()) + L" printers found.");
    }
    showSelected();
}

void StatusWindow::onPrintEnds(PrintOutcome outcome, int32_t result) {
    isPrinting_ = false;
    switch (outcome) {
    case PrintOutcome::printed:
        // The service has all of it. The paper comes later: WM_KAL_ENDOFJOB tells when, and may be here before us.
        setStatus(isJobOver_ ? L"The test page is printed." : L"The test page is sent; the printer is at work.");
        break;
    case PrintOutcome::cancelled:
        setStatus(L"The test page was cancelled.");
        SendMessageW(progress_, PBM_SETPOS, 0, 0);
        break;
    case PrintOutcome::failed:
        setStatus(L"The test page was not printed: " + resultText(result) + L".");
        SendMessageW(progress_, PBM_SETSTATE, PBST_ERROR, 0);
        break;
    }
    enableControls();
}

void StatusWindow::onEndOfJob(uint16_t handle) {
    if (handle == jobHandle_ && !isJobOver_) {
        isJobOver_ = true;
        if (!isPrinting_) {
            setStatus(L"The test page is printed.");
        }
    }
}

void StatusWindow::onCommand(int id) {
    if (!isCommandEnabled(id)) {
        return; // keys come also while the button is grey
    }
    switch (id) {
    case IdPrint:
        isPrinting_ = true;
        isJobOver_ = false;
        jobHandle_ = selectedPrinter()->handle;
        SendMessageW(progress_, PBM_SETSTATE, PBST_NORMAL, 0);
        SendMessageW(progress_, PBM_SETPOS, 0, 0);
        setStatus(L"Sending a test page to " + selectedPrinter()->port + L"...");
        service_->printTestPage(*selectedPrinter());
        break;
    case IdCancel:
        service_->cancelPrint();
        setStatus(L"Cancelling...");
        break;
    case IdRefresh:
        isSearching_ = true;
        service_->findPrinters();
        break;
    default:
        break;
    }
    enableControls();
}

bool StatusWindow::isCommandEnabled(int id) {
    switch (id) {
    case IdPrint:
        return !isClosing_ && !isPrinting_ && !isSearching_ && selectedPrinter() != nullptr;
    case IdCancel:
        return !isClosing_ && isPrinting_;
    case IdRefresh:
        return !isClosing_ && !isPrinting_ && !isSearching_;
    default:
        return false;
    }
}

void StatusWindow::onNotify(const NMHDR &notification) {
    if (notification.idFrom == IdPrinterList && notification.code == LVN_ITEMCHANGED) {
        const auto &change = reinterpret_cast<const NMLISTVIEW &>(notification);
        if ((change.uOldState ^ change.uNewState) & LVIS_SELECTED) {
            showSelected();
        }
    }
    if (notification.idFrom == IdEventList && notification.code == LVN_GETDISPINFOW) {
        tellEvent(reinterpret_cast<const NMLVDISPINFOW &>(notification).item);
    }
}

/// The text of one cell of the messages.
void StatusWindow::tellEvent(const LVITEMW &item) {
    const Printer *const printer = selectedPrinter();
    const auto row = static_cast<size_t>(item.iItem);
    if ((item.mask & LVIF_TEXT) == 0 || printer == nullptr || row >= printer->events.size()) {
        return;
    }
    const PrinterEvent &event = printer->events[row];
    const std::wstring *const cells[] = {&event.time, &event.what, &event.details};
    lstrcpynW(item.pszText, cells[item.iSubItem]->c_str(), item.cchTextMax);
}

/// The window goes when the service thread has given everything back; until then it can still be seen and moved.
void StatusWindow::onClose() {
    if (!isClosing_) {
        isClosing_ = true;
        setStatus(L"Closing...");
        enableControls();
        service_->stop();
    }
}

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

/// Has the messages of the selected printer drawn anew.
void StatusWindow::showEvents() {
    const Printer *const printer = selectedPrinter();
    ListView_SetItemCountEx(eventList_, printer ? static_cast<int>(printer->events.size()) : 0, LVSICF_NOSCROLL);
}

void StatusWindow::showHeading() {
    const Printer *const printer = selectedPrinter();
    SetWindowTextW(heading_, printer ? (printer->port + L": " + printer->state).c_str() : L"No printer is selected");
}

void StatusWindow::showSelected() {
    showHeading();
    newEvents_ = 0;
    ListView_SetItemState(eventList_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    showEvents();
    enableControls();
}

void StatusWindow::setStatus(const std::wstring &text) const {
    SetWindowTextW(statusBar_, text.c_str());
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
