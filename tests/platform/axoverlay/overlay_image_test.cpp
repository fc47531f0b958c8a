#include "platform/axoverlay/overlay_image.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace host_overlay;

Nv12Picture black(int width, int height) {
    Nv12Picture picture;
    picture.resize(width, height);
    return picture;
}

void paint(OverlayImage& image) {
    const CairoContext context = image.context();
    cairo_paint(context.get());
}

TEST(OverlayImage, ShowsWhatWasDrawnUntilItIsCleared) {
    OverlayImage image(4, 4);
    paint(image);
    Nv12Picture shown = black(4, 4);
    image.blend_onto(shown);
    EXPECT_EQ(shown.luma()[0], 16); // opaque black, in studio range
    Nv12Picture again = black(4, 4);
    image.blend_onto(again);
    EXPECT_EQ(again.bytes, shown.bytes);

    image.clear();
    Nv12Picture cleared = black(4, 4);
    image.blend_onto(cleared);
    EXPECT_EQ(cleared.bytes, black(4, 4).bytes);
}

TEST(OverlayImage, IsEmptyAfterAClearThatFollowsTheDrawingAtOnce) {
    OverlayImage image(6, 6);
    paint(image);
    image.clear();
    image.context();
    Nv12Picture picture = black(6, 6);
    image.blend_onto(picture);
    EXPECT_EQ(picture.bytes, black(6, 6).bytes);
}

TEST(OverlayImage, AnOddSizeIsDrawnToItsLastPixelAndNoFurther) {
    OverlayImage image(3, 5);
    paint(image);
    Nv12Picture picture = black(4, 6);
    image.blend_onto(picture);
    EXPECT_EQ(picture.luma()[4 * 4 + 2], 16);
    EXPECT_EQ(picture.luma()[4 * 4 + 3], 0);
    EXPECT_EQ(picture.luma()[5 * 4 + 2], 0);
}

TEST(OverlayImage, EachContextIsFreshAndOfTheImagesSize) {
    OverlayImage image(7, 9);
    cairo_set_operator(image.context().get(), CAIRO_OPERATOR_SOURCE);
    image.clear();
    const CairoContext context = image.context();
    EXPECT_EQ(cairo_get_operator(context.get()), CAIRO_OPERATOR_OVER);
    EXPECT_EQ(cairo_image_surface_get_width(cairo_get_target(context.get())), 7);
    EXPECT_EQ(cairo_image_surface_get_height(cairo_get_target(context.get())), 9);
    EXPECT_EQ(cairo_image_surface_get_format(cairo_get_target(context.get())), CAIRO_FORMAT_ARGB32);
}

TEST(OverlayImage, ImpossibleSizesAreRefused) {
    for (const int side : {0, -1, 32768, 2147483647}) {
        EXPECT_THROW(OverlayImage(side, 10), std::runtime_error) << side;
        EXPECT_THROW(OverlayImage(10, side), std::runtime_error) << side;
    }
}

} // namespace
