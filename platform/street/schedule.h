#pragma once

#include <vector>

namespace host_scene {

enum class Kind { saloon, van, bus, person };
enum class PaintJob { red, white, yellow, blue, green };

/** One thing in sight at one moment; 1280x720 units. */
struct Actor {
    int id;
    Kind what;
    PaintJob paint;
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
double length_of(Kind what);
double height_of(Kind what);

/** Who is in sight at `seconds` (0 to 1e9), sorted by `ground`, the far ones first. */
std::vector<Actor> actors_at(double seconds);

} // namespace host_scene
