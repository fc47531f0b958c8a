#pragma once

#include <vector>

namespace host_scene {

enum class kind { saloon, van, bus, person };
enum class paint_job { red, white, yellow, blue, green };

/** One thing in sight at one moment; 1280x720 units. */
struct actor {
    int id;
    kind what;
    paint_job paint;
    /** Middle of the box, and the line its wheels or feet stand on. */
    double x;
    double ground;
    /** Against the size in the near lane or on the near pavement. */
    double scale;
    bool to_the_left;
    /** Way since it came, for wheels and steps. */
    double travelled;
};

/** Size of a kind's box at scale 1. */
double length_of(kind what);
double height_of(kind what);

/** Who is in sight at `seconds` (0 to 1e9), sorted by `ground`, the far ones first. */
std::vector<actor> actors_at(double seconds);

} // namespace host_scene
