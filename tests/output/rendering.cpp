#include "tests/output/rendering.h"

#include "app/app_main.h"
#include "output/overlay_manager.h"

void rendering::begin(int analysed_width, int analysed_height) {
    g_findings.clear();
    g_OverlayInfo = {};
    OverlayManager::clearUserRectangles();
    OverlayManager::m_OverlayID = kOverlay;
    g_StreamWidth = analysed_width;
    g_StreamHeight = analysed_height;
}

void rendering::end() {
    begin(0, 0);
    OverlayManager::m_OverlayID = 0;
}

void rendering::set_application_stream(uint32_t width, uint32_t height) {
    g_OverlayInfo.appStreamWidth = width;
    g_OverlayInfo.appStreamHeight = height;
}

one_find rendering::finding(int x, int y, int w, int h, int class_id, footings footing, int seconds) {
    one_find made;
    made.detect = {.X = x, .Y = y, .W = w, .H = h, .ClassId = class_id, .Confidence = 0.9F};
    made.centroid = made.detect.get_centroid();
    made.footing = footing;
    made.seconds = seconds;
    return made;
}

picture rendering::render(const stream& what, gint overlay) {
    axoverlay_stream_data data{7, 1, what.width, what.height, what.rotation, what.mirrored, AXOVERLAY_STREAM_H264};
    axoverlay_position_type position = AXOVERLAY_TOP_LEFT;
    gfloat x = 0;
    gfloat y = 0;
    gint width = 0;
    gint height = 0;
    OverlayManager::adjustmentCallback(overlay, &data, &position, &x, &y, &width, &height, &g_OverlayInfo);
    picture drawn(width, height);
    OverlayManager::renderCallback(drawn.cairo(), overlay, &data, position, x, y, width, height, &g_OverlayInfo);
    return drawn;
}
