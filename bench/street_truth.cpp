// street_truth SECONDS: when vehicles of the built-in scene are in the suggested area, one line a stay with the seconds
// of video at which its box centre entered and left, and its class.

#include "platform/street/street_scene.h"
#include "scene/area_of_interest.h"

#include <cstdio>
#include <cstdlib>
#include <map>

int main(int argc, char** argv) {
    const double seconds = argc == 2 ? std::atof(argv[1]) : 0.0;
    if (!(seconds > 0.0)) {
        std::fputs("Usage: street_truth SECONDS\n", stderr);
        return 2;
    }
    t_Polygon area;
    for (const host_scene::ScenePoint& corner : host_scene::suggested_area)
        area.emplace_back(corner.x, corner.y);
    area_of_interest zones;
    zones.set_detection(1, area);
    const host_scene::StreetScene scene(host_scene::design_width, host_scene::design_height);
    std::map<int, double> inside; // since when, by id
    for (int frame = 0; frame <= seconds * host_scene::frames_a_second; ++frame) {
        const double now = frame / host_scene::frames_a_second;
        std::map<int, double> still;
        for (const host_scene::TruthObject& object : scene.truth(now)) {
            const std::pair<int, int> centre(static_cast<int>(object.left + object.width / 2),
                                             static_cast<int>(object.top + object.height / 2));
            const bool here = object.class_index != 0 && zones.is_detected(1, centre);
            const auto entered = inside.find(object.id);
            if (here)
                still[object.id] = entered != inside.end() ? entered->second : now;
            else if (entered != inside.end())
                std::printf("%.2f %.2f %d\n", entered->second, now, object.class_index);
        }
        inside = still;
    }
    return 0;
}
