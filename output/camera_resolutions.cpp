#include "output/camera_resolutions.h"

#include "base/logger.h"
#include "base/platform_handles.h"

#include <vdo-channel.h>

#include <memory>

namespace {

struct channel_list_deleter {
    void operator()(GList* channels) const { g_list_free_full(channels, g_object_unref); }
};

} // namespace

std::set<Resolution> getCameraResolutions() {
    const std::unique_ptr<GList, channel_list_deleter> channels(vdo_channel_get_all(nullptr));
    if (channels == nullptr) {
        g_Logger.error("getCameraResolutions: Failed to get all channels.");
        return {};
    }
    g_Logger.info("getCameraResolutions: Successfully got all channels.");

    std::set<Resolution> resolutions;
    for (const GList* item = channels.get(); item != nullptr; item = item->next) {
        const g_free_ptr<VdoResolutionSet> offered(
            vdo_channel_get_resolutions(static_cast<VdoChannel*>(item->data), nullptr, nullptr));
        if (offered == nullptr)
            continue;
        for (gsize i = 0; i < offered->count; ++i)
            resolutions.insert({offered->resolutions[i].width, offered->resolutions[i].height});
    }
    return resolutions;
}

std::string getCamerasResolutionsAsCsv() {
    std::string csv;
    for (const auto& [width, height] : getCameraResolutions())
        csv += std::to_string(width) + "x" + std::to_string(height) + ",";
    return csv;
}
