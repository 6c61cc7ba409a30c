// Every call of the library: the part to copy. PrinterService::run() shows the life of an application with the library,
// from registration to unregistration.
//
// Two threads share the work. The window's thread shows things and never waits. The service thread makes every call
// that may wait for the service, one after the other, and posts the results. So calls do not interfere with each other,
// and no call can be overtaken by the last one, the unregistration. The library does not require this: its exports may
// be called from any thread. It keeps the window alive while a printer is slow.
#pragma once

#include "kal.h"

#include <windows.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

struct PrinterEvent {
    std::wstring time;
    std::wstring what;
    std::wstring details;
};

struct Printer {
    uint16_t handle = 0;
    uint16_t deviceClass = 0;
    uint32_t portType = 0;
    std::wstring port;
    std::wstring state = L"Unknown";
    std::deque<PrinterEvent> events; // the newest first
};

// What is posted to the window, by the service thread but for one. Above WM_APP, clear of the library's messages and of
// the controls'.
enum OwnMessage : UINT {
    MessageSearchBegins = WM_APP, // nothing
    MessagePrinterFound,          // lParam: Printer, the receiver's
    MessagePrinterState,          // wParam: handle; lParam: std::wstring, the receiver's
    MessageSearchEnds,            // lParam: int32_t result
    MessageRefused,               // nothing: there is no service to register with
    MessageEventsArrived,         // nothing; from the window to itself
    MessageProgress,              // wParam: bytes sent; lParam: bytes in all
    MessagePrintEnds,             // wParam: PrintOutcome; lParam: int32_t result
    MessageStopped,               // nothing: all is given back, the last message of the service thread
};

enum class PrintOutcome : WPARAM { printed, failed, cancelled };

/// Hands an object over to the window's thread; it stays here when there is no room in the queue.
template <class Content>
void postContent(HWND window, UINT message, WPARAM wParam, std::unique_ptr<Content> content) {
    if (PostMessageW(window, message, wParam, reinterpret_cast<LPARAM>(content.get()))) {
        static_cast<void>(content.release());
    }
}

template <class Content>
std::unique_ptr<Content> takeContent(LPARAM lParam) {
    return std::unique_ptr<Content>(reinterpret_cast<Content *>(lParam));
}

class PrinterService {
  public:
    explicit PrinterService(HWND window);

    /// After MessageStopped: before that the thread still needs the window.
    ~PrinterService();

    PrinterService(const PrinterService &) = delete;
    PrinterService &operator=(const PrinterService &) = delete;

    void findPrinters();
    void printTestPage(const Printer &printer);
    void cancelPrint();

    /// Ends the thread as soon as it has released everything; a job that is being sent is cancelled.
    void stop();

    /// Returns an alert's bytes from its offset 5 on; their meaning depends on the printer's model. The library keeps
    /// the last 65536 alerts, so there is no hurry. It does not ask the service, so this does not block.
    [[nodiscard]] static std::vector<uint8_t> fetchAlert(uint16_t alertId);

  private:
    void run();
    void capturePrinters();
    void capture(const Printer &printer);
    void releasePrinters();
    void print(const Printer &printer);

    /// Sends the complete document, unless a call fails or the job is to be cancelled.
    int32_t sendDocument(const Printer &printer, std::string_view document);

    void postState(const Printer &printer, std::wstring state);
    void post(std::function<void()> task);

    /// Waits for something to do; an empty function means to stop.
    std::function<void()> nextTask();

    const HWND window_;
    std::vector<uint16_t> captured_; // by the service thread alone
    std::atomic<bool> isCancelWanted_ = false;
    std::mutex taskLock_; // guards tasks_
    std::condition_variable taskArrived_;
    std::deque<std::function<void()>> tasks_;
    std::thread thread_; // the last member: it uses the others
};
