#include "platform/vdostream/settings.h"

#include "platform/common/settings.h"
#include "platform/vdostream/channel.h"
#include "platform/vdostream/error.h"
#include "vdo-types.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace vdostream {
namespace {

constexpr std::array<std::string_view, 7> known_names = {"channel",  "format",    "width",          "height",
                                                         "rotation", "framerate", "buffer.strategy"};

[[noreturn]] void refuse(const std::string& why) {
    throw Failure(Code::bad_setting, why);
}

AspectRule read_aspect() {
    const std::string text = platform::environment_or("KORVEX_VDO_ASPECT", "fit");
    if (text == "fit")
        return AspectRule::fit;
    if (text == "crop")
        return AspectRule::crop;
    if (text == "stretch")
        return AspectRule::stretch;
    refuse("KORVEX_VDO_ASPECT is \"" + text + "\"; it must be fit, crop or stretch");
}

} // namespace

bool is_possible_size(std::uint32_t width, std::uint32_t height) {
    const auto possible = [](std::uint32_t size) { return size >= 16 && size <= 4096 && size % 2 == 0; };
    return possible(width) && possible(height);
}

StreamSettings read_settings(const MapValues& asked) {
    for (const auto& [name, value] : asked) {
        if (std::ranges::find(known_names, name) == known_names.end())
            refuse("Unknown stream setting \"" + name + "\"");
    }
    const std::uint32_t channel = value_or(asked, "channel", only_channel);
    const std::uint32_t format = value_or(asked, "format", VDO_FORMAT_YUV);
    const std::uint32_t width = value_or(asked, "width", 0);
    const std::uint32_t height = value_or(asked, "height", 0);
    const std::uint32_t rotation = value_or(asked, "rotation", 0);
    const std::uint32_t strategy = value_or(asked, "buffer.strategy", VDO_BUFFER_STRATEGY_INFINITE);
    if (channel != only_channel)
        refuse("There is no video channel " + std::to_string(channel) + "; the only one is 1");
    if (format != VDO_FORMAT_YUV)
        refuse("Stream format " + std::to_string(format) + " is not offered; only 3 (YUV, NV12) is");
    if (!is_possible_size(width, height))
        refuse("Stream size " + std::to_string(width) + "x" + std::to_string(height) +
               " is not possible; both must be even and from 16 to 4096");
    if (rotation != 0 && rotation != 90 && rotation != 180 && rotation != 270)
        refuse("Stream rotation " + std::to_string(rotation) + " is not possible; it must be 0, 90, 180 or 270");
    if (strategy != VDO_BUFFER_STRATEGY_NONE && strategy != VDO_BUFFER_STRATEGY_EXPLICIT &&
        strategy != VDO_BUFFER_STRATEGY_INFINITE)
        refuse("Buffer strategy " + std::to_string(strategy) + " is not offered; 3 (explicit) and 4 (infinite) are");
    return {{static_cast<int>(width), static_cast<int>(height), static_cast<int>(rotation), read_aspect()},
            value_or(asked, "framerate", 0),
            strategy == VDO_BUFFER_STRATEGY_EXPLICIT};
}

} // namespace vdostream
