// A desktop hands on neither the output nor the exit code of the program that it runs: both go to a file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

int main(int argumentCount, char **arguments) {
    testing::InitGoogleMock(&argumentCount, arguments);
    const char *const output = std::getenv("KAL_TEST_OUTPUT");
    if (output != nullptr && std::freopen(output, "w", stdout) == nullptr) {
        return 1;
    }
    const int code = RUN_ALL_TESTS();
    std::printf("exit code %d\n", code);
    std::fflush(stdout);
    return code;
}
