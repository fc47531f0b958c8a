#pragma once

#include <vdo-types.h>

#include <string>
#include <vector>

namespace host_overlay {

/** The only camera there is. */
constexpr int only_camera = 1;

/** What channel 1 of the camera offers, in the camera's order. Throws std::runtime_error when it does not say. */
std::vector<VdoResolution> channel_resolutions();

bool offers(const std::vector<VdoResolution>& resolutions, int width, int height);

/** The one with the most pixels. REQUIRES: not empty. */
VdoResolution largest(const std::vector<VdoResolution>& resolutions);

/** "1920x1080, 640x360". */
std::string list_text(const std::vector<VdoResolution>& resolutions);

} // namespace host_overlay
