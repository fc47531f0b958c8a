#include "platform/vdostream/outage_card.h"
#include "tests/platform/vdostream/test_video.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

namespace {

using vdostream::Nv12View;
using vdostream::OutageCard;

constexpr std::time_t noon = 12 * 3600;

/** Pixels of letters in the part of the card, in per cent of its height. */
long letters(const Nv12View& card, int from, int to) {
    const std::uint8_t* luma = card.luma;
    return std::count_if(luma + card.luma_stride * (card.height * from / 100),
                         luma + card.luma_stride * (card.height * to / 100),
                         [](std::uint8_t value) { return value > 150; });
}

TEST(OutageCardTest, IsPlainButForALineOfLettersInItsMiddle) {
    OutageCard card(1280, 720, noon);
    const Nv12View shown = card.pixels();
    EXPECT_EQ(shown.width, 1280);
    EXPECT_EQ(shown.height, 720);
    EXPECT_EQ(letters(shown, 0, 40), 0);
    EXPECT_GT(letters(shown, 40, 60), 2000);
    EXPECT_EQ(letters(shown, 60, 100), 0);
    EXPECT_TRUE(std::all_of(shown.chroma, shown.chroma + 1280 * 360, [](std::uint8_t value) { return value == 128; }));
    EXPECT_EQ(card.pixels().luma, shown.luma) << "it is drawn once";
}

TEST(OutageCardTest, TellsTheLocalTime) {
    const auto drawn_at = [](const char* zone, std::time_t since) {
        const test_video::environment local{{"TZ", zone}};
        tzset();
        OutageCard card(640, 360, since);
        const Nv12View shown = card.pixels();
        return std::vector<std::uint8_t>(shown.luma, shown.luma + 640 * 360);
    };
    EXPECT_EQ(drawn_at("UTC0", noon), drawn_at("XYZ-2", noon - 7200));
    EXPECT_NE(drawn_at("UTC0", noon), drawn_at("XYZ-2", noon));
    EXPECT_EQ(drawn_at("UTC0", noon), drawn_at("UTC0", noon + 59)) << "to the minute";
    tzset();
}

TEST(OutageCardTest, HasAnEvenSizeWhateverTheSourceSaysOfItself) {
    for (const auto& [width, height] : {std::pair{0, 0}, {-5, 1}, {641, 359}, {64, 4000}}) {
        OutageCard card(width, height, noon);
        const Nv12View shown = card.pixels();
        EXPECT_EQ(shown.width % 2, 0);
        EXPECT_EQ(shown.height % 2, 0);
        EXPECT_GE(shown.width, 64);
        EXPECT_GE(shown.height, 64);
        EXPECT_EQ(shown.luma[0], 48);
        EXPECT_EQ(shown.chroma[shown.width * shown.height / 2 - 1], 128);
    }
}

} // namespace
