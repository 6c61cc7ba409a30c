#include "StatusWindow.h"

#include "StateIcons.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr SIZE firstSize = {780, 560}; // at 96 dpi, like every number of the layout
constexpr SIZE smallestSize = {560, 420};
constexpr int leastRestWidth = 110; // of a list's last column
constexpr int controlCount = 9;

} // namespace

const StatusWindow::Column StatusWindow::printerColumns[] = {
    {L"Port", 190}, {L"Connection", 150}, {L"Handle", 80}, {L"Kind", 110}, {L"State", 0}};
const StatusWindow::Column StatusWindow::eventColumns[] = {{L"Time", 80}, {L"Message", 170}, {L"Details", 0}};

int StatusWindow::scaled(int length) const {
    return MulDiv(length, static_cast<int>(resolution_), 96);
}

SIZE StatusWindow::leastSize() const {
    return {scaled(smallestSize.cx), scaled(smallestSize.cy)};
}

void StatusWindow::onCreate() {
    auto *const instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(window_, GWLP_HINSTANCE));
    const auto create = [&](const wchar_t *className, const wchar_t *text, DWORD style, int id, DWORD extended = 0) {
        return CreateWindowExW(extended, className, text, WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | style, 0, 0, 0, 0,
                               window_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), instance, nullptr);
    };
    // In the order of the Tab key. A label stands right before the list that its underlined letter leads to.
    constexpr DWORD list = WS_TABSTOP | LVS_REPORT | LVS_SHOWSELALWAYS | LVS_SINGLESEL | LVS_NOSORTHEADER;
    printerLabel_ = create(WC_STATICW, L"&Printers", SS_LEFT, IdOther);
    printerList_ = create(WC_LISTVIEWW, L"Printers", list, IdPrinterList, WS_EX_CLIENTEDGE);
    heading_ = create(WC_STATICW, L"", SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS, IdOther);
    eventLabel_ = create(WC_STATICW, L"Recent &messages", SS_LEFT, IdOther);
    // Asks for the texts that it draws instead of keeping them.
    eventList_ = create(WC_LISTVIEWW, L"Messages", list | LVS_OWNERDATA, IdEventList, WS_EX_CLIENTEDGE);
    progress_ = create(PROGRESS_CLASSW, L"Progress of the test page", PBS_SMOOTH, IdOther);
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

void StatusWindow::addColumns(HWND list, std::span<const Column> columns) {
    constexpr DWORD style = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP;
    ListView_SetExtendedListViewStyle(list, style);
    for (int index = 0; const Column &column : columns) {
        LVCOLUMNW inserted = {};
        inserted.mask = LVCF_TEXT;
        inserted.pszText = const_cast<wchar_t *>(column.title); // read only, by its contract
        SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(index++), reinterpret_cast<LPARAM>(&inserted));
    }
}

/// Dots per inch of the monitor that the window is on. Looked up by name: systems before Windows 10 lack it.
UINT StatusWindow::windowResolution() const {
    using GetDpiForWindowFunction = UINT(WINAPI *)(HWND);
    const auto function = reinterpret_cast<GetDpiForWindowFunction>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
    return function != nullptr ? function(window_) : systemResolution();
}

UINT StatusWindow::systemResolution() {
    const HDC screen = GetDC(nullptr);
    const int resolution = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return static_cast<UINT>(resolution);
}

void StatusWindow::onResolutionChanged(UINT resolution, const RECT &place) {
    setResolution(resolution);
    SetWindowPos(window_, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    layOut();
}

/// The system's own message font, in this resolution, for all controls.
void StatusWindow::setResolution(UINT resolution) {
    resolution_ = resolution;
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    LOGFONTW &font = metrics.lfMessageFont;
    font.lfHeight = MulDiv(font.lfHeight, static_cast<int>(resolution), static_cast<int>(systemResolution()));
    // A list's rows are as high as its images: an empty one gives the text of the messages room.
    ImageList_Destroy(ListView_SetImageList(printerList_, makeStateIcons(scaled(20)), LVSIL_SMALL));
    ImageList_Destroy(ListView_SetImageList(eventList_, ImageList_Create(1, scaled(20), ILC_COLOR, 1, 0), LVSIL_SMALL));
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
    for (const HWND list : {printerList_, eventList_}) {
        SetWindowLongPtrW(list, GWLP_USERDATA, 0); // its columns do not fit the new resolution
    }
}

/// Size of a control's text in its own font, the underlined letter's mark not counted.
SIZE StatusWindow::textSize(HWND control) {
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

/// Places all controls at once: one by one, each would be drawn where its neighbour still is.
void StatusWindow::layOut() {
    HDWP places = BeginDeferWindowPos(controlCount);
    const auto move = [&](HWND control, int x, int y, int width, int height) {
        if (places != nullptr) {
            // Nothing that was drawn before is copied to the new place: it was drawn for another size.
            places = DeferWindowPos(places, control, nullptr, x, y, std::max(width, 0), std::max(height, 0),
                                    SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
        }
    };
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
        move(control, left, top, right - left, height);
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
        move(button, end - width, top, width, buttonHeight);
        end -= width + gap;
    }
    const int barHeight = scaled(14);
    move(progress_, left, top + (buttonHeight - barHeight) / 2, end - left, barHeight);
    if (places != nullptr) {
        EndDeferWindowPos(places);
    }
    fitColumns(printerList_, printerColumns);
    fitColumns(eventList_, eventColumns);
    // The window does not draw over its controls, so each control is invalidated too.
    RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

/// Fills the list's width with its columns. In a narrow list all columns shrink, so a horizontal scroll bar is not
/// needed. The vertical one takes width when the rows need it: call this after the rows have changed, too.
void StatusWindow::fitColumns(HWND list, std::span<const Column> columns) const {
    const auto last = static_cast<int>(columns.size()) - 1;
    int wanted = scaled(leastRestWidth);
    for (const Column &column : columns) {
        wanted += scaled(column.width);
    }
    RECT client = {};
    constexpr int mostRounds = 3; // a scroll bar that disappears makes the list wider
    for (int round = 0; round < mostRounds; ++round) {
        const LONG before = client.right;
        GetClientRect(list, &client);
        // The list's own number is the width that its columns fill. Columns that the user has moved stay until then.
        if (client.right == before || client.right == GetWindowLongPtrW(list, GWLP_USERDATA)) {
            break;
        }
        int rest = client.right;
        ListView_SetColumnWidth(list, last, 0); // room for the others: no scroll bar appears in between
        for (int index = 0; index < last; ++index) {
            const int full = scaled(columns[static_cast<size_t>(index)].width);
            const int width = client.right < wanted ? MulDiv(full, client.right, wanted) : full;
            ListView_SetColumnWidth(list, index, width);
            rest -= width;
        }
        ListView_SetColumnWidth(list, last, rest);
        SetWindowLongPtrW(list, GWLP_USERDATA, client.right);
    }
}
