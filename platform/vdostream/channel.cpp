#include "platform/vdostream/channel.h"

#include "platform/common/settings.h"
#include "platform/vdostream/error.h"
#include "platform/vdostream/object.h"
#include "platform/vdostream/settings.h"
#include "vdo-channel.h"

#include <algorithm>
#include <memory>
#include <string_view>

namespace vdostream {
namespace {

bool parse_resolution(std::string_view text, VdoResolution& resolution) {
    const auto [width, height] = platform::parse_size(text).value_or(platform::Size());
    resolution = {static_cast<guint32>(width), static_cast<guint32>(height)};
    return is_possible_size(resolution.width, resolution.height);
}

} // namespace

bool offered_resolutions(std::vector<VdoResolution>& offered, std::string& why) {
    offered = {{1920, 1080}, {1280, 960}, {1280, 720}, {800, 600}, {800, 450}, {640, 480}, {640, 360}};
    const std::string variable = platform::environment("KORVEX_VDO_RESOLUTIONS");
    if (variable.empty())
        return true;
    offered.clear();
    std::string_view rest(variable);
    for (;;) {
        const auto comma = rest.find(',');
        const auto entry = rest.substr(0, comma);
        VdoResolution resolution{};
        if (!parse_resolution(entry, resolution)) {
            why = "KORVEX_VDO_RESOLUTIONS: \"" + std::string(entry) +
                  "\" is not a resolution; give WIDTHxHEIGHT, even numbers from 16 to 4096, separated by commas";
            return false;
        }
        offered.push_back(resolution);
        if (comma == std::string_view::npos)
            return true;
        rest.remove_prefix(comma + 1);
    }
}

} // namespace vdostream

using vdostream::Failure;
using vdostream::nothing;

struct _VdoChannel : vdostream::Object<guint> {};

VdoChannel* vdo_channel_get(guint channel_nbr, GError** error) {
    if (channel_nbr != vdostream::only_channel)
        return nothing(error, Failure::bad_argument,
                       "There is no video channel " + std::to_string(channel_nbr) + "; the only one is 1");
    return vdostream::make_object<VdoChannel>("KorvexVdoChannel", std::make_unique<guint>(channel_nbr));
}

GList* vdo_channel_get_all(GError** error) {
    return g_list_append(nullptr, vdo_channel_get(vdostream::only_channel, error));
}

VdoResolutionSet* vdo_channel_get_resolutions(VdoChannel* channel, VdoMap* /*filter*/, GError** error) {
    if (channel == nullptr)
        return nothing(error, Failure::bad_argument, "No video channel was given");
    std::vector<VdoResolution> offered;
    std::string why;
    if (!vdostream::offered_resolutions(offered, why))
        return nothing(error, Failure::bad_setting, why);
    auto* set =
        static_cast<VdoResolutionSet*>(g_malloc(sizeof(VdoResolutionSet) + offered.size() * sizeof(VdoResolution)));
    set->count = offered.size();
    std::copy(offered.begin(), offered.end(), static_cast<VdoResolution*>(set->resolutions));
    return set;
}
