#pragma once

#include <compare>

namespace host_overlay {

/** How a viewer wants the picture. Viewers with equal geometry share one stream and one encoding. */
struct Geometry {
    int width = 0;         // pixels, before rotation; one of the channel's resolutions
    int height = 0;        // pixels, before rotation
    int rotation = 0;      // degrees clockwise: 0, 90, 180 or 270
    bool mirrored = false; // left and right exchanged, after the rotation

    bool turned() const { return rotation == 90 || rotation == 270; }
    /** Size of the picture the viewer sees. */
    int picture_width() const { return turned() ? height : width; }
    int picture_height() const { return turned() ? width : height; }

    auto operator<=>(const Geometry&) const = default; // NOLINT(modernize-use-nullptr): its own 0 is meant
};

} // namespace host_overlay
