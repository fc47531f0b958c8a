#pragma once

#include "detection/common_structs.h"

#include <cstdint>
#include <vector>

/** A rectangle that is drawn on every stream with a role, in pixels of the analysed stream. */
struct UserRectangle {
    rectangle rect;
    int32_t colorIndex{}; // of PaletteColors
};

/** Filled by OverlayManager::addUserRectangle, drawn in this order. */
extern UserRectangle g_UserRectangles[16];
/** How many of them are in use. */
extern int32_t g_nUserRectangles;

/** The ones in use. Any thread, as are adding and clearing. */
std::vector<UserRectangle> copy_user_rectangles();
