#include "tools/text/Progress.h"

#include <gtest/gtest.h>

using tool::byteText;
using tool::progressLine;
using tool::rateText;
using tool::summaryLine;

TEST(ByteText, UnitChangesAtItsThousandAndTwentyFour) {
    EXPECT_EQ(byteText(0), "0 B");
    EXPECT_EQ(byteText(1023), "1023 B");
    EXPECT_EQ(byteText(1024), "1.0 KiB");
    EXPECT_EQ(byteText(1536), "1.5 KiB");
    EXPECT_EQ(byteText(1024 * 1024), "1.0 MiB");
    EXPECT_EQ(byteText(1024ull * 1024 * 1024), "1.0 GiB");
    EXPECT_EQ(byteText(1024ull * 1024 * 1024 * 1024), "1.0 TiB");
    EXPECT_EQ(byteText(5000ull * 1024 * 1024 * 1024 * 1024), "5000.0 TiB");
}

TEST(RateText, NoTimeIsNoRate) {
    EXPECT_EQ(rateText(4096, 0), "-");
    EXPECT_EQ(rateText(4096, -1), "-");
}

TEST(RateText, BytesAreDividedByTheTime) {
    EXPECT_EQ(rateText(4096, 2), "2.0 KiB/s");
}

TEST(ProgressLine, HalfTheDocumentIsHalfTheBar) {
    EXPECT_EQ(progressLine(2 * 1024 * 1024, 4 * 1024 * 1024, 2),
              "[###############...............]  50%  2.0 MiB of 4.0 MiB  1.0 MiB/s");
}

TEST(ProgressLine, EndsHaveEmptyAndFullBars) {
    EXPECT_EQ(progressLine(0, 100, 0), "[..............................]   0%  0 B of 100 B  -");
    EXPECT_EQ(progressLine(100, 100, 1), "[##############################] 100%  100 B of 100 B  100 B/s");
}

TEST(ProgressLine, FileThatGrewStaysAtTheEndOfTheBar) {
    EXPECT_EQ(progressLine(300, 100, 1), "[##############################] 100%  300 B of 100 B  300 B/s");
}

TEST(ProgressLine, EmptyDocumentIsComplete) {
    EXPECT_EQ(progressLine(0, 0, 0), "[##############################] 100%  0 B of 0 B  -");
}

TEST(SummaryLine, BytesAreGroupedAndTimed) {
    EXPECT_EQ(summaryLine("a.pdf", 4194304, 2), "a.pdf: 4,194,304 bytes in 2.00 s (2.0 MiB/s)");
    EXPECT_EQ(summaryLine("a.pdf", 999, 0), "a.pdf: 999 bytes in 0.00 s (-)");
    EXPECT_EQ(summaryLine("a.pdf", 1, 1), "a.pdf: 1 byte in 1.00 s (1 B/s)");
    EXPECT_EQ(summaryLine("a.pdf", 1000, 1), "a.pdf: 1,000 bytes in 1.00 s (1000 B/s)");
}
