#include "platform/vdostream/geometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ostream>
#include <random>
#include <utility>
#include <vector>

namespace vdostream {
void PrintTo(const Geometry& shape, std::ostream* out) {
    *out << shape.width << 'x' << shape.height << " turned " << shape.rotation << " aspect "
         << static_cast<int>(shape.aspect);
}
} // namespace vdostream

namespace {

using vdostream::AspectRule;
using vdostream::Geometry;
using vdostream::Nv12View;

/** A smooth picture, so that any sensible filter gives nearly the same; U and V differ. */
struct SmoothPicture {
    int width;
    int height;
    std::vector<std::uint8_t> luma;
    std::vector<std::uint8_t> chroma;

    SmoothPicture(int w, int h) : width(w), height(h) {
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x)
                luma.push_back(static_cast<std::uint8_t>(40.0 + 100.0 * x / w + 70.0 * y / h));
        }
        for (int y = 0; y < (h + 1) / 2; ++y) {
            for (int x = 0; x < (w + 1) / 2; ++x) {
                chroma.push_back(static_cast<std::uint8_t>(60.0 + 200.0 * x / w));
                chroma.push_back(static_cast<std::uint8_t>(200.0 - 200.0 * y / h));
            }
        }
    }
    Nv12View view() const { return {luma.data(), width, chroma.data(), (width + 1) / 2 * 2, width, height}; }
};

struct sample {
    double y;
    double u;
    double v;
};

/** From a point of the upright picture, in fractions, to the one that is stored. */
void take_from_upright(const vdostream::Orientation& upright, double& fx, double& fy) {
    for (int turned = 0; turned < upright.turn; turned += 90) {
        const double before = fx;
        fx = fy;
        fy = 1.0 - before;
    }
    fy = upright.flipped ? 1.0 - fy : fy;
}

/**
 * The naive model: where in the picture (fractions) the centre of frame pixel (x, y) comes from, in real numbers; false
 * on a bar. `margin` is set near an edge of the bars, where rounding to even pixels decides.
 */
bool source_of(const Nv12View& picture, const Geometry& shape, int x, int y, double& fx, double& fy, bool& margin) {
    double px = x + 0.5;
    double py = y + 0.5;
    // Undo the clockwise turn.
    if (shape.rotation == 90) {
        px = y + 0.5;
        py = shape.height - (x + 0.5);
    } else if (shape.rotation == 180) {
        px = shape.width - (x + 0.5);
        py = shape.height - (y + 0.5);
    } else if (shape.rotation == 270) {
        px = shape.width - (y + 0.5);
        py = x + 0.5;
    }
    double shown_width = picture.width * static_cast<double>(picture.pixel_width);
    double shown_height = picture.height * static_cast<double>(picture.pixel_height);
    if (picture.upright.lies_on_its_side())
        std::swap(shown_width, shown_height);
    double factor_x = shape.width / shown_width;
    double factor_y = shape.height / shown_height;
    if (shape.aspect == AspectRule::fit)
        factor_x = factor_y = std::min(factor_x, factor_y);
    else if (shape.aspect == AspectRule::crop)
        factor_x = factor_y = std::max(factor_x, factor_y);
    fx = (px - shape.width / 2.0) / (factor_x * shown_width) + 0.5;
    fy = (py - shape.height / 2.0) / (factor_y * shown_height) + 0.5;
    const double edge_x = 3.0 / (factor_x * shown_width);
    const double edge_y = 3.0 / (factor_y * shown_height);
    const auto near = [](double value, double edge) { return std::abs(value) < edge || std::abs(value - 1.0) < edge; };
    margin = near(fx, edge_x) || near(fy, edge_y);
    const bool shown = fx >= 0.0 && fx < 1.0 && fy >= 0.0 && fy < 1.0;
    take_from_upright(picture.upright, fx, fy);
    return shown;
}

sample expected_at(const Nv12View& picture, const Geometry& shape, int x, int y, bool& margin) {
    double fx = 0.0;
    double fy = 0.0;
    if (!source_of(picture, shape, x, y, fx, fy, margin))
        return {16.0, 128.0, 128.0};
    return {40.0 + 100.0 * fx + 70.0 * fy, 60.0 + 100.0 * fx, 200.0 - 100.0 * fy};
}

void expect_like_the_naive_model(const SmoothPicture& picture, const Nv12View& view, const Geometry& shape) {
    SCOPED_TRACE(testing::PrintToString(shape) + " of " + std::to_string(picture.width) + "x" +
                 std::to_string(picture.height));
    std::vector<std::uint8_t> frame(vdostream::frame_size(shape), 77);
    ASSERT_TRUE(vdostream::convert(view, shape, frame.data()));
    const bool turned = shape.rotation == 90 || shape.rotation == 270;
    const int width = turned ? shape.height : shape.width;
    const int height = turned ? shape.width : shape.height;
    double worst = 0.0;
    int compared = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            bool margin = false;
            const sample expected = expected_at(view, shape, x, y, margin);
            if (margin)
                continue;
            ++compared;
            const auto luma = static_cast<std::size_t>(y * width + x);
            const auto chroma = static_cast<std::size_t>(width * height + y / 2 * width + x / 2 * 2);
            worst = std::max({worst, std::abs(frame[luma] - expected.y), std::abs(frame[chroma] - expected.u),
                              std::abs(frame[chroma + 1] - expected.v)});
        }
    }
    EXPECT_GT(compared, width * height / 4);
    // Half a chroma pixel of siting, rounding to even places and the filter together.
    EXPECT_LT(worst, 12.0);
}

