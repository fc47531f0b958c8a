#pragma once

#include "output/resolution.h"

#include <cstdint>
#include <map>

/** What to draw on the streams of one size. */
struct OverlayRenderOptions {
    bool renderOverlays{};
    bool fillRectangles{};

    bool operator==(const OverlayRenderOptions&) const = default;
};

/** Options by stream size: a building block for choices finer than the three roles of OverlayInfo. */
struct OverlayRenderOptionsDict {
    /** Inserts or replaces; always true. */
    bool setOptions(const Resolution& resolution, const OverlayRenderOptions& options);

    /** False, and `options` untouched, for a size without options. */
    bool getOptions(const Resolution& resolution, OverlayRenderOptions& options) const;
    bool getOptions(uint32_t width, uint32_t height, OverlayRenderOptions& options) const;

    std::map<Resolution, OverlayRenderOptions> map;
};
