// A status window for printers: shows the printers found, their state and what they report, and prints a test page.
//
// It is meant to be copied. The life of an application with the library stands in one function, from registration to
// unregistration: PrinterService::run(). The messages that the printers' news arrive in are taken apart in
// StatusWindow::onPrinterMessage().
//
// Two threads share the work. The window's thread shows things and never waits. The service thread makes every call
// that may wait for the service, one after the other, and posts what came of it; so no two calls get in each other's
// way, and the last one, the unregistration, cannot overtake any. Exports may be called from any thread: this is not
// needed for the library's sake, it is what keeps the window alive while a printer is slow.
#ifndef UNICODE
#define UNICODE // before <windows.h>: its names mean the wide functions
#endif

#include "kal.h"

#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <deque>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

// ------------------------------------------------------------------------------------------------- what is known

struct PrinterEvent {
    std::wstring time;
    std::wstring what;
    std::wstring details;
};

struct Printer {
    std::uint16_t handle = 0;
    std::uint16_t deviceClass = 0;
    std::uint32_t portType = 0;
    std::wstring port;
    std::wstring state = L"Unknown";
    std::deque<PrinterEvent> events; // the newest first
};

constexpr std::size_t mostEventsKept = 500;

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

std::wstring connectionName(std::uint32_t portType) {
    switch (portType) {
    case NETTYPE_IP:
        return L"Network (IPv4)";
    case NETTYPE_RHOA:
        return L"Network (host-based)";
    case NETTYPEUSB:
        return L"USB";
    case NETTYPE_LOCAL:
        return L"Parallel port";
    default:
        return L"Other";
    }
}

std::wstring stateName(std::uint16_t state) {
    switch (state) {
    case 0:
        return L"Idle";
    case 1:
        return L"Printing";
    case 3:
        return L"Error";
    default:
        return L"State " + std::to_wstring(state);
    }
}

/// What a result means to the person in front of the window. KAL_FAIL is positive and the others are negative: compare
/// with the names, never with 0 by "less than".
std::wstring resultText(std::int32_t result) {
    switch (result) {
    case KAL_OKAY:
        return L"success";
    case KAL_FAIL:
        return L"the service reports a failure";
    case DEVERR_INVHANDLE:
        return L"the service does not know this printer any more";
    case DEVERR_CONNECT:
        return L"the printer cannot be reached";
    case DEVERR_PROTOCOL:
        return L"the printer does not take this data";
    case KAL_PRNBUSY:
        return L"the printer is busy";
    default:
        return L"result " + std::to_wstring(result);
    }
}

// ------------------------------------------------------------------------------------------------- small things

/// The library's texts are in the system's code page.
std::wstring toWide(const char *text) {
    const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (size <= 0) {
        return {};
    }
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), size);
    wide.pop_back();
    return wide;
}

std::wstring hexadecimal(std::span<const std::uint8_t> bytes) {
    std::wstring text;
    for (const std::uint8_t byte : bytes) {
        constexpr const wchar_t *digits = L"0123456789ABCDEF";
        if (!text.empty()) {
            text += L' ';
        }
        text += {digits[byte >> 4], digits[byte & 15]};
    }
    return text;
}

std::wstring handleText(std::uint16_t handle) {
    wchar_t text[8];
    std::swprintf(text, std::size(text), L"0x%04X", static_cast<unsigned>(handle));
    return text;
}

std::wstring localTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    wchar_t text[16];
    std::swprintf(text, std::size(text), L"%02u:%02u:%02u", static_cast<unsigned>(now.wHour),
                  static_cast<unsigned>(now.wMinute), static_cast<unsigned>(now.wSecond));
    return text;
}

// What is posted to the window, by the service thread but for one. Above WM_APP, clear of the library's messages and of
// the controls'.
enum OwnMessage : UINT {
    MessageSearchBegins = WM_APP, // nothing
    MessagePrinterFound,          // lParam: Printer, the receiver's
    MessagePrinterState,          // wParam: handle; lParam: std::wstring, the receiver's
    MessageSearchEnds,            // lParam: std::int32_t result
    MessageRefused,               // nothing: there is no service to register with
    MessageEventsArrived,         // nothing; from the window to itself
    MessageProgress,              // wParam: bytes sent; lParam: bytes in all
    MessagePrintEnds,             // wParam: PrintOutcome; lParam: std::int32_t result
    MessageStopped,               // nothing: all is given back, the last message of the service thread
};

