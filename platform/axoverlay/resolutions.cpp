#include "platform/axoverlay/resolutions.h"

#include "platform/common/glib.h"

#include <vdo-channel.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace host_overlay {

using platform::reason;

std::vector<VdoResolution> channel_resolutions() {
    g_autoptr(GError) error = nullptr;
    const platform::ObjectHandle<VdoChannel> channel(vdo_channel_get(only_camera, &error));
    if (channel == nullptr)
        throw std::runtime_error("the camera's video channel is not available: " + reason(error));
    g_autofree VdoResolutionSet* set = vdo_channel_get_resolutions(channel.get(), nullptr, &error);
    if (set == nullptr || set->count == 0)
        throw std::runtime_error("the camera's video channel lists no resolutions: " + reason(error));
    return {set->resolutions, set->resolutions + set->count};
}

bool offers(const std::vector<VdoResolution>& resolutions, int width, int height) {
    return std::ranges::any_of(resolutions, [&](const VdoResolution& r) {
        return static_cast<int>(r.width) == width && static_cast<int>(r.height) == height;
    });
}

VdoResolution largest(const std::vector<VdoResolution>& resolutions) {
    const auto pixels = [](const VdoResolution& r) { return std::uint64_t{r.width} * r.height; };
    return *std::ranges::max_element(resolutions, {}, pixels);
}

std::string list_text(const std::vector<VdoResolution>& resolutions) {
    std::string text;
    for (const VdoResolution& resolution : resolutions)
        text += (text.empty() ? "" : ", ") + std::to_string(resolution.width) + "x" + std::to_string(resolution.height);
    return text;
}

} // namespace host_overlay
