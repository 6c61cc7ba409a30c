// Processes that a test starts, and ends whenever it likes.
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>

#include <windows.h>

namespace kal::test {

constexpr DWORD patience = 300000;

/// Number of processes that a test kills at random moments. The default is for ./dev test; ./dev prove kills more.
inline int numberOfSuddenEnds() {
    const char *const text = std::getenv("KAL_SUDDEN_ENDS");
    return text == nullptr ? 20 : std::atoi(text);
}

/// What the moments derive from.
inline unsigned suddenEndSeed() {
    const char *const text = std::getenv("KAL_SUDDEN_END_SEED");
    return text == nullptr ? std::random_device()() : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

class KernelObject {
  public:
    explicit KernelObject(HANDLE handle) : handle_(handle) {
        if (handle == nullptr)
            throw std::runtime_error("kernel object: " + std::to_string(GetLastError()));
    }
    ~KernelObject() { CloseHandle(handle_); }
    KernelObject(const KernelObject &) = delete;
    KernelObject &operator=(const KernelObject &) = delete;

    HANDLE get() const { return handle_; }
    bool wait(DWORD milliseconds) const { return WaitForSingleObject(handle_, milliseconds) == WAIT_OBJECT_0; }

  private:
    HANDLE handle_;
};

/// A process of this test program's; ended with the object.
class ChildProcess {
  public:
    ChildProcess(const std::string &program, const std::string &arguments) {
        std::string command = (programFolder() / program).string() + " " + arguments;
        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION information = {};
        if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                            &information))
            throw std::runtime_error("cannot start " + program + ": " + std::to_string(GetLastError()));
        CloseHandle(information.hThread);
        process_ = std::make_unique<KernelObject>(information.hProcess);
        id_ = information.dwProcessId;
    }
    ~ChildProcess() { end(); }
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    DWORD id() const { return id_; }
    void end() const {
        TerminateProcess(process_->get(), 99);
        process_->wait(patience);
    }
    bool isRunning() const { return !process_->wait(0); }
    DWORD exitCode() const {
        DWORD code = STILL_ACTIVE;
        if (process_->wait(patience))
            GetExitCodeProcess(process_->get(), &code);
        return code;
    }

  private:
    std::unique_ptr<KernelObject> process_;
    DWORD id_ = 0;
};

} // namespace kal::test
