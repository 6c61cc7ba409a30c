#include "api/PropertyText.h"

#include "tests/support/GuardedBuffer.h"

#include <gtest/gtest.h>

#include <string>

namespace kal::test {
namespace {

/// The text in a room that ends at an inaccessible page.
std::string textIn(const std::string &room) {
    const GuardedBuffer buffer(room);
    return std::string(propertyText({buffer.as<const char>(), buffer.size()}));
}

TEST(PropertyText, TerminatorEndsTheText) {
    EXPECT_EQ(textIn(std::string("CpdPrinter\0trailing", 19)), "CpdPrinter");
}

TEST(PropertyText, TextWithoutTerminatorEndsWithItsRoom) {
    EXPECT_EQ(textIn("CpdPrinterX"), "CpdPrinterX");
}

TEST(PropertyText, RoomThatBeginsWithATerminatorIsEmpty) {
    EXPECT_EQ(textIn(std::string("\0abc", 4)), "");
}

TEST(PropertyText, NoRoomIsEmpty) {
    EXPECT_EQ(propertyText({}), "");
}

} // namespace
} // namespace kal::test
