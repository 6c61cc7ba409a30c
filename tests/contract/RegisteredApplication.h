// An application that is registered with the library beside this program, on a machine of its own, with everything
// logged. What was called and logged before the test's own steps is forgotten.
#pragma once

#include "api/kal.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kal::test {

class RegisteredApplication : public testing::Test {
  protected:
    enum class Log { everything, errorsOnly };

    explicit RegisteredApplication(Log log = Log::everything) {
        if (log == Log::everything)
            machine.logEverything();
        KalRegisterApp(0);
        forget();
    }
    ~RegisteredApplication() override { KalUnregisterApp(0); }

    void forget() {
        service.forgetCalls();
        machine.deleteLog();
    }

    /// The export under the type of the test's choice.
    template <class Function>
    static Function *library(const char *name) {
        return exported<Function>(GetModuleHandleA("kalclient.dll"), name);
    }

    RecordedService service;
    PrivateMachine machine;
};

/// Logs only errors, because tens of thousands of logged calls would take too long.
class QuietApplication : public RegisteredApplication {
  protected:
    QuietApplication() : RegisteredApplication(Log::errorsOnly) {}
};

/// An argument of 32 bits or less with dirt in the bits that do not belong to it.
constexpr uint64_t dirty16(uint16_t value) {
    return 0xDEADBEEFDEAD0000u | value;
}
constexpr uint64_t dirty32(uint32_t value) {
    return 0xDEADBEEF00000000u | value;
}

} // namespace kal::test
