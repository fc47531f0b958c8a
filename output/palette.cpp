#include "output/palette.h"

#include <memory>

namespace {

constexpr uint32_t W = 0xFFFFFFFF;
constexpr uint32_t R = 0xFFFF0000;
constexpr uint32_t G = 0xFF00FF00;
constexpr uint32_t Y = 0xFFFFFF00;
constexpr uint32_t O = 0xFFFF9900;
constexpr uint32_t N = 0xFF808080; // grey

constexpr int kTileSide = 8;                              // pixels
constexpr int kTileStride = kTileSide * sizeof(uint32_t); // bytes

struct surface_deleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};

const uint32_t* tile_of(int32_t colorIndex) {
    switch (colorIndex) {
    case Red:
        return redCheckerboardPatternData;
    case Green:
        return greenCheckerboardPatternData;
    case Yellow:
        return yellowCheckerboardPatternData;
    case Orange:
        return orangeCheckerboardPatternData;
    default:
        return grayCheckerboardPatternData;
    }
}

} // namespace

// clang-format off
const uint32_t redCheckerboardPatternData[64] = {
    R, R, R, R, W, W, W, W,
    R, R, R, R, W, W, W, W,
    R, R, R, R, W, W, W, W,
    R, R, R, R, W, W, W, W,
    W, W, W, W, R, R, R, R,
    W, W, W, W, R, R, R, R,
    W, W, W, W, R, R, R, R,
    W, W, W, W, R, R, R, R,
};
const uint32_t greenCheckerboardPatternData[64] = {
    G, G, G, G, W, W, W, W,
    G, G, G, G, W, W, W, W,
    G, G, G, G, W, W, W, W,
    G, G, G, G, W, W, W, W,
    W, W, W, W, G, G, G, G,
    W, W, W, W, G, G, G, G,
    W, W, W, W, G, G, G, G,
    W, W, W, W, G, G, G, G,
};
const uint32_t yellowCheckerboardPatternData[64] = {
    Y, Y, Y, Y, W, W, W, W,
    Y, Y, Y, Y, W, W, W, W,
    Y, Y, Y, Y, W, W, W, W,
    Y, Y, Y, Y, W, W, W, W,
    W, W, W, W, Y, Y, Y, Y,
    W, W, W, W, Y, Y, Y, Y,
    W, W, W, W, Y, Y, Y, Y,
    W, W, W, W, Y, Y, Y, Y,
};
const uint32_t orangeCheckerboardPatternData[64] = {
    O, O, O, O, W, W, W, W,
    O, O, O, O, W, W, W, W,
    O, O, O, O, W, W, W, W,
    O, O, O, O, W, W, W, W,
    W, W, W, W, O, O, O, O,
    W, W, W, W, O, O, O, O,
    W, W, W, W, O, O, O, O,
    W, W, W, W, O, O, O, O,
};
const uint32_t grayCheckerboardPatternData[64] = {
    N, N, N, N, W, W, W, W,
    N, N, N, N, W, W, W, W,
    N, N, N, N, W, W, W, W,
    N, N, N, N, W, W, W, W,
    W, W, W, W, N, N, N, N,
    W, W, W, W, N, N, N, N,
    W, W, W, W, N, N, N, N,
    W, W, W, W, N, N, N, N,
};
// clang-format on

cairo_pattern_t* getCheckeredPattern(int32_t colorIndex) {
    // cairo only reads the pixels of a surface that nobody draws on.
    auto* pixels = reinterpret_cast<unsigned char*>(const_cast<uint32_t*>(tile_of(colorIndex)));
    const std::unique_ptr<cairo_surface_t, surface_deleter> tile(
        cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_ARGB32, kTileSide, kTileSide, kTileStride));
    cairo_pattern_t* pattern = cairo_pattern_create_for_surface(tile.get());
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_REPEAT);
    cairo_pattern_set_filter(pattern, CAIRO_FILTER_NEAREST);
    return pattern;
}
