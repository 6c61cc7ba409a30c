#include "tools/text/LineSplitter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class LineSplitterTest : public testing::Test {
  protected:
    std::vector<std::string> lines;
    tool::LineSplitter splitter{[this](std::string_view line) { lines.emplace_back(line); }};
};

using Lines = std::vector<std::string>;

} // namespace

TEST_F(LineSplitterTest, EitherLineEndIsTakenOff) {
    splitter.feed("one\r\ntwo\n\r\nfour\n");
    EXPECT_EQ(lines, (Lines{"one", "two", "", "four"}));
}

TEST_F(LineSplitterTest, LineAcrossBlocksIsWhole) {
    splitter.feed("on");
    splitter.feed("e\r");
    splitter.feed("\ntw");
    EXPECT_EQ(lines, (Lines{"one"}));
    splitter.feed("o\n");
    EXPECT_EQ(lines, (Lines{"one", "two"}));
}

TEST_F(LineSplitterTest, LastLineWithoutEndComesWhenFinished) {
    splitter.feed("one\ntwo");
    splitter.finish();
    splitter.finish();
    EXPECT_EQ(lines, (Lines{"one", "two"}));
}

TEST_F(LineSplitterTest, FileWithoutLineEndsComesInPieces) {
    const std::string block(tool::LineSplitter::longestLine / 2, 'x');
    for (int count = 0; count < 5; ++count) {
        splitter.feed(block);
    }
    EXPECT_EQ(lines.size(), 2u);
}
