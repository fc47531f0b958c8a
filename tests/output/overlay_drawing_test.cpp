#include "output/overlay_manager.h"
#include "tests/doubles/core_fixture.h"
#include "tests/output/picture.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr uint32_t kNothing = 0;
constexpr uint32_t kRed = 0xFFFF0000;
constexpr uint32_t kGreen = 0xFF00FF00;
constexpr uint32_t kYellow = 0xFFFFFF00;
constexpr uint32_t kWhite = 0xFFFFFFFF;

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

class OverlayDrawingTest : public core_fixture {
  protected:
    picture drawn{100, 80};
    picture expected{100, 80};
    cairo_t* cairo = drawn.cairo();
};

/** An outline two pixels wide, pixel by pixel: the corner where the path starts has no joint. */
void outline(picture& onto, int x1, int y1, int x2, int y2, uint32_t color) {
    onto.fill(x1, y1 - 1, x2 + 1, y1 + 1, color);
    onto.fill(x2 - 1, y1 - 1, x2 + 1, y2 + 1, color);
    onto.fill(x1 - 1, y2 - 1, x2 + 1, y2 + 1, color);
    onto.fill(x1 - 1, y1, x1 + 1, y2 + 1, color);
}

void checkers(picture& onto, int x1, int y1, int x2, int y2, uint32_t color) {
    for (int y = y1; y < y2; ++y)
        for (int x = x1; x < x2; ++x)
            onto.fill(x, y, x + 1, y + 1, (x / 4 + y / 4) % 2 == 0 ? color : kWhite);
}

} // namespace

TEST_F(OverlayDrawingTest, HasTheseColours) {
    const struct {
        int32_t index;
        double red;
        double green;
        double blue;
    } table[] = {{Black, 0, 0, 0},  {Red, 1, 0, 0},   {Green, 0, 1, 0},   {Blue, 0, 0, 1},
                 {Yellow, 1, 1, 0}, {White, 1, 1, 1}, {Orange, 1, 0.6, 0}};
    for (const auto& entry : table)
        for (const double alpha : {1.0, 0.25}) {
            EXPECT_THAT(log_of([&] { OverlayManager::usePaletteColor(cairo, entry.index, alpha); }), IsEmpty());
            double red = -1;
            double green = -1;
            double blue = -1;
            double opacity = -1;
            cairo_pattern_get_rgba(cairo_get_source(cairo), &red, &green, &blue, &opacity);
            EXPECT_EQ(red, entry.red);
            EXPECT_EQ(green, entry.green);
            EXPECT_EQ(blue, entry.blue);
            EXPECT_EQ(opacity, alpha);
        }
}

TEST_F(OverlayDrawingTest, IsBlackForAColourOutsideThePaletteAndSaysSo) {
    for (const int32_t index : {-1, 7, kMin, kMax}) {
        EXPECT_THAT(log_of([&] { OverlayManager::usePaletteColor(cairo, index, 0.5); }),
                    ElementsAre("error|usePaletteColor: Unknown color index passed to OverlayManager::usePaletteColor. "
                                "Using Black."));
        double red = -1;
        double green = -1;
        double blue = -1;
        double opacity = -1;
        cairo_pattern_get_rgba(cairo_get_source(cairo), &red, &green, &blue, &opacity);
        EXPECT_EQ(red, 0);
        EXPECT_EQ(green, 0);
        EXPECT_EQ(blue, 0);
        EXPECT_EQ(opacity, 0.5);
    }
}

TEST_F(OverlayDrawingTest, OutlinesARectangle) {
    OverlayManager::drawRectangle(cairo, 10, 20, 60, 50, Red, 2, false);
    outline(expected, 10, 20, 60, 50, kRed);
    EXPECT_EQ(drawn.difference_to(expected), "");
}

