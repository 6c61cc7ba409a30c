// Every call of the library: the part to copy. PrinterService::run() shows the life of an application with the library,
// from registration to unregistration.
//
// Two threads share the work. The window's thread shows things and never waits. The service thread makes every call
// that may wait for the service, one after the other, and reports the results as news. So calls do not interfere with
// each other, and no call can be overtaken by the last one, the unregistration. The library does not require this: its
// exports may be called from any thread. It keeps the window alive while a printer is slow.
#pragma once

#include "kal.h"

#include <windows.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

struct PrinterEvent {
    std::wstring time;
    std::wstring what;
    std::wstring details;
};

enum class PrinterState : uint32_t {
    idle = 0, // the first three are values of WM_KAL_PRINTERSTATUS
    printing = 1,
    error = 3,
    unknown = 0x10000,
    unreachable,
    withoutAlerts,
};

struct Printer {
    uint16_t handle = 0;
    uint16_t deviceClass = 0;
    uint32_t portType = 0;
    std::wstring port;
    PrinterState state = PrinterState::unknown;
    std::deque<PrinterEvent> events; // the newest first
};

enum class PrintOutcome { printed, failed, cancelled };

// News of the service thread, in the order in which they happen.
namespace news {

struct SearchBegins {};
struct PrinterFound {
    Printer printer;
};
struct StateChanged {
    uint16_t handle;
    PrinterState state;
};
struct SearchEnds {
    int32_t result;
    bool isServiceReachable;
};
struct RegistrationRefused {};
struct Progress {
    size_t sent;
    size_t total;
};
struct PrintEnds {
    PrintOutcome outcome;
    int32_t result;
};
struct Stopped {}; // everything is released; the last news

} // namespace news

using News = std::variant<news::SearchBegins, news::PrinterFound, news::StateChanged, news::SearchEnds,
                          news::RegistrationRefused, news::Progress, news::PrintEnds, news::Stopped>;

/// Posted to the window when there is news; the window then calls takeNews(). The message carries nothing, because any
/// program may post it. Above WM_APP, clear of the library's messages and of the controls'.
constexpr UINT messageNews = WM_APP;

class PrinterService {
  public:
    explicit PrinterService(HWND window);

    /// Waits for the thread: call it after news::Stopped.
    ~PrinterService();

    PrinterService(const PrinterService &) = delete;
    PrinterService &operator=(const PrinterService &) = delete;

    void findPrinters();
    void printTestPage(const Printer &printer);
    void cancelPrint();

    /// Ends the thread as soon as it has released everything; a job that is being sent is cancelled.
    void stop();

    /// Ends the process while a call of the library does not return. Such a call cannot be interrupted, and the library
    /// cannot be unregistered during it. No destructor and no DllMain runs: they could wait for the same call. The
    /// system releases everything, and the service notices that its client has ended.
    [[noreturn]] static void endProcess();

    /// Returns the news that came since the last call.
    [[nodiscard]] std::deque<News> takeNews();

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

    void tell(News news);
    void post(std::function<void()> task);

    /// Waits for something to do; an empty function means to stop.
    std::function<void()> nextTask();

    const HWND window_;
    std::vector<uint16_t> captured_; // by the service thread alone
    std::atomic<bool> isCancelWanted_ = false;
    std::atomic<bool> isStopWanted_ = false;
    std::mutex taskLock_; // guards tasks_
    std::condition_variable taskArrived_;
    std::deque<std::function<void()>> tasks_;
    std::mutex newsLock_; // guards news_
    std::deque<News> news_;
    std::thread thread_; // the last member: it uses the others
};
