#include "simulator/PropertyDescriptor.h"

#include <gtest/gtest.h>

using namespace simulator;

namespace {

TEST(PropertyDescriptor, AllThreeElementsAreRead) {
    const auto descriptor = readDescriptor("<Name>Device</Name><Type>String</Type><Access>ReadOnly</Access>");
    ASSERT_TRUE(descriptor);
    EXPECT_EQ(descriptor->name, "Device");
    EXPECT_EQ(descriptor->type, "String");
    EXPECT_EQ(descriptor->access, "ReadOnly");
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
