#include "platform/axoverlay/blend.h"

#include <algorithm>
#include <cstring>

namespace host_overlay {
namespace {

/** Gaps shorter than this many pixels stay inside a run: visiting zeros is cheaper than starting anew. */
constexpr int joined_gap = 16;

bool empty_block(const std::uint32_t* upper, const std::uint32_t* lower, int x) {
    std::uint64_t above = 0;
    std::uint64_t below = 0;
    std::memcpy(&above, upper + x, sizeof above);
    std::memcpy(&below, lower + x, sizeof below);
    return (above | below) == 0;
}

struct Premultiplied {
    int a, r, g, b;

    explicit Premultiplied(std::uint32_t argb)
        : a(static_cast<int>(argb >> 24)), r(static_cast<int>(argb >> 16 & 0xFF)),
          g(static_cast<int>(argb >> 8 & 0xFF)), b(static_cast<int>(argb & 0xFF)) {}
};

std::uint8_t to_byte(int value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

// The colour weights are in 1/256, alpha in 1/255; both sums are kept over the common denominator so that only one
// rounding happens. All terms stay below 2^27.
constexpr int one = 256 * 255;

std::uint8_t blend_luma(const Premultiplied& p, std::uint8_t below) {
    const int colour = 66 * p.r + 129 * p.g + 25 * p.b;
    return to_byte((colour * 255 + 16 * 256 * p.a + 256 * (255 - p.a) * below + one / 2) / one);
}

/** `colour` and `clear` (255 - alpha) are summed over the four pixels of the block. */
std::uint8_t blend_chroma(int colour, int clear, std::uint8_t below) {
    const int sum = colour * 255 + 256 * clear * (below - 128);
    return to_byte((sum + 128 * 4 * one + 2 * one) / (4 * one));
}

} // namespace

void find_runs(const ArgbView& overlay, std::vector<Run>& runs) {
    runs.clear();
    for (int y = 0; y < overlay.height; y += 2) {
        const std::uint32_t* upper = overlay.row(y);
        const std::uint32_t* lower = overlay.row(y + 1);
        bool in_row = false;
        for (int x = 0; x < overlay.width; x += 2) {
            if (empty_block(upper, lower, x))
                continue;
            if (in_row && x - runs.back().end < joined_gap) {
                runs.back().end = x + 2;
            } else {
                runs.push_back({y, x, x + 2});
                in_row = true;
            }
        }
    }
}

void clear_runs(const ArgbView& overlay, const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        std::fill(overlay.row(run.y) + run.begin, overlay.row(run.y) + run.end, 0U);
        std::fill(overlay.row(run.y + 1) + run.begin, overlay.row(run.y + 1) + run.end, 0U);
    }
}

void blend_runs(const ArgbView& overlay, const std::vector<Run>& runs, Nv12Picture& picture) {
    for (const Run& run : runs) {
        if (run.y >= picture.height)
            break;
        const std::uint32_t* argb[2] = {overlay.row(run.y), overlay.row(run.y + 1)};
        std::uint8_t* luma[2] = {picture.luma() + static_cast<std::ptrdiff_t>(run.y) * picture.width,
                                 picture.luma() + static_cast<std::ptrdiff_t>(run.y + 1) * picture.width};
        std::uint8_t* chroma = picture.chroma() + static_cast<std::ptrdiff_t>(run.y / 2) * picture.width;
        const int end = std::min(run.end, picture.width);
        for (int x = run.begin; x < end; x += 2) {
            if (empty_block(argb[0], argb[1], x))
                continue;
            int u = 0;
            int v = 0;
            int clear = 0;
            for (int row = 0; row < 2; ++row) {
                for (int column = x; column < x + 2; ++column) {
                    const Premultiplied p(argb[row][column]);
                    luma[row][column] = blend_luma(p, luma[row][column]);
                    u += 112 * p.b - 74 * p.g - 38 * p.r;
                    v += 112 * p.r - 94 * p.g - 18 * p.b;
                    clear += 255 - p.a;
                }
            }
            chroma[x] = blend_chroma(u, clear, chroma[x]);
            chroma[x + 1] = blend_chroma(v, clear, chroma[x + 1]);
        }
    }
}

} // namespace host_overlay
