#include "platform/street/schedule.h"

#include "platform/street/street_scene.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace host_scene {
namespace {

struct Extent {
    double length;
    double height;
};

/** Of each kind, in their order. */
constexpr std::array<Extent, 4> extents = {{{290.0, 93.0}, {324.0, 142.0}, {430.0, 150.0}, {62.0, 150.0}}};

struct Lane {
    double ground;
    double scale;
    bool to_the_left;
};

// Far enough apart that no vehicle hides one in the other lane.
constexpr Lane far_lane = {392.0, 0.82, true};
constexpr Lane near_lane = {556.0, 0.9, false};
constexpr Lane far_pavement = {318.0, 0.72, false};
constexpr Lane far_pavement_left = {312.0, 0.7, true};
constexpr Lane near_pavement = {708.0, 0.95, false};
constexpr Lane near_pavement_left = {716.0, 1.0, true};

struct Appearance {
    Kind what;
    PaintJob paint;
    const Lane* where;
    /** Units a second. */
    double speed;
    /** Moment in the cycle at which it is in the middle, or comes to a stand there. */
    double moment;
    /** Seconds that it stands in the middle; 0 drives through. */
    double stay;
};

// The stays follow one another in the near lane, with the middle empty of vehicles for at least 4 s before each; what
// only drives through comes along the far lane, or along the near one while nothing stands there.
constexpr std::array<Appearance, 22> programme = {{
    {Kind::saloon, PaintJob::red, &near_lane, 270.0, 4.5, 6.0},
    {Kind::van, PaintJob::white, &near_lane, 270.0, 23.0, 12.0},
    {Kind::bus, PaintJob::yellow, &near_lane, 270.0, 46.0, 25.0},
    {Kind::saloon, PaintJob::white, &near_lane, 280.0, 16.5, 0.0},
    {Kind::saloon, PaintJob::white, &near_lane, 280.0, 80.5, 0.0},
    {Kind::saloon, PaintJob::white, &far_lane, 250.0, 86.5, 0.0},
    {Kind::bus, PaintJob::red, &far_lane, 240.0, 7.5, 0.0},
    {Kind::saloon, PaintJob::red, &far_lane, 260.0, 14.0, 0.0},
    {Kind::saloon, PaintJob::white, &far_lane, 250.0, 26.5, 0.0},
    {Kind::bus, PaintJob::red, &far_lane, 240.0, 31.5, 0.0},
    {Kind::saloon, PaintJob::red, &far_lane, 260.0, 38.0, 0.0},
    {Kind::saloon, PaintJob::white, &far_lane, 250.0, 50.0, 0.0},
    {Kind::bus, PaintJob::yellow, &far_lane, 240.0, 56.0, 0.0},
    {Kind::saloon, PaintJob::red, &far_lane, 260.0, 63.0, 0.0},
    {Kind::saloon, PaintJob::white, &far_lane, 250.0, 68.5, 0.0},
    {Kind::saloon, PaintJob::red, &far_lane, 250.0, 76.0, 0.0},
    {Kind::person, PaintJob::blue, &far_pavement, 58.0, 8.0, 0.0},
    {Kind::person, PaintJob::green, &far_pavement_left, 62.0, 33.0, 0.0},
    {Kind::person, PaintJob::red, &far_pavement, 60.0, 58.0, 0.0},
    {Kind::person, PaintJob::green, &near_pavement, 72.0, 20.0, 0.0},
    {Kind::person, PaintJob::blue, &near_pavement_left, 76.0, 42.0, 0.0},
    {Kind::person, PaintJob::red, &near_pavement, 70.0, 74.0, 0.0},
}};

/** A stop is reached and left at this many units a second, each second. */
constexpr double braking = 320.0;
constexpr double middle = design_width / 2.0;

/** Way from the middle, negative before it is reached, `after` seconds after the moment of the programme. */
double way_from_middle(const Appearance& entry, double after) {
    if (entry.stay == 0.0)
        return entry.speed * after;
    const double brake_seconds = entry.speed / braking;
    const double brake_way = entry.speed * brake_seconds / 2.0;
    const auto drive_off = [&](double seconds) {
        return seconds < brake_seconds ? braking / 2.0 * seconds * seconds
                                       : brake_way + entry.speed * (seconds - brake_seconds);
    };
    if (after < 0.0)
        return -drive_off(-after);
    return after <= entry.stay ? 0.0 : drive_off(after - entry.stay);
}

} // namespace

double length_of(Kind what) {
    return extents[static_cast<std::size_t>(what)].length;
}

double height_of(Kind what) {
    return extents[static_cast<std::size_t>(what)].height;
}

std::vector<Actor> actors_at(double seconds) {
    const int cycle = static_cast<int>(std::floor(seconds / cycle_seconds));
    std::vector<Actor> present;
    // Whoever is in sight when a cycle begins or ends belongs to the one before or after as well.
    for (int neighbour = cycle - 1; neighbour <= cycle + 1; ++neighbour) {
        for (std::size_t index = 0; index < programme.size(); ++index) {
            const Appearance& entry = programme[index];
            const double way = way_from_middle(entry, seconds - neighbour * cycle_seconds - entry.moment);
            const double half = length_of(entry.what) * entry.where->scale / 2.0;
            if (std::abs(way) >= middle + half)
                continue;
            const int id = (neighbour + 1) * static_cast<int>(programme.size()) + static_cast<int>(index);
            present.push_back({id, entry.what, entry.paint, middle + (entry.where->to_the_left ? -way : way),
                               entry.where->ground, entry.where->scale, entry.where->to_the_left, way + middle + half});
        }
    }
    std::sort(present.begin(), present.end(),
              [](const Actor& a, const Actor& b) { return a.ground != b.ground ? a.ground < b.ground : a.id < b.id; });
    return present;
}

} // namespace host_scene
