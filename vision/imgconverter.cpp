#include "vision/imgconverter.h"

#include "base/arithmetic.h"
#include "base/logger.h"

#include <libyuv.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

struct free_deleter {
    void operator()(uint8_t* bytes) const { std::free(bytes); }
};
using byte_buffer = std::unique_ptr<uint8_t, free_deleter>;

byte_buffer allocate_argb(unsigned int width, unsigned int height) {
    return byte_buffer(static_cast<uint8_t*>(std::malloc(size_t{width} * height * 4)));
}

/** The part of a frame that is kept, in its pixels. */
struct crop_region {
    int width;
    int height;
    unsigned int offset_x;
    unsigned int offset_y;
};

crop_region centre_crop(unsigned int src_width, unsigned int src_height, float aspect) {
    auto crop_width = static_cast<float>(src_width);
    float crop_height = crop_width / aspect;
    if (crop_height > static_cast<float>(src_height)) {
        crop_height = static_cast<float>(src_height);
        crop_width = crop_height * aspect;
    }
    return {float_to_int(crop_width), float_to_int(crop_height), (src_width - float_to_unsigned(crop_width)) / 2,
            (src_height - float_to_unsigned(crop_height)) / 2};
}

using four_pixels = uint8_t __attribute__((vector_size(16)));

/**
 * The pixel loop of ARGBtoRAW, four pixels a step: pixel by pixel the reordering costs a fifth of the whole conversion.
 * Each step writes four bytes too many, which the next one replaces; the last pixels are left to the loop. Gives the
 * number of pixels done.
 */
#if defined(__x86_64__)
__attribute__((target("ssse3")))
#endif
size_t
reorder_by_four(const uint8_t* src, uint8_t* dst, size_t pixels) {
    size_t i = 0;
    for (; i + 6 <= pixels; i += 4) {
        four_pixels argb;
        std::memcpy(&argb, src + 4 * i, sizeof argb);
        const four_pixels rgb =
            __builtin_shufflevector(argb, argb, 2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 3, 7, 11, 15);
        std::memcpy(dst + 3 * i, &rgb, sizeof rgb);
    }
    return i;
}

/** Every 64-bit Arm can; an x86 processor since SSSE3. */
bool can_shuffle_bytes() {
#if defined(__x86_64__)
    return __builtin_cpu_supports("ssse3") != 0;
#else
    return true;
#endif
}

bool fail(const std::string& what) {
    g_Logger.error("convertCropScaleU8yuvToRGB: Failed " + what);
    return false;
}

} // namespace

bool convertCropScaleU8yuvToRGB(const uint8_t* src, unsigned int src_width, unsigned int src_height, uint8_t* dst,
                                unsigned int dst_width, unsigned int dst_height) {
    const byte_buffer frame = allocate_argb(src_width, src_height);
    if (!frame)
        return fail("allocating big tempARGB buffer: " + std::to_string(errno));
    const byte_buffer scaled = allocate_argb(dst_width, dst_height);
    if (!scaled)
        return fail("allocating small tempARGB buffer: " + std::to_string(errno));

    const int width = static_cast<int>(src_width);
    const int stride = static_cast<int>(src_width * 4);
    const uint8_t* chroma = src == nullptr ? nullptr : src + size_t{src_width} * src_height;
    int result =
        libyuv::NV12ToARGB(src, width, chroma, width, frame.get(), stride, width, static_cast<int>(src_height));
    if (result != 0)
        return fail("NV12ToARGB(), result=" + std::to_string(result));

    const crop_region crop =
        centre_crop(src_width, src_height, static_cast<float>(dst_width) / static_cast<float>(dst_height));
    const uint8_t* cropped = frame.get() + size_t{crop.offset_y} * src_width * 4 + size_t{crop.offset_x} * 4;
    result = libyuv::ARGBScale(cropped, stride, crop.width, crop.height, scaled.get(), static_cast<int>(dst_width * 4),
                               static_cast<int>(dst_width), static_cast<int>(dst_height), libyuv::kFilterBilinear);
    if (result != 0)
        return fail("ARGBScale(), result=" + std::to_string(result));

    ARGBtoRAW(scaled.get(), dst, dst_width, dst_height);
    return true;
}

void ARGBtoRAW(const uint8_t* src, uint8_t* dst, unsigned int width, unsigned int height) {
    const size_t pixels = size_t{width} * height;
    size_t i = can_shuffle_bytes() ? reorder_by_four(src, dst, pixels) : 0;
    for (; i < pixels; ++i) {
        dst[3 * i] = src[4 * i + 2];
        dst[3 * i + 1] = src[4 * i + 1];
        dst[3 * i + 2] = src[4 * i];
    }
}