TEST_F(OverlayDrawingTest, ReplacesWhatIsBelowAnOutline) {
    drawn.fill(0, 0, 100, 80, kWhite);
    cairo_set_operator(cairo, CAIRO_OPERATOR_DEST_OVER);
    OverlayManager::drawRectangle(cairo, 10, 20, 60, 50, Green, 2, false);
    EXPECT_EQ(cairo_get_operator(cairo), CAIRO_OPERATOR_SOURCE);
    expected.fill(0, 0, 100, 80, kWhite);
    outline(expected, 10, 20, 60, 50, kGreen);
    EXPECT_EQ(drawn.difference_to(expected), "");
}

TEST_F(OverlayDrawingTest, FillsARectangleWithCheckersOverTheInnerHalfOfItsOutline) {
    OverlayManager::drawRectangle(cairo, 10, 20, 61, 50, Yellow, 2, true);
    outline(expected, 10, 20, 61, 50, kYellow);
    checkers(expected, 10, 20, 61, 50, kYellow);
    EXPECT_EQ(drawn.difference_to(expected), "");
    EXPECT_FALSE(cairo_has_current_point(cairo));
}

TEST_F(OverlayDrawingTest, DrawsTwoRectanglesTwoLineWidthsApart) {
    OverlayManager::drawRectangle2(cairo, 20, 20, 60, 50, Red, 2, false);
    outline(expected, 20, 20, 60, 50, kRed);
    outline(expected, 16, 16, 64, 54, kRed);
    EXPECT_EQ(drawn.difference_to(expected), "");
}

TEST_F(OverlayDrawingTest, DrawsThreeRectanglesTwoLineWidthsApart) {
    OverlayManager::drawRectangle3(cairo, 20, 20, 60, 50, Red, 2, false);
    outline(expected, 20, 20, 60, 50, kRed);
    outline(expected, 16, 16, 64, 54, kRed);
    outline(expected, 12, 12, 68, 58, kRed);
    EXPECT_EQ(drawn.difference_to(expected), "");
}

TEST_F(OverlayDrawingTest, FillsEachOfSeveralRectanglesFromTheInnerToTheOuter) {
    OverlayManager::drawRectangle3(cairo, 20, 20, 60, 50, Red, 2, true);
    for (const int d : {0, 4, 8}) {
        outline(expected, 20 - d, 20 - d, 60 + d, 50 + d, kRed);
        checkers(expected, 20 - d, 20 - d, 60 + d, 50 + d, kRed);
    }
    EXPECT_EQ(drawn.difference_to(expected), "");

    picture two(100, 80);
    picture expected_two(100, 80);
    OverlayManager::drawRectangle2(two.cairo(), 20, 20, 60, 50, Blue, 2, true);
    for (const int d : {0, 4}) {
        outline(expected_two, 20 - d, 20 - d, 60 + d, 50 + d, 0xFF0000FF);
        checkers(expected_two, 20 - d, 20 - d, 60 + d, 50 + d, 0xFF808080);
    }
    EXPECT_EQ(two.difference_to(expected_two), "");
}

TEST_F(OverlayDrawingTest, CrossesTwoStrokes) {
    OverlayManager::drawCross(cairo, 30, 40, White, 2, 5);
    expected.fill(29, 35, 31, 45, kWhite);
    expected.fill(25, 39, 35, 41, kWhite);
    EXPECT_EQ(drawn.difference_to(expected), "");
    EXPECT_EQ(cairo_get_operator(cairo), CAIRO_OPERATOR_SOURCE);
}

TEST_F(OverlayDrawingTest, BoxesAPoint) {
    OverlayManager::drawBox(cairo, 30, 40, Green, 2, 6);
    outline(expected, 24, 34, 36, 46, kGreen);
    EXPECT_EQ(drawn.difference_to(expected), "");
    EXPECT_EQ(cairo_get_operator(cairo), CAIRO_OPERATOR_SOURCE);
}

