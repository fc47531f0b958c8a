#pragma once

#include "scene/finding.h"

#include <axoverlay.h>

#include <cstdint>
#include <string>

/** What a video stream is to the overlays, told by its size alone. */
enum StreamType : int32_t {
    OtherStream = 0,       // nothing is drawn
    ApplicationStream = 1, // the size of the application's own stream
    OverlayStream = 2,     // chosen by the user for boxes
    AnonymizedStream = 3   // chosen by the user for filled boxes
};

/**
 * What the render callback is handed: the findings to draw and the sizes by which it knows the streams. Sizes are
 * pixels of a stream as delivered, before rotation.
 *
 * The web thread sets the user's two sizes while render callbacks read them. Width and height are two words, so a
 * callback may see the width of the new choice with the height of the old one. That does no harm: such a pair is gone
 * by the next redraw, and setting a size again that is already set changes nothing on the way.
 */
struct OverlayInfo {
    /** When two roles have the same size, the one named first in StreamType after `OtherStream` wins. */
    StreamType getStreamType(uint32_t width, uint32_t height) const;

    t_findings_list* pFindings = &g_findings; // read under g_FindingsMutex
    uint32_t appStreamWidth = 800;            // constant
    uint32_t appStreamHeight = 450;
    uint32_t overlayStreamWidth = 0; // 0 x 0: no stream
    uint32_t overlayStreamHeight = 0;
    uint32_t anonymizedStreamWidth = 0;
    uint32_t anonymizedStreamHeight = 0;
    axoverlay_stream_type appStreamType{}; // read by nothing
    bool renderOnUserStreams = false;      // read by nothing
};

extern OverlayInfo g_OverlayInfo;

/** Any thread; seen by the next redraw. */
void SetOverlayStreamResolution(uint32_t width, uint32_t height);
void SetAnonymizedStreamResolution(uint32_t width, uint32_t height);

/**
 * The same from a text such as "1280x720"; "0x0" switches the role off. Throws what std::stoi throws when the text does
 * not hold two numbers, and sets nothing then.
 */
void SetOverlayStreamResolutionFromString(const std::string& text);
void SetAnonymizedStreamResolutionFromString(const std::string& text);