enum class PrintOutcome : WPARAM { printed, failed, cancelled };

/// Hands an object over to the window's thread; it stays here when there is no room in the queue.
template <typename Content>
void postContent(HWND window, UINT message, WPARAM wParam, std::unique_ptr<Content> content) {
    if (PostMessageW(window, message, wParam, reinterpret_cast<LPARAM>(content.get()))) {
        static_cast<void>(content.release());
    }
}

template <typename Content>
std::unique_ptr<Content> takeContent(LPARAM lParam) {
    return std::unique_ptr<Content>(reinterpret_cast<Content *>(lParam));
}

// ------------------------------------------------------------------------------------------------- the test page

/// A page in PostScript: a frame, a heading and a grey ramp, whose 128 KiB make sending worth watching. Put here what
/// your printers understand; the library passes any document on as it is.
std::string testPage(const Printer &printer) {
    std::string port;
    for (const wchar_t character : printer.port) {
        const bool isPlain = character >= L' ' && character <= L'~' && std::wcschr(L"()\\", character) == nullptr;
        port += isPlain ? static_cast<char>(character) : '?';
    }
    std::string page = "%!PS-Adobe-3.0\n"
                       "%%Title: Test page\n"
                       "%%Pages: 1\n"
                       "%%EndComments\n"
                       "%%Page: 1 1\n"
                       "36 36 523 770 rectstroke\n"
                       "/Helvetica-Bold findfont 28 scalefont setfont 72 730 moveto (Test page) show\n"
                       "/Helvetica findfont 14 scalefont setfont 72 700 moveto (Printer: " +
                       port +
                       ") show\n"
                       "gsave 72 200 translate 451 451 scale\n"
                       "256 256 8 [256 0 0 -256 0 256] {currentfile 256 string readhexstring pop} image\n";
    constexpr const char *digits = "0123456789abcdef";
    for (unsigned row = 0; row < 256; ++row) {
        for (unsigned column = 0; column < 256; ++column) {
            const unsigned grey = (column + row) / 2 * 2 & 0xFF;
            page += digits[grey >> 4];
            page += digits[grey & 15];
        }
        page += '\n';
    }
    return page + "grestore\nshowpage\n%%EOF\n";
}

// ------------------------------------------------------------------------------------------- the service thread

/// What KalEnumPrinters has found. Its callback gets no argument of ours and may come on a thread of the service, so
/// the place to collect in is the process's.
std::mutex foundLock; // guards found
std::vector<Printer> found;

void collectPrinter(const PortInfoRecord *record) {
    Printer printer; // a copy: the record is valid during this call only
    printer.handle = record->handle;
    printer.deviceClass = record->deviceClass;
    printer.portType = record->portType;
    // The second name: unlike the first it is never cut short, and goes on behind the record when it is long.
    printer.port = toWide(reinterpret_cast<const char *>(record) + KAL_SECOND_NAME_OFFSET);
    const std::lock_guard guard(foundLock);
    found.push_back(std::move(printer));
}

class PrinterService {
  public:
    explicit PrinterService(HWND window) : window_(window), thread_([this] { run(); }) {}

    /// After MessageStopped: before that the thread still needs the window.
    ~PrinterService() { thread_.join(); }

    PrinterService(const PrinterService &) = delete;
    PrinterService &operator=(const PrinterService &) = delete;

    void findPrinters() {
        post([this] { releasePrinters(), capturePrinters(); });
    }

    void printTestPage(const Printer &printer) {
        isCancelWanted_ = false;
        post([this, printer] { print(printer); });
    }

    void cancelPrint() { isCancelWanted_ = true; }