TEST_F(OverlayDrawingTest, StrokesOrFillsACircleAHairShortOfTheFullTurn) {
    for (const bool fill : {false, true}) {
        picture circle(100, 80);
        picture bare(100, 80);
        OverlayManager::drawCircle(circle.cairo(), 50, 40, Red, 3, 20, fill);
        cairo_set_source_rgba(bare.cairo(), 1, 0, 0, 1);
        cairo_set_line_width(bare.cairo(), 3);
        cairo_arc(bare.cairo(), 50, 40, 20, 0, 6.283184);
        if (fill)
            cairo_stroke_preserve(bare.cairo());
        fill ? cairo_fill(bare.cairo()) : cairo_stroke(bare.cairo());
        EXPECT_EQ(circle.difference_to(bare), "");
        EXPECT_EQ(circle.at(50, 40), fill ? kRed : kNothing);
        EXPECT_EQ(circle.at(69, 40), kRed);
        EXPECT_EQ(circle.at(75, 40), kNothing);
        EXPECT_EQ(cairo_get_operator(circle.cairo()), CAIRO_OPERATOR_OVER);
        EXPECT_FALSE(cairo_has_current_point(circle.cairo()));
    }
}

TEST_F(OverlayDrawingTest, DoesNotJoinACircleToWhatWasDrawnBefore) {
    picture bare(100, 80);
    cairo_move_to(cairo, 0, 0);
    OverlayManager::drawCircle(cairo, 50, 40, Red, 3, 20, false);
    OverlayManager::drawCircle(bare.cairo(), 50, 40, Red, 3, 20, false);
    EXPECT_EQ(drawn.difference_to(bare), "");
}

TEST_F(OverlayDrawingTest, HasThreeLineStyles) {
    double dashes[2] = {};
    double offset = -1;
    OverlayManager::useDashedLineStyle(cairo);
    ASSERT_EQ(cairo_get_dash_count(cairo), 2);
    cairo_get_dash(cairo, dashes, &offset);
    EXPECT_THAT(dashes, ElementsAre(10, 3));
    EXPECT_EQ(offset, 0);
    OverlayManager::useDottedLineStyle(cairo);
    ASSERT_EQ(cairo_get_dash_count(cairo), 2);
    cairo_get_dash(cairo, dashes, &offset);
    EXPECT_THAT(dashes, ElementsAre(2, 1));
    EXPECT_EQ(offset, 0);
    OverlayManager::useSolidLineStyle(cairo);
    EXPECT_EQ(cairo_get_dash_count(cairo), 0);
}

TEST_F(OverlayDrawingTest, WritesLightTextWithAThinBlackRim) {
    picture bare(100, 80);
    for (cairo_t* each : {cairo, bare.cairo()}) {
        cairo_select_font_face(each, "Arial", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
        cairo_set_font_size(each, 30);
    }
    OverlayManager::drawText(cairo, "Car", 10.5, 50.25, Yellow);
    cairo_move_to(bare.cairo(), 10.5, 50.25);
    cairo_text_path(bare.cairo(), "Car");
    cairo_set_source_rgba(bare.cairo(), 1, 1, 0, 1);
    cairo_fill_preserve(bare.cairo());
    cairo_set_source_rgba(bare.cairo(), 0, 0, 0, 1);
    cairo_set_line_width(bare.cairo(), 1);
    cairo_stroke(bare.cairo());
    EXPECT_EQ(drawn.difference_to(bare), "");
    EXPECT_FALSE(cairo_has_current_point(cairo));

    int light = 0;
    int dark = 0;
    for (int y = 0; y < drawn.height(); ++y)
        for (int x = 0; x < drawn.width(); ++x) {
            light += drawn.at(x, y) == kYellow ? 1 : 0;
            dark += (drawn.at(x, y) & 0x808080) == 0 && drawn.at(x, y) >= 0x80000000 ? 1 : 0;
        }
    EXPECT_GT(light, 50);
    EXPECT_GT(dark, 10);
}

TEST_F(OverlayDrawingTest, WrapsCoordinatesThatDoNotFit) {
    OverlayManager::drawRectangle2(cairo, kMin, kMin, kMax, kMax, Red, kMax, true);
    OverlayManager::drawRectangle3(cairo, kMin, 0, 5, kMax, Red, kMin, false);
    OverlayManager::drawCross(cairo, kMax, kMin, White, kMax, kMax);
    OverlayManager::drawBox(cairo, kMin, kMax, White, 1, kMax);
    EXPECT_EQ(cairo_status(cairo), CAIRO_STATUS_SUCCESS);
}
