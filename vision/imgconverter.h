#pragma once

#include <cstdint>

/**
 * Turns an NV12 frame into the network's input: centre crop to the aspect ratio of the result, bilinear scaling, 8-bit
 * R, G, B interleaved, rows packed.
 *
 * `src` holds src_width x src_height luma bytes followed at once by the chroma plane of half height, U before V; `dst`
 * receives dst_width x dst_height x 3 bytes. A wider frame loses equal stripes on the left and right, a taller one at
 * top and bottom. The work buffers are made and freed on every call.
 *
 * False, with a line in the log, when a buffer cannot be had or the frame cannot be converted (a null `src`, an empty
 * size); `dst` is then untouched.
 */
bool convertCropScaleU8yuvToRGB(const uint8_t* src, unsigned int src_width, unsigned int src_height, uint8_t* dst,
                                unsigned int dst_width, unsigned int dst_height);

/** Packed B, G, R, A bytes to packed R, G, B bytes. */
void ARGBtoRAW(const uint8_t* src, uint8_t* dst, unsigned int width, unsigned int height);