    /// Ends the thread as soon as it has given everything back; a job that is being sent is cancelled.
    void stop() {
        cancelPrint();
        post(nullptr);
    }

  private:
    /// The life of an application with the library, from its first call to its last.
    void run() {
        // Register. KalRegisterApp would do as well, but always answers 1; this one, with no name for "this machine",
        // also tells when there is nothing to call. After a refusal no other export may be called, unregistration
        // included.
        if (KalRegisterWithRpcServer(nullptr) != 1) {
            PostMessageW(window_, MessageRefused, 0, 0);
            while (nextTask()) {
            }
        } else {
            capturePrinters();
            while (const auto task = nextTask()) {
                task();
            }
            // Give back what was captured, then the registration. This is the last call: from here on an export would
            // raise a C++ exception. The window has stopped asking for alerts before it told us to stop.
            releasePrinters();
            KalUnregisterApp(0);
        }
        PostMessageW(window_, MessageStopped, 0, 0);
    }

    void capturePrinters() {
        PostMessageW(window_, MessageSearchBegins, 0, 0);
        {
            const std::lock_guard guard(foundLock);
            found.clear();
        }
        // Find. The answer KAL_OKAY means that the service was asked; each printer has been reported when it comes.
        const std::int32_t result = KalEnumPrinters(0, NETTYPE_IP | NETTYPEUSB | NETTYPE_LOCAL, collectPrinter);
        std::vector<Printer> printers;
        {
            const std::lock_guard guard(foundLock);
            printers.swap(found);
        }
        for (const Printer &printer : printers) {
            // Before the capture, so that the window knows the printer when its first message arrives.
            postContent(window_, MessagePrinterFound, 0, std::make_unique<Printer>(printer));
            capture(printer);
        }
        PostMessageW(window_, MessageSearchEnds, 0, result);
    }

    void capture(const Printer &printer) {
        // Capture: opens the printer and has its alerts posted to the window, which is the process's one window for
        // all printers. A CpdPrinter's alerts are asked for by one bit, that shuts out all others when it is set.
        constexpr std::uint32_t alertsOfCpdPrinter = 0x400000;
        constexpr std::uint32_t alertsOfBpdPrinter = ~alertsOfCpdPrinter;
        const std::uint32_t mask =
            printer.deviceClass == KAL_DEVICE_CLASS_CPD ? alertsOfCpdPrinter : alertsOfBpdPrinter;
        const std::int32_t result = KalCaptureAlerts(0, printer.handle, &mask, window_);
        if (result != KAL_OKAY) {
            postState(printer, result == DEVERR_INVHANDLE ? L"Not reachable" : L"No alerts");
            return;
        }
        captured_.push_back(printer.handle);

        // Notifications: state changes and the true end of jobs. Mode 2 opens the printer once more. When it fails the
        // window merely hears less; what it leaves open is closed at the release.
        KalSetJobControlMode(0, printer.handle, 2);

        // Messages tell of changes only: the state to begin with is asked for, and after the registration, so that a
        // change in between is not lost.
        KalPrinterStatusRecord status = {};
        std::uint32_t needed = 0;
        if (KalQueryPrinterStatus(0, printer.handle, 0, &status, sizeof status, &needed) == KAL_OKAY) {
            postState(printer, stateName(status.isPrinting != 0 ? 1 : 0));
        }
    }

    void releasePrinters() {
        for (const std::uint16_t handle : captured_) {
            // Release: ends alerts and notifications and closes for both, so mode 1 of KalSetJobControlMode is not
            // called any more. When notifications could not be had, the open of mode 2 may still be there; nobody else
            // has this printer open now, so whatever is left is ours to close.
            KalReleaseAlerts(0, handle);
            while (KalClose(0, handle) == KAL_OKAY) {
            }
        }
        captured_.clear();
    }

