#include "simulator/EntryPointNames.h"

#include <set>

#include <gtest/gtest.h>

using namespace simulator;

namespace {

TEST(EntryPointNames, AreNinetyDifferentOnes) {
    const auto names = entryPointNames();
    EXPECT_EQ(std::set(names.begin(), names.end()).size(), 90u);
}

TEST(EntryPointNames, OperationsWithoutEntryPointHaveNone) {
    EXPECT_FALSE(isEntryPoint("OrxcloseAllPrinters"));
    EXPECT_FALSE(isEntryPoint("OrxacquireBinding"));
    EXPECT_TRUE(isEntryPoint("OrxInstall"));
}

} // namespace
