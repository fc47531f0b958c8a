#include "platform/vdostream/settings.h"

#include "platform/common/settings.h"
#include "platform/vdostream/channel.h"
#include "vdo-types.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace vdostream {
namespace {

constexpr std::array<std::string_view, 7> known_names = {"channel",  "format",    "width",          "height",
                                                         "rotation", "framerate", "buffer.strategy"};

bool read_aspect(AspectRule& aspect, std::string& why) {
    const std::string text = platform::environment("KORVEX_VDO_ASPECT");
    if (text.empty() || text == "fit") {
        aspect = AspectRule::fit;
    } else if (text == "crop") {
        aspect = AspectRule::crop;
    } else if (text == "stretch") {
        aspect = AspectRule::stretch;
    } else {
        why = "KORVEX_VDO_ASPECT is \"" + text + "\"; it must be fit, crop or stretch";
        return false;
    }
    return true;
}

} // namespace

bool is_possible_size(std::uint32_t width, std::uint32_t height) {
    const auto possible = [](std::uint32_t size) { return size >= 16 && size <= 4096 && size % 2 == 0; };
    return possible(width) && possible(height);
}

bool read_settings(const MapValues& asked, StreamSettings& settings, std::string& why) {
    for (const auto& [name, value] : asked) {
        if (std::find(known_names.begin(), known_names.end(), name) == known_names.end()) {
            why = "Unknown stream setting \"" + name + "\"";
            return false;
        }
    }
    const std::uint32_t channel = value_or(asked, "channel", only_channel);
    const std::uint32_t format = value_or(asked, "format", VDO_FORMAT_YUV);
    const std::uint32_t width = value_or(asked, "width", 0);
    const std::uint32_t height = value_or(asked, "height", 0);
    const std::uint32_t rotation = value_or(asked, "rotation", 0);
    const std::uint32_t strategy = value_or(asked, "buffer.strategy", VDO_BUFFER_STRATEGY_INFINITE);
    if (channel != only_channel)
        why = "There is no video channel " + std::to_string(channel) + "; the only one is 1";
    else if (format != VDO_FORMAT_YUV)
        why = "Stream format " + std::to_string(format) + " is not offered; only 3 (YUV, NV12) is";
    else if (!is_possible_size(width, height))
        why = "Stream size " + std::to_string(width) + "x" + std::to_string(height) +
              " is not possible; both must be even and from 16 to 4096";
    else if (rotation != 0 && rotation != 90 && rotation != 180 && rotation != 270)
        why = "Stream rotation " + std::to_string(rotation) + " is not possible; it must be 0, 90, 180 or 270";
    else if (strategy != VDO_BUFFER_STRATEGY_NONE && strategy != VDO_BUFFER_STRATEGY_EXPLICIT &&
             strategy != VDO_BUFFER_STRATEGY_INFINITE)
        why = "Buffer strategy " + std::to_string(strategy) + " is not offered; 3 (explicit) and 4 (infinite) are";
    AspectRule aspect{};
    if (!why.empty() || !read_aspect(aspect, why))
        return false;
    settings.shape = {static_cast<int>(width), static_cast<int>(height), static_cast<int>(rotation), aspect};
    settings.framerate = value_or(asked, "framerate", 0);
    settings.explicit_buffers = strategy == VDO_BUFFER_STRATEGY_EXPLICIT;
    return true;
}

} // namespace vdostream