    void print(const Printer &printer) {
        std::int32_t result = KalOpen(0, printer.handle, 0); // counted: the capture's own open stays untouched
        auto outcome = PrintOutcome::failed;
        if (result == KAL_OKAY) {
            result = KalStartDoc(printer.handle, printer.portType, "Test page");
            if (result == KAL_OKAY) {
                result = sendDocument(printer, testPage(printer));
                if (result == KAL_OKAY && !isCancelWanted_) {
                    result = KalEndDoc(printer.handle, printer.portType);
                    outcome = result == KAL_OKAY ? PrintOutcome::printed : PrintOutcome::failed;
                }
                if (outcome != PrintOutcome::printed) {
                    KalCancelJob(0, printer.handle); // half a page must not come out of the printer
                    outcome = result == KAL_OKAY ? PrintOutcome::cancelled : PrintOutcome::failed;
                }
            }
            KalClose(0, printer.handle);
        }
        PostMessageW(window_, MessagePrintEnds, static_cast<WPARAM>(outcome), result);
    }

    /// Sends everything unless it fails or is to be cancelled.
    std::int32_t sendDocument(const Printer &printer, std::string_view document) {
        constexpr std::size_t chunkSize = 4096; // small, for a lively bar; a large document wants 64 KiB and more
        constexpr int mostFutileWrites = 5;
        constexpr DWORD pauseMs = 200;
        const std::size_t total = document.size();
        int futileWrites = 0;
        while (!document.empty() && !isCancelWanted_) {
            const auto offered = static_cast<std::uint32_t>(std::min(document.size(), chunkSize));
            std::uint32_t count = offered; // in: bytes offered; out: bytes taken, to be believed with KAL_OKAY only
            const std::int32_t result = KalWrite(0, printer.handle, printer.portType, document.data(), &count);
            const std::uint32_t taken = result == KAL_OKAY ? std::min(count, offered) : 0;
            if (taken == 0) {
                // While the service's buffer is full KalWrite waits two seconds and answers KAL_FAIL, as it does for
                // other failures: offered again a few times, then given up. Other results are final.
                const bool isFinal = result != KAL_OKAY && result != KAL_FAIL;
                if (isFinal || ++futileWrites == mostFutileWrites) {
                    return isFinal ? result : KAL_FAIL;
                }
                Sleep(pauseMs);
                continue;
            }
            futileWrites = 0;
            document.remove_prefix(taken); // fewer than offered is no failure: the rest goes with the next call
            PostMessageW(window_, MessageProgress, total - document.size(), static_cast<LPARAM>(total));
        }
        return KAL_OKAY;
    }

    void postState(const Printer &printer, std::wstring state) {
        postContent(window_, MessagePrinterState, printer.handle, std::make_unique<std::wstring>(std::move(state)));
    }

    void post(std::function<void()> task) {
        {
            const std::lock_guard guard(taskLock_);
            tasks_.push_back(std::move(task));
        }
        taskArrived_.notify_one();
    }

    /// Waits for something to do; an empty function means to stop.
    std::function<void()> nextTask() {
        std::unique_lock guard(taskLock_);
        taskArrived_.wait(guard, [this] { return !tasks_.empty(); });
        auto task = std::move(tasks_.front());
        tasks_.pop_front();
        return task;
    }

    const HWND window_;
    std::vector<std::uint16_t> captured_; // by the service thread alone
    std::atomic<bool> isCancelWanted_ = false;
    std::mutex taskLock_; // guards tasks_
    std::condition_variable taskArrived_;
    std::deque<std::function<void()>> tasks_;
    std::thread thread_; // the last member: it uses the others
};

// ----------------------------------------------------------------------------------------------------- the window

enum ControlId : int {
    IdPrint = IDOK,      // Enter
    IdCancel = IDCANCEL, // Escape
    IdRefresh = 100,
    IdPrinterList,
    IdEventList,
    IdOther,
};

struct Column {
    const wchar_t *title;
    int width; // at 96 dpi; the last column takes what is left
};

constexpr Column printerColumns[] = {
    {L"Port", 190}, {L"Connection", 150}, {L"Handle", 80}, {L"Kind", 110}, {L"State", 0}};
constexpr Column eventColumns[] = {{L"Time", 80}, {L"Message", 170}, {L"Details", 0}};

