#include "service/OpenHandles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kal::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(OpenHandles, UnknownHandleIsNotFoundAndCannotBeRemoved) {
    OpenHandles handles;
    handles.add(5, 101);
    EXPECT_FALSE(handles.find(4));
    EXPECT_FALSE(handles.remove(6));
    EXPECT_THAT(handles.handles(), ElementsAre(5));
}

TEST(OpenHandles, EachOpenIsCountedUnderTheIdentifierOfTheFirst) {
    OpenHandles handles;
    handles.add(5, 101);
    handles.add(5, 102);
    const auto record = handles.find(5);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->handle, 5u);
    EXPECT_EQ(record->clientId, 101u);
    EXPECT_EQ(record->openCount, 2u);
}

TEST(OpenHandles, LastRemovalForgetsTheHandle) {
    OpenHandles handles;
    handles.add(5, 101);
    handles.add(5, 101);
    EXPECT_TRUE(handles.remove(5));
    EXPECT_TRUE(handles.find(5));
    EXPECT_TRUE(handles.remove(5));
    EXPECT_FALSE(handles.find(5));
    EXPECT_FALSE(handles.remove(5));
}

TEST(OpenHandles, AreListedInAscendingOrder) {
    OpenHandles handles;
    EXPECT_THAT(handles.handles(), IsEmpty());
    handles.add(9, 101);
    handles.add(2, 101);
    handles.add(5, 101);
    EXPECT_THAT(handles.handles(), ElementsAre(2, 5, 9));
}

TEST(OpenHandles, HandleOpenedAfterACloseIsARecordOfItsOwn) {
    OpenHandles handles;
    handles.add(5, 101);
    handles.add(7, 101);
    EXPECT_TRUE(handles.remove(5));
    handles.add(9, 102);
    const auto record = handles.find(9);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->handle, 9u);
    EXPECT_EQ(record->clientId, 102u);
    EXPECT_EQ(record->openCount, 1u);
    EXPECT_THAT(handles.handles(), ElementsAre(7, 9));
}

} // namespace
} // namespace kal::test
