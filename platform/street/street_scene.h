#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

/** The built-in video: a drawn street that a new user sees first, and whose truth is known. */
namespace host_scene {

inline constexpr int design_width = 1280;
inline constexpr int design_height = 720;
inline constexpr double frames_a_second = 25.0;
/** After so many seconds everything happens again, except that ids go on. */
inline constexpr double cycle_seconds = 90.0;

/** A corner in pixels of the 1280x720 picture. */
struct ScenePoint {
    int x;
    int y;
};

/**
 * The area in the middle of both lanes that the declared default of the application's detection area repeats. Vehicles
 * whose box centre is inside: those that drive through for less than 2 s, those that stop for 6, 12 and 25 s and about
 * 0.85 s more at either end (so that 6 s raise the first of the alerts at 5, 10 and 15 s, 12 s the second, 25 s all).
 */
inline constexpr std::array<ScenePoint, 4> suggested_area = {{{545, 290}, {735, 290}, {765, 570}, {515, 570}}};

/** One object in sight. */
struct TruthObject {
    /** Unique to one appearance, over all cycles; from 0. */
    int id;
    /** As the application's class table: 0 person, 2 car, 5 bus, 7 truck (the vans). */
    int class_index;
    /** Box in pixels of the picture, cut at its edges. */
    double left;
    double top;
    double width;
    double height;
};

/**
 * Draws the street at any moment. A frame is a pure function of the size and the time. Locked inside, any thread; about
 * 1.6 ms a frame at 1280x720 on one core. Other shapes than 16:9 are stretched.
 */
class StreetScene {
  public:
    /** REQUIRES: both even, from 16 to 4096. */
    StreetScene(int width, int height);
    ~StreetScene();
    StreetScene(const StreetScene&) = delete;
    StreetScene& operator=(const StreetScene&) = delete;

    int width() const;
    int height() const;

    /** `seconds` from 0 on. `pixels`: width x height luma bytes, then half as many of interleaved U and V (NV12). */
    void draw_nv12(double seconds, std::uint8_t* pixels);
    /** Without sensor noise, as 32-bit words 0x00RRGGBB. */
    void draw_rgb(double seconds, std::uint32_t* pixels);

    /** Everything of which something can be seen, far lane first. Any thread. */
    std::vector<TruthObject> truth(double seconds) const;

  private:
    struct PictureParts;
    std::unique_ptr<PictureParts> m_parts;
};

} // namespace host_scene