constexpr const wchar_t *windowClassName = L"KalStatusWindow";
constexpr SIZE firstSize = {780, 560}; // at 96 dpi, like every number of the layout
constexpr SIZE leastSize = {560, 420};

class StatusWindow {
  public:
    /// @return the exit code of the program
    static int show(HINSTANCE instance, int showCmd) {
        const INITCOMMONCONTROLSEX classes = {sizeof classes,
                                              ICC_LISTVIEW_CLASSES | ICC_PROGRESS_CLASS | ICC_BAR_CLASSES};
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

  private:
    StatusWindow() = default;

    [[nodiscard]] int pumpMessages() const {
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

    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_NCCREATE) {
            auto *const self =
                static_cast<StatusWindow *>(reinterpret_cast<const CREATESTRUCTW *>(lParam)->lpCreateParams);
            self->window_ = window;
            SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
        }
        auto *const self = reinterpret_cast<StatusWindow *>(GetWindowLongPtrW(window, GWLP_USERDATA));
        return self ? self->onMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
    }

    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
        switch (message) {
        case WM_CREATE:
            onCreate();
            return 0;
        case WM_SIZE:
            layOut();
            return 0;
        case WM_GETMINMAXINFO:
            reinterpret_cast<MINMAXINFO *>(lParam)->ptMinTrackSize = {scaled(leastSize.cx), scaled(leastSize.cy)};
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
            setState(static_cast<std::uint16_t>(wParam), *takeContent<std::wstring>(lParam));
            return 0;
        case MessageSearchEnds:
            onSearchEnds(static_cast<std::int32_t>(lParam));
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
            onPrintEnds(static_cast<PrintOutcome>(wParam), static_cast<std::int32_t>(lParam));
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

    // ------------------------------------------------------------------------------------------- printers' messages

    /// Messages of all printers of the process arrive here; which printer it is stands in the low half of wParam.
    void onPrinterMessage(UINT message, std::uint16_t handle, std::uint16_t value) {
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
            addEvent(*printer, {localTime(), row->text, hexadecimal(fetchAlert(value))});
        }
    }

    /// An alert's bytes from its offset 5 on; what they say is a matter of the printer's model. The library keeps the
    /// last 65536 alerts, so there is no hurry; it does not ask the service, so this does not block.
    static std::vector<std::uint8_t> fetchAlert(std::uint16_t alertId) {
        std::vector<std::uint8_t> bytes(64);
        for (;;) {
            auto size = static_cast<std::uint16_t>(bytes.size());
            const std::int32_t result = KalQueryAlerts(0, alertId, 0, 0, bytes.data(), &size);
            const bool isTooSmall = size > bytes.size();
            bytes.resize(result == KAL_OKAY || isTooSmall ? size : 0);
            // Too small a buffer is told by the size that is needed, as the result too; an unknown id by KAL_FAIL with
            // the size as it was. A needed size of 1 looks like KAL_FAIL: the size decides, not the result.
            if (!isTooSmall) {
                return bytes;
            }
        }
    }

    void setState(std::uint16_t handle, const std::wstring &state) {
        if (Printer *const printer = findPrinter(handle)) {
            printer->state = state;
            const auto row = static_cast<int>(printer - printers_.data());
            setCell(printerList_, row, static_cast<int>(std::size(printerColumns)) - 1, state);
            if (row == selectedRow()) {
                showHeading();
            }
        }
    }

