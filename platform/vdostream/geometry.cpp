#include "platform/vdostream/geometry.h"

#include <libyuv.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace vdostream {
namespace {

constexpr std::uint8_t black_luma = 16;
constexpr std::uint8_t grey_chroma = 128;

struct Rectangle {
    int x;
    int y;
    int width;
    int height;
};

/** value * numerator / denominator, rounded to the nearest even number, at least 2 and at most `limit`. */
int even_share(int value, std::int64_t numerator, std::int64_t denominator, int limit) {
    const std::int64_t half = (value * numerator + denominator) / (2 * denominator);
    return static_cast<int>(std::clamp<std::int64_t>(half * 2, std::min(2, limit), limit));
}

int even_offset(int outer, int inner) {
    return (outer - inner) / 4 * 2;
}

/** The picture's part to show and its place in the unrotated frame. */
void arrange(const Nv12View& picture, const Geometry& shape, Rectangle& part, Rectangle& place) {
    part = {0, 0, picture.width, picture.height};
    place = {0, 0, shape.width, shape.height};
    // Width : height as it is meant to be seen. Sizes below 2^15 and pixel shapes up to 2^10 keep the products in 64
    // bits.
    const std::int64_t shown_width = std::int64_t{picture.width} * picture.pixel_width;
    const std::int64_t shown_height = std::int64_t{picture.height} * picture.pixel_height;
    const bool wider = shown_width * shape.height >= shown_height * shape.width;
    if (shape.aspect == AspectRule::fit) {
        if (wider) {
            place.height = even_share(shape.width, shown_height, shown_width, shape.height);
            place.y = even_offset(shape.height, place.height);
        } else {
            place.width = even_share(shape.height, shown_width, shown_height, shape.width);
            place.x = even_offset(shape.width, place.width);
        }
    } else if (shape.aspect == AspectRule::crop) {
        if (wider) {
            part.width =
                even_share(picture.width, shape.width * shown_height, shape.height * shown_width, picture.width);
            part.x = even_offset(picture.width, part.width);
        } else {
            part.height =
                even_share(picture.height, shape.height * shown_width, shape.width * shown_height, picture.height);
            part.y = even_offset(picture.height, part.height);
        }
    }
}

bool scale(const Nv12View& picture, const Geometry& shape, std::uint8_t* frame) {
    Rectangle part{};
    Rectangle place{};
    arrange(picture, shape, part, place);
    const std::ptrdiff_t stride = shape.width;
    std::uint8_t* chroma = frame + stride * shape.height;
    if (place.width != shape.width || place.height != shape.height) {
        std::memset(frame, black_luma, static_cast<std::size_t>(stride * shape.height));
        std::memset(chroma, grey_chroma, static_cast<std::size_t>(stride * shape.height / 2));
    }
    const std::ptrdiff_t part_y = part.y;
    const std::ptrdiff_t place_y = place.y;
    // libyuv turns a picture of negative height upside down.
    const int part_height = picture.upright.flipped ? -part.height : part.height;
    return libyuv::NV12Scale(picture.luma + part_y * picture.luma_stride + part.x, picture.luma_stride,
                             picture.chroma + part_y / 2 * picture.chroma_stride + part.x, picture.chroma_stride,
                             part.width, part_height, frame + place_y * stride + place.x, shape.width,
                             chroma + place_y / 2 * stride + place.x, shape.width, place.width, place.height,
                             libyuv::kFilterBox) == 0;
}

bool rotate(const std::uint8_t* placed, const Geometry& shape, std::uint8_t* frame) {
    const std::ptrdiff_t luma_size = std::ptrdiff_t{shape.width} * shape.height;
    const bool on_its_side = shape.rotation != 180;
    const int turned_width = on_its_side ? shape.height : shape.width;
    const int turned_height = on_its_side ? shape.width : shape.height;
    const auto mode = static_cast<libyuv::RotationMode>(shape.rotation);
    const std::unique_ptr<std::uint8_t[]> planes(new (std::nothrow)
                                                     std::uint8_t[static_cast<std::size_t>(luma_size / 2)]);
    if (planes == nullptr)
        return false;
    std::uint8_t* u = planes.get();
    std::uint8_t* v = u + luma_size / 4;
    const int half = turned_width / 2;
    if (libyuv::RotatePlane(placed, shape.width, frame, turned_width, shape.width, shape.height, mode) != 0 ||
        libyuv::SplitRotateUV(placed + luma_size, shape.width, u, half, v, half, shape.width / 2, shape.height / 2,
                              mode) != 0)
        return false;
    libyuv::MergeUVPlane(u, half, v, half, frame + luma_size, turned_width, half, turned_height / 2);
    return true;
}

} // namespace

std::size_t frame_size(const Geometry& shape) {
    return static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(shape.height) * 3 / 2;
}

bool convert(const Nv12View& picture, const Geometry& shape, std::uint8_t* frame) {
    // One turn for both: a picture on its side is placed in a frame on its side.
    Geometry lying = shape;
    lying.rotation = (shape.rotation + picture.upright.turn) % 360;
    if (picture.upright.lies_on_its_side())
        std::swap(lying.width, lying.height);
    if (lying.rotation == 0)
        return scale(picture, lying, frame);
    const std::unique_ptr<std::uint8_t[]> placed(new (std::nothrow) std::uint8_t[frame_size(lying)]);
    return placed != nullptr && scale(picture, lying, placed.get()) && rotate(placed.get(), lying, frame);
}

} // namespace vdostream
