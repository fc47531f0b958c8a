#include "output/overlay_info.h"

#include "base/shared_field.h"
#include "output/resolution.h"

constinit OverlayInfo g_OverlayInfo;

namespace {

Resolution parse_resolution(const std::string& text) {
    const size_t first = text.find('x');
    const std::string width = text.substr(0, first);
    std::string height;
    if (first != std::string::npos)
        height = text.substr(first + 1, text.find('x', first + 1) - (first + 1));
    return {static_cast<uint32_t>(std::stoi(width)), static_cast<uint32_t>(std::stoi(height))};
}

} // namespace

StreamType OverlayInfo::getStreamType(uint32_t width, uint32_t height) const {
    if (width == appStreamWidth && height == appStreamHeight)
        return ApplicationStream;
    if (width == read_shared(overlayStreamWidth) && height == read_shared(overlayStreamHeight))
        return OverlayStream;
    if (width == read_shared(anonymizedStreamWidth) && height == read_shared(anonymizedStreamHeight))
        return AnonymizedStream;
    return OtherStream;
}

void SetOverlayStreamResolution(uint32_t width, uint32_t height) {
    write_shared(g_OverlayInfo.overlayStreamWidth, width);
    write_shared(g_OverlayInfo.overlayStreamHeight, height);
}

void SetAnonymizedStreamResolution(uint32_t width, uint32_t height) {
    write_shared(g_OverlayInfo.anonymizedStreamWidth, width);
    write_shared(g_OverlayInfo.anonymizedStreamHeight, height);
}

void SetOverlayStreamResolutionFromString(const std::string& text) {
    const auto [width, height] = parse_resolution(text);
    SetOverlayStreamResolution(width, height);
}

void SetAnonymizedStreamResolutionFromString(const std::string& text) {
    const auto [width, height] = parse_resolution(text);
    SetAnonymizedStreamResolution(width, height);
}
