#include "PrinterService.h"

#include "TestPage.h"
#include "Texts.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

/// What KalEnumPrinters has found. Its callback gets no argument of ours and may come on a thread of the service, so
/// the place to collect in is the process's.
std::mutex foundLock; // guards found
std::vector<Printer> found;

/// Whether the service responds. An enumeration that finds nothing does not show it: KalEnumPrinters returns KAL_OKAY
/// even if the service cannot be reached. An open shows it, of any handle: KAL_FAIL does not speak about the printer.
bool isServiceReachable() {
    constexpr uint16_t anyHandle = 0;
    const int32_t result = KalOpen(0, anyHandle, 0);
    if (result == KAL_OKAY) {
        KalClose(0, anyHandle);
    }
    return result != KAL_FAIL;
}

void collectPrinter(const PortInfoRecord *record) {
    Printer printer; // a copy: the record is valid during this call only
    printer.handle = record->handle;
    printer.deviceClass = record->deviceClass;
    printer.portType = record->portType;
    // The second name is never truncated, unlike the first. A long name continues after the end of the record.
    printer.port = fromUtf8(reinterpret_cast<const char *>(record) + KAL_SECOND_NAME_OFFSET);
    const std::lock_guard guard(foundLock);
    found.push_back(std::move(printer));
}

} // namespace

PrinterService::PrinterService(HWND window) : window_(window), thread_([this] { run(); }) {}

PrinterService::~PrinterService() {
    thread_.join();
}

void PrinterService::findPrinters() {
    post([this] {
        releasePrinters();
        capturePrinters();
    });
}

void PrinterService::printTestPage(const Printer &printer) {
    isCancelWanted_ = false;
    post([this, printer] { print(printer); });
}

void PrinterService::cancelPrint() {
    isCancelWanted_ = true;
}

void PrinterService::stop() {
    isStopWanted_ = true;
    cancelPrint();
    post(nullptr);
}

void PrinterService::endProcess() {
    constexpr UINT exitCodeWithoutRelease = 2;
    TerminateProcess(GetCurrentProcess(), exitCodeWithoutRelease);
    std::abort(); // not reached
}

/// The life of an application with the library, from its first call to its last.
void PrinterService::run() {
    // Register. KalRegisterApp would do as well, but always returns 1. This one, called without a name for "this
    // machine", also reports that there is no binding. After a refusal no other export may be called, not even
    // unregistration.
    if (KalRegisterWithRpcServer(nullptr) != 1) {
        tell(news::RegistrationRefused{});
        while (nextTask()) {
        }
    } else {
        capturePrinters();
        while (const auto task = nextTask()) {
            task();
        }
        // Release what was captured, then the registration. This is the last call: from here on an export would throw a
        // C++ exception. The window stopped asking for alerts before it called stop().
        releasePrinters();
        KalUnregisterApp(0);
    }
    tell(news::Stopped{});
}

void PrinterService::capturePrinters() {
    tell(news::SearchBegins{});
    {
        const std::lock_guard guard(foundLock);
        found.clear();
    }
    // Find. The answer KAL_OKAY means that the service was asked; each printer has been reported when it comes.
    const int32_t result = KalEnumPrinters(0, NETTYPE_IP | NETTYPEUSB | NETTYPE_LOCAL, collectPrinter);
    std::vector<Printer> printers;
    {
        const std::lock_guard guard(foundLock);
        printers.swap(found);
    }
    for (const Printer &printer : printers) {
        if (isStopWanted_) {
            break; // many slow printers must not keep a window that is closed
        }
        // Before the capture, so that the window knows the printer when its first message arrives.
        tell(news::PrinterFound{printer});
        capture(printer);
    }
    tell(news::SearchEnds{result, !printers.empty() || isServiceReachable()});
}

