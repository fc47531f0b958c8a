#pragma once

#include <cairo.h>

#include <cstdint>

/** The colours of the overlay. OverlayManager::usePaletteColor has their shades. */
enum PaletteColors : int32_t { Black = 0, Red = 1, Green = 2, Blue = 3, Yellow = 4, White = 5, Orange = 6 };

/**
 * Opaque tiles of 8 x 8 pixels, rows packed, one ARGB word a pixel: the colour in the top left and bottom right
 * quarters, white in the others.
 */
extern const uint32_t redCheckerboardPatternData[64];
extern const uint32_t greenCheckerboardPatternData[64];
extern const uint32_t yellowCheckerboardPatternData[64];
extern const uint32_t orangeCheckerboardPatternData[64];
extern const uint32_t grayCheckerboardPatternData[64];

/**
 * The tile of a palette colour, repeated over the whole picture from its top left corner and never smoothed; grey for a
 * colour without a tile. The caller destroys it.
 */
cairo_pattern_t* getCheckeredPattern(int32_t colorIndex);
