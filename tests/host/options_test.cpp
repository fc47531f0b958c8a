#include "host/options.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <vector>

namespace {

using console::Options;

Options parsed(std::vector<std::string> words, bool is_replay = false) {
    words.insert(words.begin(), "korvex_live");
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    return console::parse_options(static_cast<int>(pointers.size()), pointers.data(), is_replay);
}

std::string refusal_of(const std::vector<std::string>& words, bool is_replay = false) {
    try {
        parsed(words, is_replay);
    } catch (const std::runtime_error& problem) {
        return problem.what();
    }
    return "";
}

TEST(Options, NothingSaidMeansNoRecordingAndNoEnd) {
    const Options options = parsed({}, true);
    EXPECT_EQ(options.record, "");
    EXPECT_EQ(options.width, 1280);
    EXPECT_EQ(options.height, 720);
    EXPECT_TRUE(std::isinf(options.seconds));
}

TEST(Options, TakesARecordingAndItsStream) {
    const Options options = parsed({"--record", "out.mp4", "--stream=640x360", "--seconds", "2.5"}, true);
    EXPECT_EQ(options.record, "out.mp4");
    EXPECT_EQ(options.width, 640);
    EXPECT_EQ(options.height, 360);
    EXPECT_EQ(options.seconds, 2.5);
}

TEST(Options, AStreamIsASizeOfAPicture) {
    EXPECT_EQ(parsed({"--stream", "16384x1"}).width, 16384);
    for (const std::string text :
         {"", "x", "640", "640x", "x360", "0x360", "640x0", "-640x360", "640x360x", "640 x360", "16385x1", "1x16385"})
        EXPECT_EQ(refusal_of({"--stream", text}), "--stream is a size like 1280x720, not \"" + text + "\"");
}

TEST(Options, RefusesWhatMakesNoSense) {
    EXPECT_EQ(refusal_of({"--seconds", "0"}, true), "--seconds must be more than 0");
    EXPECT_EQ(refusal_of({"--seconds", "-1"}, true), "--seconds must be more than 0");
    EXPECT_EQ(refusal_of({"--seconds", "1"}), "Unknown option --seconds");
    EXPECT_EQ(refusal_of({"word"}), "\"word\" is no option; --help lists them");
}

} // namespace
