// The random driver (tests/endurance) as tests, so that it runs under the sanitizers like every other program. The seed
// is drawn, or that of KAL_ENDURANCE_SEED; a failure prints the command that replays it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

/// The driver's main function, renamed when it is compiled for this program.
int randomDriverMain(int argumentCount, char **arguments);

TEST(RandomCalls, AreAnsweredAsPromised) {
    const char *const fixed = std::getenv("KAL_ENDURANCE_SEED");
    std::vector<std::string> words{"random_driver", KAL_DRIVER_ARGUMENTS, "--seed",
                                   fixed != nullptr ? fixed : std::to_string(std::random_device()())};
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    EXPECT_EQ(randomDriverMain(static_cast<int>(words.size()), arguments.data()), 0);
}
