// Looks for leaks when the tests of a program have ended: Wine ends a process too soon for a check at its exit.

#include <gtest/gtest.h>

#include <windows.h>

extern "C" {
int __lsan_do_recoverable_leak_check(void);
void __lsan_register_root_region(const void *begin, size_t size);
}

namespace {

class LeakCheck : public testing::EmptyTestEventListener {
    void OnTestProgramStart(const testing::UnitTest &) override {
        // What the program's own thread holds lies on a stack of Windows, which the sanitizer does not know.
        const auto &block = *reinterpret_cast<const NT_TIB *>(NtCurrentTeb());
        const auto *const begin = static_cast<const char *>(block.StackLimit);
        __lsan_register_root_region(begin, static_cast<size_t>(static_cast<const char *>(block.StackBase) - begin));
    }
    void OnTestProgramEnd(const testing::UnitTest &) override { __lsan_do_recoverable_leak_check(); }
};

[[maybe_unused]] const bool isListening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
    return true;
}();

} // namespace
