// One thread of the random driver: makes calls of exports, one after the other, and holds each against what the service
// was asked and answered meanwhile.
#pragma once

#include "tests/endurance/CallReplay.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

namespace kal::test {

/// Something that must never be; its text says what, where and how to see it again.
class Violation : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class DriverThread {
  public:
    /// Handles that all threads use, beside each thread's own.
    static constexpr uint16_t sharedHandles[] = {0x0001, 0x6802};

    struct Round {
        bool sharesHandles = false;
        bool isUnbalanced = false; ///< closes may be missing although several threads run
    };

    /// @param references  null when there are several threads
    /// @param window      to which alerts are posted
    DriverThread(ScriptedService &service, uint64_t seed, unsigned number, ReferenceModel *references, HWND window);

    /// Makes so many calls. Throws a Violation.
    void run(int calls, const Round &round);
    /// Takes back the registrations of this thread, and, when asked, all that it captured and opened.
    void tidy(bool releases);
    /// The last unregistration has forgotten which handles were open.
    void forgetOpens();
    uint32_t opens() const;

    /// Closes a handle until it is unknown, the service answering calmly. @return how often that was
    static int closeWholly(uint16_t handle);

    uint64_t callsMade() const { return callsMade_; }
    const char *current() const { return current_; }

  private:
    using Expectation = std::function<int32_t(CallReplay &)>;

    uint64_t draw();
    uint32_t draw(uint32_t below) { return static_cast<uint32_t>(draw() >> 32) % below; }
    void step(const Round &round);
    void stepShared();
    /// Makes the call with a context of its own and holds result and events against the expectation.
    int32_t check(const char *what, const std::function<int32_t()> &call, const Expectation &expectation,
                  bool calm = false);
    [[noreturn]] void violate(const std::string &what) const;
    void checkLibrary();

    void registration();
    void openOrClose(size_t which, bool alias);
    void printJob(size_t which, bool alias);
    void jobMode(size_t which);
    void enumeration(bool alias);
    void alerts(size_t which, bool alias);
    void release(size_t which, bool alias, bool calm);
    void bidi(size_t which, bool alias);
    void cacheOrStatus(size_t which);
    void legacy();

    uint16_t handleOf(size_t which) const;

    ScriptedService &service_;
    const unsigned number_;
    ReferenceModel *const references_;
    const HWND window_;
    uint64_t state_;
    CallContext context_;
    std::array<HandleModel, 4> handles_;
    int registrations_ = 0;
    bool isUnbalanced_ = false;
    std::atomic<uint64_t> callsMade_ = 0;
    std::atomic<const char *> current_ = "nothing yet";
};

} // namespace kal::test