void PrinterService::capture(const Printer &printer) {
    // Capture: opens the printer and has its alerts posted to the window, which is the process's one window for
    // all printers. A CpdPrinter's alerts are asked for by one bit, that shuts out all others when it is set.
    constexpr uint32_t alertsOfCpdPrinter = 0x400000;
    constexpr uint32_t alertsOfBpdPrinter = ~alertsOfCpdPrinter;
    const uint32_t mask = printer.deviceClass == KAL_DEVICE_CLASS_CPD ? alertsOfCpdPrinter : alertsOfBpdPrinter;
    const int32_t result = KalCaptureAlerts(0, printer.handle, &mask, window_);
    if (result != KAL_OKAY) {
        const bool isUnreachable = result == DEVERR_INVHANDLE;
        tell(news::StateChanged{printer.handle,
                                isUnreachable ? PrinterState::unreachable : PrinterState::withoutAlerts});
        return;
    }
    captured_.push_back(printer.handle);

    // Notifications: state changes and the true end of jobs. Mode 2 opens the printer again. If it fails, the window
    // only receives fewer messages. The release closes what it leaves open.
    KalSetJobControlMode(0, printer.handle, 2);

    // Messages report changes only. The first state is queried after the registration, so that a change in between
    // is not lost.
    KalPrinterStatusRecord status = {};
    uint32_t needed = 0;
    if (KalQueryPrinterStatus(0, printer.handle, 0, &status, sizeof status, &needed) == KAL_OKAY) {
        tell(news::StateChanged{printer.handle, status.isPrinting != 0 ? PrinterState::printing : PrinterState::idle});
    }
}

void PrinterService::releasePrinters() {
    for (const uint16_t handle : captured_) {
        // Release: ends alerts and notifications and closes for both, so mode 1 of KalSetJobControlMode is not
        // called any more. When notifications could not be had, the open of mode 2 may still be there; nobody else
        // has this printer open now, so whatever is left is ours to close.
        KalReleaseAlerts(0, handle);
        while (KalClose(0, handle) == KAL_OKAY) {
        }
    }
    captured_.clear();
}

void PrinterService::print(const Printer &printer) {
    int32_t result = KalOpen(0, printer.handle, 0); // counted: the capture's own open stays untouched
    auto outcome = PrintOutcome::failed;
    if (result == KAL_OKAY) {
        result = KalStartDoc(printer.handle, printer.portType, "Test page");
        if (result == KAL_OKAY) {
            result = sendDocument(printer, testPage(printer.port));
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
    tell(news::PrintEnds{outcome, result});
}

int32_t PrinterService::sendDocument(const Printer &printer, std::string_view document) {
    constexpr size_t chunkSize = 4096; // small, for a lively bar; a large document wants 64 KiB and more
    constexpr int mostFutileWrites = 5;
    constexpr DWORD pauseMs = 200;
    const size_t total = document.size();
    int futileWrites = 0;
    while (!document.empty() && !isCancelWanted_) {
        const auto offered = static_cast<uint32_t>(std::min(document.size(), chunkSize));
        uint32_t count = offered; // in: bytes offered; out: bytes taken, to be believed with KAL_OKAY only
        const int32_t result = KalWrite(0, printer.handle, printer.portType, document.data(), &count);
        const uint32_t taken = result == KAL_OKAY ? std::min(count, offered) : 0;
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
        document.remove_prefix(taken); // taking fewer bytes is not a failure: the next call sends the rest
        tell(news::Progress{total - document.size(), total});
    }
    return KAL_OKAY;
}

void PrinterService::tell(News news) {
    {
        const std::lock_guard guard(newsLock_);
        news_.push_back(std::move(news));
    }
    // When the window's queue is full, the news wait here for the next message.
    PostMessageW(window_, messageNews, 0, 0);
}

std::deque<News> PrinterService::takeNews() {
    const std::lock_guard guard(newsLock_);
    return std::exchange(news_, {});
}

void PrinterService::post(std::function<void()> task) {
    {
        const std::lock_guard guard(taskLock_);
        tasks_.push_back(std::move(task));
    }
    taskArrived_.notify_one();
}

std::function<void()> PrinterService::nextTask() {
    std::unique_lock guard(taskLock_);
    taskArrived_.wait(guard, [this] { return !tasks_.empty(); });
    auto task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
}

std::vector<uint8_t> PrinterService::fetchAlert(uint16_t alertId) {
    std::vector<uint8_t> bytes(64);
    for (;;) {
        auto size = static_cast<uint16_t>(bytes.size());
        const int32_t result = KalQueryAlerts(0, alertId, 0, 0, bytes.data(), &size);
        const bool isTooSmall = size > bytes.size();
        bytes.resize(result == KAL_OKAY || isTooSmall ? size : 0);
        // If the buffer is too small, the size and the result are the needed size. If the id is unknown, the result is
        // KAL_FAIL and the size is unchanged. A needed size of 1 looks like KAL_FAIL, so compare the size.
        if (!isTooSmall) {
            return bytes;
        }
    }
}
