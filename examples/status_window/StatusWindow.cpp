#include "StatusWindow.h"

#include "Texts.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr size_t mostEventsKept = 500;
constexpr const wchar_t *windowClassName = L"KalStatusWindow";
constexpr UINT messageEventsArrived = messageNews + 1; // from the window to itself; it carries nothing
constexpr UINT_PTR closeTimer = 1;
constexpr UINT longestCloseMs = 5000;

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
        if (wParam != SIZE_MINIMIZED) {
            layOut();
        }
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
        return onNotify(*reinterpret_cast<NMHDR *>(lParam));
    case WM_CLOSE:
        onClose();
        return 0;
    case WM_DESTROY:
        DeleteObject(font_);
        DeleteObject(boldFont_);
        PostQuitMessage(0);
        return 0;

    case WM_TIMER: // the time to close is over
        if (isClosing_) {
            PrinterService::endProcess();
        }
        return 0;

    case messageNews:
        takeNews();
        return 0;
    case messageEventsArrived:
        onEventsArrived();
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
        setState(handle, PrinterState{value});
        addEvent(*printer, {localTime(), L"Printer state", stateName(PrinterState{value})});
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

void StatusWindow::setState(uint16_t handle, PrinterState state) {
    if (Printer *const printer = findPrinter(handle)) {
        printer->state = state;
        const auto row = static_cast<int>(printer - printers_.data());
        showState(row);
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
        PostMessageW(window_, messageEventsArrived, 0, 0);
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

/// The message that announces news may come from anywhere, so it is only a reason to look.
void StatusWindow::takeNews() {
    if (service_ == nullptr) {
        return;
    }
    std::deque<News> arrived = service_->takeNews();
    for (News &news : arrived) {
        std::visit([this](auto &each) { onNews(each); }, news);
    }
}

void StatusWindow::onNews(const news::SearchBegins &) {
    if (const Printer *const printer = selectedPrinter()) {
        previousHandle_ = printer->handle;
    }
    previousPrinters_ = std::exchange(printers_, {});
    ListView_DeleteAllItems(printerList_);
    isSearching_ = true;
    setStatus(L"Looking for printers...");
    showSelected();
}

void StatusWindow::onNews(news::PrinterFound &found) {
    Printer &printer = found.printer;
    for (Printer &previous : previousPrinters_) {
        if (previous.handle == printer.handle) {
            printer.events = std::move(previous.events);
        }
    }
    const bool isCpd = printer.deviceClass == KAL_DEVICE_CLASS_CPD;
    const auto row = static_cast<int>(printers_.size());
    addRow(printerList_, row,
           {printer.port, connectionName(printer.portType), handleText(printer.handle),
            isCpd ? L"CpdPrinter" : L"BpdPrinter"});
    printers_.push_back(std::move(printer));
    showState(row);
    fitColumns(printerList_, printerColumns);
}

void StatusWindow::onNews(const news::StateChanged &change) {
    const Printer *const printer = findPrinter(change.handle);
    if (printer != nullptr && printer->state == PrinterState::unknown) { // a message that came first is newer
        setState(change.handle, change.state);
    }
}

void StatusWindow::onNews(const news::SearchEnds &end) {
    isSearching_ = false;
    previousPrinters_.clear();
    const Printer *const previous = findPrinter(previousHandle_);
    const auto row = previous ? static_cast<int>(previous - printers_.data()) : 0;
    ListView_SetItemState(printerList_, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    if (end.result != KAL_OKAY) {
        setStatus(L"The printers cannot be listed: " + resultText(end.result) + L".");
    } else if (!end.isServiceReachable) {
        setStatus(L"The printer service cannot be reached. Refresh to try again.");
    } else {
        setStatus(printers_.size() == 1 ? L"1 printer found."
                                        : std::to_wstring(printers_.size()) + L" printers found.");
    }
    showSelected();
}

void StatusWindow::onNews(const news::RegistrationRefused &) {
    setStatus(L"There is no printer service to register with on this machine.");
}

void StatusWindow::onNews(const news::Progress &progress) {
    SendMessageW(progress_, PBM_SETPOS, progress.sent * progressSteps / progress.total, 0);
}

void StatusWindow::onNews(const news::PrintEnds &end) {
    isPrinting_ = false;
    switch (end.outcome) {
    case PrintOutcome::printed:
        // The service has all of it. The paper comes later: WM_KAL_ENDOFJOB tells when, and may be here before us.
        setStatus(isJobOver_ ? L"The test page is printed." : L"The test page is sent; the printer is at work.");
        break;
    case PrintOutcome::cancelled:
        setStatus(L"The test page was cancelled.");
        SendMessageW(progress_, PBM_SETPOS, 0, 0);
        break;
    case PrintOutcome::failed:
        setStatus(L"The test page was not printed: " + resultText(end.result) + L".");
        SendMessageW(progress_, PBM_SETSTATE, PBST_ERROR, 0);
        break;
    }
    enableControls();
}

void StatusWindow::onNews(const news::Stopped &) {
    service_.reset();
    DestroyWindow(window_);
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

LRESULT StatusWindow::onNotify(NMHDR &notification) {
    if (notification.idFrom == IdPrinterList && notification.code == LVN_ITEMCHANGED) {
        const auto &change = reinterpret_cast<const NMLISTVIEW &>(notification);
        if (((change.uOldState ^ change.uNewState) & LVIS_SELECTED) != 0) {
            showSelected();
        }
    }
    if (notification.idFrom == IdPrinterList && notification.code == NM_CUSTOMDRAW) {
        return colourState(reinterpret_cast<NMLVCUSTOMDRAW &>(notification));
    }
    if (notification.idFrom == IdEventList && notification.code == LVN_GETDISPINFOW) {
        tellEvent(reinterpret_cast<const NMLVDISPINFOW &>(notification).item);
    }
    return 0;
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

/// The window disappears when the service thread has released everything; until then it can be seen and moved. A
/// service that does not respond must not keep it: the process ends after a time, or when the user closes the window
/// again.
void StatusWindow::onClose() {
    if (isClosing_) {
        PrinterService::endProcess();
    }
    setStatus(L"Closing: waiting for the printer service. Close again to end at once.");
    isClosing_ = true;
    enableControls();
    SetTimer(window_, closeTimer, longestCloseMs, nullptr);
    service_->stop();
}
