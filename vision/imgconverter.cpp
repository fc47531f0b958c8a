#include "vision/imgconverter.h"

#include "base/arithmetic.h"
#include "base/logger.h"

#include <libyuv.h>

#include <cerrno>
#include <cstdlib>
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
    libyuv::ARGBToRAW(src, static_cast<int>(width * 4), dst, static_cast<int>(width * 3), static_cast<int>(width),
                      static_cast<int>(height));
}
