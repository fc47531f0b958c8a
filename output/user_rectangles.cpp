#include "output/user_rectangles.h"

#include "base/logger.h"
#include "output/overlay_manager.h"

#include <algorithm>
#include <iterator>
#include <mutex>

UserRectangle g_UserRectangles[16];
int32_t g_nUserRectangles = 0;

namespace {
std::mutex g_mutex; // guards both
} // namespace

void OverlayManager::addUserRectangle(int32_t x, int32_t y, int32_t w, int32_t h, int32_t colorIndex) {
    {
        const std::lock_guard lock(g_mutex);
        if (g_nUserRectangles < static_cast<int32_t>(std::size(g_UserRectangles))) {
            g_UserRectangles[g_nUserRectangles++] = {{x, y, w, h}, colorIndex};
            return;
        }
    }
    g_Logger.error("addUserRectangle: Too many user rectangles.");
}

void OverlayManager::clearUserRectangles() {
    const std::lock_guard lock(g_mutex);
    g_nUserRectangles = 0;
}

std::vector<UserRectangle> copy_user_rectangles() {
    const std::lock_guard lock(g_mutex);
    return {std::begin(g_UserRectangles), std::begin(g_UserRectangles) + g_nUserRectangles};
}