    void addEvent(Printer &printer, PrinterEvent event) {
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
    void onEventsArrived() {
        const int marked = ListView_GetNextItem(eventList_, -1, LVNI_SELECTED);
        const int moved = std::exchange(newEvents_, 0);
        showEvents();
        if (marked >= 0) { // the mark stays with its message, which is further down now
            constexpr UINT isMarked = LVIS_SELECTED | LVIS_FOCUSED;
            ListView_SetItemState(eventList_, marked, 0, isMarked);
            ListView_SetItemState(eventList_, marked + moved, isMarked, isMarked);
        }
    }

    // ------------------------------------------------------------------------------------- the service thread's news

    void onSearchBegins() {
        if (const Printer *const printer = selectedPrinter()) {
            previousHandle_ = printer->handle;
        }
        previousPrinters_ = std::exchange(printers_, {});
        ListView_DeleteAllItems(printerList_);
        isSearching_ = true;
        setStatus(L"Looking for printers...");
        showSelected();
    }

    void onPrinterFound(Printer printer) {
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

    void onSearchEnds(std::int32_t result) {
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

    void onPrintEnds(PrintOutcome outcome, std::int32_t result) {
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

    void onEndOfJob(std::uint16_t handle) {
        if (handle == jobHandle_ && !isJobOver_) {
            isJobOver_ = true;
            if (!isPrinting_) {
                setStatus(L"The test page is printed.");
            }
        }
    }

    // ------------------------------------------------------------------------------------------------------- commands

    void onCommand(int id) {
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

    [[nodiscard]] bool isCommandEnabled(int id) {
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

    void onNotify(const NMHDR &notification) {
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
    void tellEvent(const LVITEMW &item) {
        const Printer *const printer = selectedPrinter();
        const auto row = static_cast<std::size_t>(item.iItem);
        if ((item.mask & LVIF_TEXT) == 0 || printer == nullptr || row >= printer->events.size()) {
            return;
        }
        const PrinterEvent &event = printer->events[row];
        const std::wstring *const cells[] = {&event.time, &event.what, &event.details};
        lstrcpynW(item.pszText, cells[item.iSubItem]->c_str(), item.cchTextMax);
    }

    /// The window goes when the service thread has given everything back; until then it can still be seen and moved.
    void onClose() {
        if (!isClosing_) {
            isClosing_ = true;
            setStatus(L"Closing...");
            enableControls();
            service_->stop();
        }
    }

    // ------------------------------------------------------------------------------------------ controls and layout

    void onCreate() {
        auto *const instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(window_, GWLP_HINSTANCE));
        const auto create = [&](const wchar_t *className, const wchar_t *text, DWORD style, int id,
                                DWORD extended = 0) {
            return CreateWindowExW(extended, className, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, window_,
                                   reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), instance, nullptr);
        };
        // In the order of the Tab key. A label stands right before the list that its underlined letter leads to.
        constexpr DWORD list = WS_TABSTOP | LVS_REPORT | LVS_SHOWSELALWAYS | LVS_SINGLESEL | LVS_NOSORTHEADER;
        printerLabel_ = create(WC_STATICW, L"&Printers", SS_LEFT, IdOther);
        printerList_ = create(WC_LISTVIEWW, L"Printers", list, IdPrinterList, WS_EX_CLIENTEDGE);
        heading_ = create(WC_STATICW, L"", SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS, IdOther);
        eventLabel_ = create(WC_STATICW, L"Recent &messages", SS_LEFT, IdOther);
        // Asks for the texts that it draws instead of keeping them.
        eventList_ = create(WC_LISTVIEWW, L"Messages", list | LVS_OWNERDATA, IdEventList, WS_EX_CLIENTEDGE);
        progress_ = create(PROGRESS_CLASSW, L"", PBS_SMOOTH, IdOther);
        printButton_ = create(WC_BUTTONW, L"Print &test page", WS_TABSTOP | BS_DEFPUSHBUTTON, IdPrint);
        cancelButton_ = create(WC_BUTTONW, L"&Cancel", WS_TABSTOP | BS_PUSHBUTTON, IdCancel);
        refreshButton_ = create(WC_BUTTONW, L"&Refresh", WS_TABSTOP | BS_PUSHBUTTON, IdRefresh);
        statusBar_ = create(STATUSCLASSNAMEW, L"", SBARS_SIZEGRIP, IdOther);
        SendMessageW(progress_, PBM_SETRANGE32, 0, progressSteps);
        addColumns(printerList_, printerColumns);
        addColumns(eventList_, eventColumns);

        setResolution(windowResolution());
        SetWindowPos(window_, nullptr, 0, 0, scaled(firstSize.cx), scaled(firstSize.cy), SWP_NOMOVE | SWP_NOZORDER);
        isSearching_ = true;
        enableControls();
        service_ = std::make_unique<PrinterService>(window_);
    }

    static void addColumns(HWND list, std::span<const Column> columns) {
        constexpr DWORD style = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP;
        ListView_SetExtendedListViewStyle(list, style);
        for (int index = 0; const Column &column : columns) {
            LVCOLUMNW inserted = {};
            inserted.mask = LVCF_TEXT;
            inserted.pszText = const_cast<wchar_t *>(column.title); // read only, by its contract
            SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(index++), reinterpret_cast<LPARAM>(&inserted));
        }
    }

    [[nodiscard]] int scaled(int length) const { return MulDiv(length, static_cast<int>(resolution_), 96); }

    /// Dots per inch of the monitor that the window is on. Looked up by name: systems before Windows 10 lack it.
    [[nodiscard]] UINT windowResolution() const {
        using GetDpiForWindowFunction = UINT(WINAPI *)(HWND);
        const auto function = reinterpret_cast<GetDpiForWindowFunction>(
            reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
        return function != nullptr ? function(window_) : systemResolution();
    }

    static UINT systemResolution() {
        const HDC screen = GetDC(nullptr);
        const int resolution = GetDeviceCaps(screen, LOGPIXELSY);
        ReleaseDC(nullptr, screen);
        return static_cast<UINT>(resolution);
    }

    void onResolutionChanged(UINT resolution, const RECT &place) {
        setResolution(resolution);
        SetWindowPos(window_, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                     SWP_NOZORDER | SWP_NOACTIVATE);
        layOut();
    }

    /// The system's own message font, in this resolution, for all controls.
    void setResolution(UINT resolution) {
        resolution_ = resolution;
        NONCLIENTMETRICSW metrics = {};
        metrics.cbSize = sizeof metrics;
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
        LOGFONTW &font = metrics.lfMessageFont;
        font.lfHeight = MulDiv(font.lfHeight, static_cast<int>(resolution), static_cast<int>(systemResolution()));
        // A list's rows are as high as its images: an empty one gives the text room.
        for (const HWND list : {printerList_, eventList_}) {
            ImageList_Destroy(
                ListView_SetImageList(list, ImageList_Create(1, scaled(20), ILC_COLOR, 1, 0), LVSIL_SMALL));
        }
        const HFONT oldFonts[] = {font_, boldFont_};
        font_ = CreateFontIndirectW(&font);
        font.lfWeight = FW_BOLD;
        font.lfHeight = MulDiv(font.lfHeight, 5, 4);
        boldFont_ = CreateFontIndirectW(&font);
        for (HWND child = GetWindow(window_, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
            SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(child == heading_ ? boldFont_ : font_), TRUE);
        }
        for (const HFONT old : oldFonts) {
            DeleteObject(old);
        }
    }

    /// Size of a control's text in its own font, the underlined letter's mark not counted.
    static SIZE textSize(HWND control) {
        wchar_t text[64] = L"";
        GetWindowTextW(control, text, static_cast<int>(std::size(text)));
        const HDC context = GetDC(control);
        const HGDIOBJ before = SelectObject(context, reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)));
        RECT area = {};
        DrawTextW(context, text[0] != L'\0' ? text : L"X", -1, &area, DT_CALCRECT | DT_SINGLELINE);
        SelectObject(context, before);
        ReleaseDC(control, context);
        return {area.right, area.bottom};
    }

    void layOut() {
        SendMessageW(statusBar_, WM_SIZE, 0, 0); // places itself
        RECT client;
        RECT bar;
        GetClientRect(window_, &client);
        GetWindowRect(statusBar_, &bar);
        const int margin = scaled(12);
        const int gap = scaled(8);
        const int left = margin;
        const int right = client.right - margin;
        const int bottom = client.bottom - (bar.bottom - bar.top) - margin;
        const int labelHeight = textSize(printerLabel_).cy;
        const int headingHeight = textSize(heading_).cy;
        const int buttonHeight = labelHeight + scaled(12);
        const int listsHeight =
            bottom - margin - 2 * (labelHeight + scaled(4)) - (headingHeight + 2 * gap) - (buttonHeight + margin);
        const int printersHeight = listsHeight * 2 / 5;

        int top = margin;
        const auto place = [&](HWND control, int height, int space) {
            MoveWindow(control, left, top, std::max(right - left, 0), std::max(height, 0), TRUE);
            top += height + space;
        };
        place(printerLabel_, labelHeight, scaled(4));
        place(printerList_, printersHeight, gap);
        place(heading_, headingHeight, gap);
        place(eventLabel_, labelHeight, scaled(4));
        place(eventList_, listsHeight - printersHeight, margin);

        int end = right; // the last row is filled from its right end
        for (const HWND button : {refreshButton_, cancelButton_, printButton_}) {
            const int width = std::max<int>(textSize(button).cx + scaled(28), scaled(88));
            MoveWindow(button, end - width, top, width, buttonHeight, TRUE);
            end -= width + gap;
        }
        const int barHeight = scaled(14);
        MoveWindow(progress_, left, top + (buttonHeight - barHeight) / 2, std::max(end - left, 0), barHeight, TRUE);
        fitColumns(printerList_, printerColumns);
        fitColumns(eventList_, eventColumns);
        InvalidateRect(window_, nullptr, TRUE);
    }

    void fitColumns(HWND list, std::span<const Column> columns) const {
        RECT client;
        GetClientRect(list, &client);
        int rest = client.right;
        for (int index = 0; const Column &column : columns) {
            const int width = column.width > 0 ? scaled(column.width) : std::max(rest, scaled(80));
            ListView_SetColumnWidth(list, index++, width);
            rest -= width;
        }
    }

    // ---------------------------------------------------------------------------------------------------- what shows

    [[nodiscard]] int selectedRow() const { return ListView_GetNextItem(printerList_, -1, LVNI_SELECTED); }

    [[nodiscard]] Printer *selectedPrinter() {
        const auto row = static_cast<std::size_t>(selectedRow());
        return row < printers_.size() ? &printers_[row] : nullptr;
    }

    [[nodiscard]] Printer *findPrinter(std::uint16_t handle) {
        const auto position = std::ranges::find(printers_, handle, &Printer::handle);
        return position != printers_.end() ? &*position : nullptr;
    }

    static void setCell(HWND list, int row, int column, const std::wstring &text) {
        LVITEMW item = {};
        item.iSubItem = column;
        item.pszText = const_cast<wchar_t *>(text.c_str()); // read only, by its contract
        SendMessageW(list, LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
    }

    static void addRow(HWND list, int row, std::initializer_list<std::wstring> cells) {
        LVITEMW item = {};
        item.iItem = row;
        SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        for (int column = 0; const std::wstring &cell : cells) {
            setCell(list, row, column++, cell);
        }
    }

    /// Has the messages of the selected printer drawn anew.
    void showEvents() {
        const Printer *const printer = selectedPrinter();
        ListView_SetItemCountEx(eventList_, printer ? static_cast<int>(printer->events.size()) : 0, LVSICF_NOSCROLL);
    }

    void showHeading() {
        const Printer *const printer = selectedPrinter();
        SetWindowTextW(heading_,
                       printer ? (printer->port + L": " + printer->state).c_str() : L"No printer is selected");
    }

    void showSelected() {
        showHeading();
        newEvents_ = 0;
        ListView_SetItemState(eventList_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
        showEvents();
        enableControls();
    }

    void setStatus(const std::wstring &text) const { SetWindowTextW(statusBar_, text.c_str()); }

    /// A button that goes grey with the focus on it would leave the keyboard without a control: the focus moves on.
    void enableControls() {
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

    static constexpr int progressSteps = 1000;

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
    std::uint16_t previousHandle_ = 0;
    std::uint16_t jobHandle_ = 0;
    bool isJobOver_ = true;
    bool isSearching_ = false;
    bool isPrinting_ = false;
    bool isClosing_ = false;
    std::unique_ptr<PrinterService> service_;
};

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int showCmd) {
    return StatusWindow::show(instance, showCmd);
}
