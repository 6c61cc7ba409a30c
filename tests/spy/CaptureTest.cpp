#include "recording/Capture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace comc;
using namespace recording;

namespace {

/// Its "hash" is the number and the sum of the bytes, which is enough to show that all of them arrived.
class CountingDigest : public Digest {
  public:
    void add(const void *bytes, size_t count) override {
        for (size_t index = 0; index < count; ++index) {
            sum_ += static_cast<const unsigned char *>(bytes)[index];
        }
        count_ += count;
    }
    std::string finish() override { return std::to_string(count_) + "/" + std::to_string(sum_); }

  private:
    size_t count_ = 0;
    size_t sum_ = 0;
};

class CaptureTest : public testing::Test {
  protected:
    const CaptureHost host{
        [this](const void *, size_t wanted) { return std::min(wanted, readable); },
        [] { return std::make_unique<CountingDigest>(); },
        [](uint64_t address, ArgumentKind) { return address == 0xF00 ? 1u : 0u; },
    };
    size_t readable = static_cast<size_t>(-1);
    std::vector<std::pair<uint64_t, size_t>> pieces; // offset and length of each chunk

    const PieceSink sink = [this](std::string_view, uint64_t offset, const std::string &hex) {
        pieces.emplace_back(offset, hex.size() / 2);
    };

    static uint64_t word(const void *pointer) { return reinterpret_cast<uintptr_t>(pointer); }

    Json arguments(const char *entryPoint, const Words &words, bool redacts = false) {
        return Capture(host, redacts).arguments(*findEntryPoint(entryPoint), words, sink);
    }

    /// The recorded outputs of a call that does the given work.
    template <class Work>
    Json outputs(const char *entryPoint, const Words &words, bool succeeded, Work work) {
        const Capture capture(host, false);
        const auto &called = *findEntryPoint(entryPoint);
        const Capture::Before before(capture, called, words);
        work();
        return capture.outputs(called, words, before, succeeded, sink);
    }
};

} // namespace

TEST_F(CaptureTest, NumbersAreTheLowerHalfOfTheirWords) {
    EXPECT_EQ(arguments("OrxOpenPrinter", {0xDEADBEEF'00000001, 0xDEADBEEF'00006001}),
              Json({{"clientId", 1}, {"handle", 0x6001}}));
}

TEST_F(CaptureTest, TextIsText) {
    EXPECT_EQ(arguments("OrxValidatePortName", {1, word("Büro 1")})["portName"], "Büro 1");
}

TEST_F(CaptureTest, TextOfAnotherCodePageIsBytes) {
    EXPECT_EQ(arguments("OrxValidatePortName", {1, word("B\xFC")})["portName"], Json({{"length", 2}, {"hex", "42fc"}}));
}

TEST_F(CaptureTest, WideTextIsText) {
    const char16_t user[] = u"Zoë \U0001F5A8";
    EXPECT_EQ(arguments("OrxStartJobPrinterW", {1, 5, 0, word(user)})["user"], "Zoë \U0001F5A8");
}

TEST_F(CaptureTest, HalfASurrogateIsBytes) {
    const char16_t user[] = {0xD83D, 'x', 0};
    EXPECT_EQ(arguments("OrxStartJobPrinterW", {1, 5, 0, word(user)})["user"],
              Json({{"length", 4}, {"hex", "3dd87800"}}));
}

TEST_F(CaptureTest, NullIsNull) {
    EXPECT_EQ(arguments("OrxWritePrinter", {1, 5, 0, 0, 0})["data"], nullptr);
    EXPECT_EQ(arguments("OrxEnumPrinters", {1, 0, 0, 0})["callback"], nullptr);
}

TEST_F(CaptureTest, BytesStandInTheLine) {
    EXPECT_EQ(arguments("OrxWritePrinter", {1, 5, word("%!PS"), 4, word(this)}),
              Json({{"clientId", 1},
                    {"handle", 5},
                    {"data", {{"length", 4}, {"hex", "25215053"}}},
                    {"byteCount", 4},
                    {"bytesWritten", {{"output", true}}}}));
}

TEST_F(CaptureTest, DocumentThatIsRedactedIsLengthAndHash) {
    EXPECT_EQ(arguments("OrxWritePrinter", {1, 5, word("%!PS"), 4, 0}, true)["data"],
              Json({{"length", 4}, {"sha256", "4/233"}}));
    EXPECT_TRUE(pieces.empty());
}

TEST_F(CaptureTest, BidiRequestIsNotRedacted) {
    EXPECT_EQ(arguments("OrxExchangeBidiPrinter", {1, 5, word("ab"), 2, 0, 0, 0}, true)["request"]["hex"], "6162");
}

