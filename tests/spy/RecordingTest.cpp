#include "recording/Recording.h"

#include <gtest/gtest.h>

using namespace recording;

namespace {

const std::string header = composeHeader({1, "p", "s", "t", false});
const std::string opened =
    R"({"event":"call","number":1,"time":1,"thread":9,"entryPoint":"OrxOpenPrinter","arguments":{"clientId":1,"handle":5}})";
const std::string openedEnd =
    R"({"event":"return","number":1,"time":2,"thread":9,"entryPoint":"OrxOpenPrinter","result":0,"outputs":{}})";

Recording read(std::initializer_list<std::string> lines) {
    RecordingReader reader;
    for (const auto &line : lines) {
        reader.add(line);
    }
    return reader.finish();
}

std::string errorOf(std::initializer_list<std::string> lines) {
    try {
        static_cast<void>(read(lines));
    } catch (const RecordingError &error) {
        return error.what();
    }
    return "nothing was raised";
}

} // namespace

TEST(Recording, CallIsPutTogether) {
    const auto recording = read({header, opened, openedEnd});
    ASSERT_EQ(recording.calls.size(), 1u);
    EXPECT_EQ(recording.calls[0].begin.values["handle"], 5);
    EXPECT_EQ(recording.calls[0].end->time, 2);
    EXPECT_EQ(recording.calls[0].endPlace, 1u);
    EXPECT_FALSE(recording.cutOff);
}

TEST(Recording, CallWithoutEndIsOpen) {
    EXPECT_FALSE(read({header, opened}).calls[0].end);
}

TEST(Recording, LastLineThatIsCutOffIsLeftOut) {
    const auto recording = read({header, opened, openedEnd.substr(0, 40)});
    EXPECT_EQ(recording.cutOff, "line 3: the line is cut off or damaged");
    EXPECT_EQ(recording.calls.size(), 1u);
}

TEST(Recording, DamagedLineWithinIsAnError) {
    EXPECT_EQ(errorOf({header, opened.substr(0, 40), openedEnd}), "line 2: the line is cut off or damaged");
}

TEST(Recording, ErrorNamesItsLine) {
    EXPECT_EQ(errorOf({header, opened, R"({"event":"dance"})"}), "line 3: there is no event \"dance\"");
    EXPECT_EQ(errorOf({header, openedEnd}), "line 2: the call to which this belongs is not in the recording");
    EXPECT_EQ(errorOf({opened}), "this is no recording of the spy");
    EXPECT_EQ(errorOf({}), "the file is empty");
}

TEST(Recording, LargeOutputIsPutTogetherFromItsPieces) {
    const auto recording = read(
        {header, R"({"event":"call","number":4,"time":1,"thread":9,"entryPoint":"OrxGetCachePrinter","arguments":{}})",
         R"({"event":"bytes","number":4,"argument":"buffer","output":true,"offset":0,"hex":"6162"})",
         R"({"event":"bytes","number":4,"argument":"buffer","output":true,"offset":2,"hex":"63"})",
         R"({"event":"return","number":4,"time":2,"thread":9,"entryPoint":"OrxGetCachePrinter","result":0,"outputs":{}})"});
    EXPECT_EQ(recording.calls[0].outputs.at("buffer"), "abc");
}

TEST(Recording, MissingPieceIsAnError) {
    EXPECT_EQ(
        errorOf({header, R"({"event":"bytes","number":4,"argument":"buffer","output":true,"offset":2,"hex":"63"})"}),
        "line 2: a piece of \"buffer\" is missing before this one");
}

TEST(Recording, PiecesOfADocumentAreNotKept) {
    const auto recording = read(
        {header, R"({"event":"bytes","number":4,"argument":"data","output":false,"offset":0,"hex":"6162"})",
         R"({"event":"call","number":4,"time":1,"thread":9,"entryPoint":"OrxWritePrinter","arguments":{}})",
         R"({"event":"return","number":4,"time":2,"thread":9,"entryPoint":"OrxWritePrinter","result":0,"outputs":{}})"});
    EXPECT_TRUE(recording.calls[0].outputs.empty());
}

TEST(Recording, CallbackKnowsWhereItHappened) {
    const auto recording = read(
        {header, opened,
         R"({"event":"callback","number":2,"time":2,"thread":9,"within":1,"callback":1,"kind":"enum","arguments":{"handle":5}})",
         R"({"event":"callbackReturn","number":2,"time":3,"thread":9,"result":4})", openedEnd});
    ASSERT_EQ(recording.callbacks.size(), 1u);
    EXPECT_EQ(recording.callbacks[0].begin.within, 1u);
    EXPECT_EQ(recording.callbacks[0].end->result, 4u);
    EXPECT_EQ(recording.callbacks[0].beginPlace, 1u);
}
