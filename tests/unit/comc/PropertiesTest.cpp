#include "comc/Properties.h"

#include "tests/support/GuardedBuffer.h"

#include <gtest/gtest.h>

#include <string>

using namespace comc;

namespace {

/// The value in a buffer that ends at an inaccessible page.
std::string textIn(const std::string &content) {
    const kal::test::GuardedBuffer buffer(content);
    return std::string(propertyText({buffer.as<const char>(), buffer.size()}));
}

TEST(PropertyText, TerminatorEndsTheText) {
    EXPECT_EQ(textIn(std::string("CpdPrinter\0trailing", 19)), "CpdPrinter");
}

TEST(PropertyText, TextWithoutTerminatorEndsWithItsBuffer) {
    EXPECT_EQ(textIn("CpdPrinterX"), "CpdPrinterX");
}

TEST(PropertyText, BufferThatBeginsWithATerminatorIsEmpty) {
    EXPECT_EQ(textIn(std::string("\0abc", 4)), "");
}

TEST(PropertyText, NoBufferIsEmpty) {
    EXPECT_EQ(propertyText({}), "");
}

TEST(PropertyDescriptor, AllThreeElementsAreRead) {
    const auto descriptor = readDescriptor("<Name>Device</Name><Type>String</Type><Access>ReadOnly</Access>");
    ASSERT_TRUE(descriptor);
    EXPECT_EQ(descriptor->name, "Device");
    EXPECT_EQ(descriptor->type, "String");
    EXPECT_EQ(descriptor->access, "ReadOnly");
}

TEST(PropertyDescriptor, DescriptorsOfTheClientNameTheirProperties) {
    for (const Property &each : {property::transport, property::device, property::macAddress, property::portName,
                                 property::endOfJobDuration, property::jobId}) {
        const auto descriptor = readDescriptor(each.descriptor);
        ASSERT_TRUE(descriptor);
        EXPECT_EQ(descriptor->name, each.name);
        EXPECT_NE(descriptor->type, "");
        EXPECT_NE(descriptor->access, "");
    }
}

TEST(PropertyDescriptor, NameAloneIsEnough) {
    EXPECT_EQ(readDescriptor("<Name>Device</Name>")->type, "");
}

TEST(PropertyDescriptor, TextWithoutNameIsNone) {
    for (const char *text : {"", "Device", "<Name>", "<Name></Name>", "<Name>Device", "<Type>String</Type>"}) {
        EXPECT_FALSE(readDescriptor(text)) << text;
    }
}

} // namespace