TEST_F(CaptureTest, LargeBufferComesInPieces) {
    const std::string data(2 * mostInlineBytes + 1, '\1');
    const auto count = std::to_string(data.size());
    EXPECT_EQ(arguments("OrxWritePrinter", {1, 5, word(data.data()), data.size(), 0})["data"],
              Json({{"length", data.size()}, {"sha256", count + "/" + count}, {"pieces", 3}}));
    EXPECT_EQ(pieces, (std::vector<std::pair<uint64_t, size_t>>{
                          {0, mostInlineBytes}, {mostInlineBytes, mostInlineBytes}, {2 * mostInlineBytes, 1}}));
}

TEST_F(CaptureTest, UnreadableMemoryIsAnAddress) {
    readable = 0;
    EXPECT_EQ(arguments("OrxWritePrinter", {1, 5, 0x1234, 4, 0})["data"],
              Json({{"address", "0000000000001234"}, {"length", 4}}));
    EXPECT_EQ(arguments("OrxValidatePortName", {1, 0x1234})["portName"], Json({{"address", "0000000000001234"}}));
}

TEST_F(CaptureTest, CallbackIsANumberAndGarbageAnAddress) {
    EXPECT_EQ(arguments("OrxEnumPrinters", {1, 0, 0, 0xF00})["callback"], Json({{"callback", 1}}));
    EXPECT_EQ(arguments("OrxEnumPrinters", {1, 0, 0, 0xBAD})["callback"], Json({{"address", "0000000000000bad"}}));
}

TEST_F(CaptureTest, OutputIsWhatTheServiceSaysItWrote) {
    char buffer[8] = {};
    uint32_t length = 99;
    EXPECT_EQ(outputs("OrxGetCachePrinter", {1, 5, word(buffer), sizeof buffer, word(&length)}, true,
                      [&] {
                          std::memcpy(buffer, "ab\0", 3);
                          length = 3;
                      }),
              Json({{"buffer", {{"length", 3}, {"hex", "616200"}}}, {"length", 3}}));
}

TEST_F(CaptureTest, LengthBeyondTheBufferIsNotRead) {
    char buffer[2] = {'x', 'y'};
    uint32_t length = 0;
    EXPECT_EQ(outputs("OrxGetCachePrinter", {1, 5, word(buffer), sizeof buffer, word(&length)}, true,
                      [&] { length = 4000; })["buffer"],
              Json({{"length", 2}, {"hex", "7879"}}));
}

TEST_F(CaptureTest, FailureTellsOnlyWhatChanged) {
    char buffer[4] = {'a', 'b', 'c', 'd'};
    uint32_t length = 99;
    const Words words{1, 5, word(buffer), sizeof buffer, word(&length)};
    EXPECT_EQ(outputs("OrxGetCachePrinter", words, false, [] {}), Json::object());
    EXPECT_EQ(outputs("OrxGetCachePrinter", words, false, [&] { length = 7; }), Json({{"length", 7}}));
    EXPECT_EQ(outputs("OrxGetCachePrinter", words, false, [&] { buffer[1] = 'X'; }),
              Json({{"buffer", {{"length", 2}, {"hex", "6158"}}}}));
}

TEST_F(CaptureTest, NumberIsToldAfterASuccessThoughItIsTheSame) {
    uint32_t written = 4;
    EXPECT_EQ(outputs("OrxWritePrinter", {1, 5, word("abcd"), 4, word(&written)}, true, [] {}),
              Json({{"bytesWritten", 4}}));
}

TEST_F(CaptureTest, AlertHasItsBytes) {
    EXPECT_EQ(Capture(host, false).callbackArguments(ArgumentKind::alertCallback, {5, word("abc"), 3}, sink),
              Json({{"handle", 5}, {"alert", {{"length", 3}, {"hex", "616263"}}}, {"length", 3}}));
}

TEST_F(CaptureTest, NotificationHasItsFlag) {
    const uint32_t flag = 9;
    const Capture capture(host, false);
    EXPECT_EQ(capture.callbackArguments(ArgumentKind::notificationCallback, {5, 1, 8, word(&flag)}, sink),
              Json({{"handle", 5},
                    {"category", 1},
                    {"notification", 8},
                    {"endOfJobFlag", 9},
                    {"reserved5", nullptr},
                    {"reserved6", nullptr}}));
    EXPECT_EQ(capture.callbackArguments(ArgumentKind::notificationCallback, {5, 1, 8}, sink)["endOfJobFlag"], nullptr);
}
