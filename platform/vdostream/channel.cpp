#include "platform/vdostream/channel.h"

#include "platform/common/settings.h"
#include "platform/vdostream/error.h"
#include "platform/vdostream/object.h"
#include "platform/vdostream/settings.h"
#include "vdo-channel.h"

#include <algorithm>
#include <memory>
#include <string>

namespace vdostream {

std::vector<VdoResolution> offered_resolutions() {
    const std::string variable = platform::environment("KORVEX_VDO_RESOLUTIONS");
    if (variable.empty())
        return {{1920, 1080}, {1280, 960}, {1280, 720}, {800, 600}, {800, 450}, {640, 480}, {640, 360}};
    std::vector<VdoResolution> offered;
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
        end = variable.find(',', begin);
        const std::string entry = variable.substr(begin, end - begin);
        const auto [width, height] = platform::parse_size(entry).value_or(platform::Size());
        offered.push_back({static_cast<guint32>(width), static_cast<guint32>(height)});
        if (!is_possible_size(offered.back().width, offered.back().height))
            throw Failure(Code::bad_setting, "KORVEX_VDO_RESOLUTIONS: \"" + entry +
                                                 "\" is not a resolution; give WIDTHxHEIGHT, even numbers from 16 to "
                                                 "4096, separated by commas");
    }
    return offered;
}

} // namespace vdostream

using vdostream::Code;
using vdostream::guarded;
using vdostream::need;

struct _VdoChannel : vdostream::Object<guint> {};

VdoChannel* vdo_channel_get(guint channel_nbr, GError** error) {
    return guarded(error, [&] {
        if (channel_nbr != vdostream::only_channel)
            throw vdostream::Failure(Code::bad_argument, "There is no video channel " + std::to_string(channel_nbr) +
                                                             "; the only one is 1");
        return vdostream::make_object<VdoChannel>("KorvexVdoChannel", std::make_unique<guint>(channel_nbr));
    });
}

GList* vdo_channel_get_all(GError** error) {
    return g_list_append(nullptr, vdo_channel_get(vdostream::only_channel, error));
}

VdoResolutionSet* vdo_channel_get_resolutions(VdoChannel* channel, VdoMap* /*filter*/, GError** error) {
    return guarded(error, [&] {
        need(channel != nullptr, Code::bad_argument, "No video channel was given");
        const auto offered = vdostream::offered_resolutions();
        auto* set =
            static_cast<VdoResolutionSet*>(g_malloc(sizeof(VdoResolutionSet) + offered.size() * sizeof(VdoResolution)));
        set->count = offered.size();
        std::ranges::copy(offered, static_cast<VdoResolution*>(set->resolutions));
        return set;
    });
}
