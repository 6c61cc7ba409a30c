// Looks for leaks when the tests of a program have ended: Wine ends a process too soon for a check at its exit.

#include <gtest/gtest.h>

#include <string_view>

#include <windows.h>

extern "C" {
int __lsan_do_recoverable_leak_check(void);
void __lsan_disable(void);
void __lsan_enable(void);
void __lsan_register_root_region(const void *begin, size_t size);
}

namespace {

/// The one leak of the library that is deliberate (see threadedCall in api/CallFrame.h): a thread that did not start as
/// it should may still use its argument record. What the calling thread allocates in this test is not looked for.
bool leaksDeliberately(const testing::TestInfo &test) {
    return std::string_view(test.name()).starts_with("StartEventThatCannotBeMadeIsFailure/");
}

class LeakCheck : public testing::EmptyTestEventListener {
    void OnTestProgramStart(const testing::UnitTest &) override {
        // What the program's own thread holds lies on a stack of Windows, which the sanitizer does not know.
        const auto &block = *reinterpret_cast<const NT_TIB *>(NtCurrentTeb());
        const auto *const begin = static_cast<const char *>(block.StackLimit);
        __lsan_register_root_region(begin, static_cast<size_t>(static_cast<const char *>(block.StackBase) - begin));
    }
    void OnTestStart(const testing::TestInfo &test) override {
        if (leaksDeliberately(test)) {
            __lsan_disable();
        }
    }
    void OnTestEnd(const testing::TestInfo &test) override {
        if (leaksDeliberately(test)) {
            __lsan_enable();
        }
    }
    void OnTestProgramEnd(const testing::UnitTest &) override { __lsan_do_recoverable_leak_check(); }
};

[[maybe_unused]] const bool isListening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
    return true;
}();

} // namespace
