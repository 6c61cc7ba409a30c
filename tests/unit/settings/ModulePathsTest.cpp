#include "settings/ModulePaths.h"

#include "settings/KeyPaths.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/unit/settings/ModuleName.h"

#include <gtest/gtest.h>

#include <string>

using namespace kal;
using namespace kal::test;

namespace {

const std::string moduleFile = "C:\\Product\\KalClient.dll";

/// A buffer of the size that callers must have, with nothing usable behind it.
class PathBuffer {
  public:
    char *data() { return buffer_.as<char>(); }
    std::string text() { return data(); }
    bool isUntouched() { return buffer_.bytes() == std::string(pathBufferSize, '\xCD'); }

  private:
    GuardedBuffer buffer_{pathBufferSize};
};

} // namespace

TEST(ModulePaths, BrandCodeIsReadFromTheModulesFileName) {
    ModuleName name(moduleFile);
    GuardedBuffer code(5); // four characters and the terminator, nothing more may be written
    EXPECT_TRUE(brandCodeOfModule(someModule, code.as<char>()));
    EXPECT_STREQ(code.as<char>(), "kalc");
    EXPECT_EQ(name.module(), someModule);
    EXPECT_EQ(name.bufferSize(), 260u);
}

TEST(ModulePaths, BrandCodeIntoNoBufferIsFalse) {
    ModuleName name(moduleFile);
    EXPECT_FALSE(brandCodeOfModule(someModule, nullptr));
}

TEST(ModulePaths, BrandCodeOfAnUnreadableNameIsFalse) {
    ModuleName name("");
    PathBuffer buffer;
    EXPECT_FALSE(brandCodeOfModule(someModule, buffer.data()));
}

TEST(ModulePaths, BrandCodeOfAShortNameIsShort) {
    ModuleName name("C:\\AB");
    PathBuffer buffer;
    EXPECT_TRUE(brandCodeOfModule(someModule, buffer.data()));
    EXPECT_EQ(buffer.text(), "ab");
}

TEST(ModulePaths, BrandCodeOfANameThatFillsTheBufferIsReadInsideIt) {
    ModuleName name("C:\\" + std::string(254, 'A') + "\\BC"); // cut without a terminator at 260 characters
    PathBuffer buffer;
    EXPECT_TRUE(brandCodeOfModule(someModule, buffer.data()));
    EXPECT_EQ(buffer.text(), "bc");
}

TEST(ModulePaths, ProductRootOfAProductLineIsTrue) {
    ModuleName name(moduleFile);
    PathBuffer buffer;
    EXPECT_TRUE(productRootOfModule(someModule, buffer.data()));
    EXPECT_EQ(buffer.text(), productRootOf("kalc"));
}

TEST(ModulePaths, ProductRootOfNobodyIsTheFallbackAndFalse) {
    ModuleName name("C:\\zz.dll");
    PathBuffer buffer;
    EXPECT_FALSE(productRootOfModule(someModule, buffer.data()));
    EXPECT_EQ(buffer.text(), "Software\\Veltro Tools");
}

TEST(ModulePaths, ProductRootIntoNoBufferIsFalse) {
    ModuleName name(moduleFile);
    EXPECT_FALSE(productRootOfModule(someModule, nullptr));
}

TEST(ModulePaths, ProductRootOfAnUnreadableNameIsFalseAndNotWritten) {
    ModuleName name("");
    PathBuffer buffer;
    EXPECT_FALSE(productRootOfModule(someModule, buffer.data()));
    EXPECT_TRUE(buffer.isUntouched());
}

TEST(ModulePaths, ServiceRootIsTrueForAProductLine) {
    ModuleName name(moduleFile);
    PathBuffer buffer;
    EXPECT_TRUE(serviceRootOfModule(someModule, buffer.data()));
    EXPECT_EQ(buffer.text(), productRootOf("kalc") + "\\Orx\\");
}

TEST(ModulePaths, ServiceRootOfNobodyIsTrueUnderTheFallback) {
    ModuleName name("C:\\zz.dll");
    PathBuffer buffer;
    EXPECT_TRUE(serviceRootOfModule(someModule, buffer.data()));
    EXPECT_EQ(buffer.text(), "Software\\Veltro Tools\\Orx\\");
}

TEST(ModulePaths, ServiceRootOfAnUnreadableNameIsTrueAndBelongsToNoProductLine) {
    ModuleName name("");
    PathBuffer buffer;
    EXPECT_TRUE(serviceRootOfModule(someModule, buffer.data()));
    EXPECT_TRUE(buffer.text().ends_with("\\Orx\\")) << buffer.text();
}

TEST(ModulePaths, ServiceRootIntoNoBufferIsFalse) {
    ModuleName name(moduleFile);
    EXPECT_FALSE(serviceRootOfModule(someModule, nullptr));
}

TEST(ModulePaths, RootsBySelector) {
    ModuleName name(moduleFile);
    for (uint32_t selector : {0u, 1u, 2u, 3u, 0xFFFFFFFFu}) {
        PathBuffer buffer;
        EXPECT_TRUE(rootOfModule(someModule, selector, buffer.data())) << selector;
        EXPECT_EQ(buffer.text(), rootOf("kalc", selector)) << selector;
    }
}

TEST(ModulePaths, RootIntoNoBufferIsFalse) {
    ModuleName name(moduleFile);
    EXPECT_FALSE(rootOfModule(someModule, 0, nullptr));
}