TEST(GeometryTest, EveryAspectAndRotationIsLikeTheNaiveModel) {
    const SmoothPicture wide(320, 180);
    const SmoothPicture tall(120, 200);
    for (const SmoothPicture* picture : {&wide, &tall}) {
        for (const AspectRule aspect : {AspectRule::fit, AspectRule::crop, AspectRule::stretch}) {
            for (const int rotation : {0, 90, 180, 270}) {
                expect_like_the_naive_model(*picture, picture->view(), {160, 120, rotation, aspect});
                expect_like_the_naive_model(*picture, picture->view(), {400, 180, rotation, aspect});
            }
        }
    }
}

TEST(GeometryTest, APictureThatWasTakenOnItsSideIsMadeUprightFirst) {
    const SmoothPicture wide(320, 180);
    const SmoothPicture odd(121, 201);
    for (const SmoothPicture* picture : {&wide, &odd}) {
        for (const AspectRule aspect : {AspectRule::fit, AspectRule::crop, AspectRule::stretch}) {
            for (const int turn : {0, 90, 180, 270}) {
                for (const bool flipped : {false, true}) {
                    SCOPED_TRACE(testing::Message() << "upright by " << turn << (flipped ? " and flipped" : ""));
                    Nv12View view = picture->view();
                    view.upright = {flipped, turn};
                    expect_like_the_naive_model(*picture, view, {160, 120, 0, aspect});
                    expect_like_the_naive_model(*picture, view, {160, 90, 90, aspect});
                    expect_like_the_naive_model(*picture, view, {90, 160, 270, aspect});
                }
            }
        }
    }
}

TEST(GeometryTest, ANonSquarePixelCountsInTheShape) {
    const SmoothPicture picture(180, 144);
    Nv12View view = picture.view();
    view.pixel_width = 16;
    view.pixel_height = 11;
    for (const AspectRule aspect : {AspectRule::fit, AspectRule::crop})
        expect_like_the_naive_model(picture, view, {320, 180, 0, aspect});
}

TEST(GeometryTest, FitPutsBlackBarsExactlyAtBothSides) {
    const SmoothPicture picture(64, 64);
    const Geometry shape{320, 180, 0, AspectRule::fit};
    std::vector<std::uint8_t> frame(vdostream::frame_size(shape));
    ASSERT_TRUE(vdostream::convert(picture.view(), shape, frame.data()));
    for (std::size_t x = 0; x < 320; ++x) {
        const bool bar = x < 70 || x >= 250;
        EXPECT_EQ(frame[x] == 16, bar) << x;
        EXPECT_TRUE(frame[320 * 180 + x] == 128 || !bar) << x;
    }
}

TEST(GeometryTest, TheSameShapeIsCopiedByteForByte) {
    const SmoothPicture picture(128, 96);
    const Geometry shape{128, 96, 0, AspectRule::fit};
    std::vector<std::uint8_t> frame(vdostream::frame_size(shape));
    ASSERT_TRUE(vdostream::convert(picture.view(), shape, frame.data()));
    std::vector<std::uint8_t> expected = picture.luma;
    expected.insert(expected.end(), picture.chroma.begin(), picture.chroma.end());
    EXPECT_EQ(frame, expected);
}

TEST(GeometryTest, OddTinyAndHugeShapesStayWithinTheirMemory) {
    const unsigned seed = 20240611;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto pick = [&random](int from, int to) {
        return from + static_cast<int>(random() % static_cast<unsigned>(to - from + 1));
    };
    for (int round = 0; round < 150; ++round) {
        const SmoothPicture picture(pick(1, round % 2 == 0 ? 9 : 300), pick(1, round % 3 == 0 ? 9 : 300));
        Nv12View view = picture.view();
        view.pixel_width = pick(1, 1024);
        view.pixel_height = pick(1, 1024);
        view.upright = {pick(0, 1) == 1, pick(0, 3) * 90};
        const Geometry shape{pick(8, 150) * 2, pick(8, 150) * 2, pick(0, 3) * 90, static_cast<AspectRule>(pick(0, 2))};
        // Exactly as long as the frame, for the sanitizer to watch its end.
        std::vector<std::uint8_t> frame(vdostream::frame_size(shape));
        EXPECT_TRUE(vdostream::convert(view, shape, frame.data())) << testing::PrintToString(shape);
    }
}

} // namespace
