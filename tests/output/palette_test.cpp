#include "output/palette.h"
#include "tests/output/picture.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

struct pattern_deleter {
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};

constexpr uint32_t kWhite = 0xFFFFFFFF;

const struct {
    int32_t index;
    uint32_t color;
    const uint32_t* tile;
} kTable[] = {
    {Black, 0xFF808080, grayCheckerboardPatternData},    {Red, 0xFFFF0000, redCheckerboardPatternData},
    {Green, 0xFF00FF00, greenCheckerboardPatternData},   {Blue, 0xFF808080, grayCheckerboardPatternData},
    {Yellow, 0xFFFFFF00, yellowCheckerboardPatternData}, {White, 0xFF808080, grayCheckerboardPatternData},
    {Orange, 0xFFFF9900, orangeCheckerboardPatternData}, {7, 0xFF808080, grayCheckerboardPatternData},
    {-1, 0xFF808080, grayCheckerboardPatternData},
};

} // namespace

TEST(PaletteTest, NumbersItsColoursSo) {
    EXPECT_EQ(Black, 0);
    EXPECT_EQ(Red, 1);
    EXPECT_EQ(Green, 2);
    EXPECT_EQ(Blue, 3);
    EXPECT_EQ(Yellow, 4);
    EXPECT_EQ(White, 5);
    EXPECT_EQ(Orange, 6);
}

TEST(PaletteTest, HasTilesOfFourQuarters) {
    static_assert(sizeof redCheckerboardPatternData == 256);
    for (const auto& [index, color, tile] : kTable)
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                EXPECT_EQ(tile[8 * y + x], (x < 4) == (y < 4) ? color : kWhite) << index << " " << x << "," << y;
}

TEST(PaletteTest, FillsWithSharpSquaresOfFourPixelsFromTheCornerOfThePicture) {
    for (const auto& entry : kTable) {
        const picture drawn(41, 19);
        const std::unique_ptr<cairo_pattern_t, pattern_deleter> pattern(getCheckeredPattern(entry.index));
        EXPECT_EQ(cairo_pattern_get_extend(pattern.get()), CAIRO_EXTEND_REPEAT);
        EXPECT_EQ(cairo_pattern_get_filter(pattern.get()), CAIRO_FILTER_NEAREST);
        cairo_set_source(drawn.cairo(), pattern.get());
        cairo_paint(drawn.cairo());
        for (int y = 0; y < drawn.height(); ++y)
            for (int x = 0; x < drawn.width(); ++x)
                ASSERT_EQ(drawn.at(x, y), (x / 4 + y / 4) % 2 == 0 ? entry.color : kWhite)
                    << entry.index << " " << x << "," << y;
    }
}

TEST(PaletteTest, BelongsToTheCallerAlone) {
    const std::unique_ptr<cairo_pattern_t, pattern_deleter> pattern(getCheckeredPattern(Red));
    EXPECT_EQ(cairo_pattern_get_reference_count(pattern.get()), 1U);
    cairo_surface_t* tile = nullptr;
    ASSERT_EQ(cairo_pattern_get_surface(pattern.get(), &tile), CAIRO_STATUS_SUCCESS);
    EXPECT_EQ(cairo_surface_get_reference_count(tile), 1U);
}
