#include "output/render_options.h"

bool OverlayRenderOptionsDict::setOptions(const Resolution& resolution, const OverlayRenderOptions& options) {
    map.insert_or_assign(resolution, options);
    return true;
}

bool OverlayRenderOptionsDict::getOptions(const Resolution& resolution, OverlayRenderOptions& options) const {
    const auto found = map.find(resolution);
    if (found == map.end())
        return false;
    options = found->second;
    return true;
}

bool OverlayRenderOptionsDict::getOptions(uint32_t width, uint32_t height, OverlayRenderOptions& options) const {
    return getOptions(Resolution{width, height}, options);
}
