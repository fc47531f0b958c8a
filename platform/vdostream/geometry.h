#pragma once

#include <cstddef>
#include <cstdint>

namespace vdostream {

/** How a picture of another shape fills a stream's frame. */
enum class AspectRule {
    /** The whole picture, centred, with black bars. */
    fit,
    /** The largest centred part of the frame's shape. */
    crop,
    /** The whole picture over the whole frame, its shape changed. */
    stretch
};

/** What a stream's frames look like. */
struct Geometry {
    /** Pixels before rotation, both even. */
    int width;
    int height;
    /** Degrees clockwise: 0, 90, 180 or 270. */
    int rotation;
    AspectRule aspect;

    bool operator==(const Geometry&) const = default;
};

/** What makes a picture upright that was taken with the camera on its side, as its file says. */
struct Orientation {
    /** Its top and bottom change places, before it is turned. */
    bool flipped = false;
    /** Degrees clockwise: 0, 90, 180 or 270. */
    int turn = 0;

    bool operator==(const Orientation&) const = default;
    /** Its width becomes its height. */
    bool lies_on_its_side() const { return turn == 90 || turn == 270; }
};

/** Someone else's NV12 picture; any size from 1x1, the chroma planes rounded up. */
struct Nv12View {
    const std::uint8_t* luma;
    int luma_stride;
    const std::uint8_t* chroma;
    int chroma_stride;
    int width;
    int height;
    /** Shape of one pixel, wide : high, each from 1 to 1024; 1 : 1 when unknown. */
    int pixel_width = 1;
    int pixel_height = 1;
    Orientation upright{};
};

/** Bytes of one tightly packed NV12 frame. */
std::size_t frame_size(const Geometry& shape);

/**
 * Scales, places and rotates `picture`, made upright, into `frame` (frame_size bytes, NV12; height x width pixels when
 * turned by 90 or 270). Parts and bars begin at even pixels, so that luma and chroma stay aligned; bars are Y 16, U and
 * V 128. Allocates one frame when it has to rotate. False when memory is short.
 */
bool convert(const Nv12View& picture, const Geometry& shape, std::uint8_t* frame);

} // namespace vdostream
