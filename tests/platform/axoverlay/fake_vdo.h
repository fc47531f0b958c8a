#pragma once

#include <vdo-types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/**
 * A working substitute of the video service for tests of what stands on it: streams of painted pictures at a rate that
 * the test sets. Any thread.
 */
namespace fake_vdo {

/** Paints one NV12 picture of that size (after rotation). `number` counts the stream's pictures from 0. */
using Painter = std::function<void(std::uint8_t* nv12, int width, int height, unsigned number)>;

struct Behaviour {
    std::vector<VdoResolution> resolutions{{1280, 720}, {640, 360}, {320, 240}};
    std::chrono::milliseconds period{10};
    Painter paint{};               // empty: all bytes 128
    std::string channel_failure{}; // not empty: there is no channel, for this reason
    std::string start_failure{};   // not empty: streams do not start, for this reason
    bool silent = false;           // streams deliver nothing until they are stopped or this ends
    bool dead = false;             // asking for a picture fails at once
};

/** Takes effect at once, for open streams too. */
void behave(const Behaviour& behaviour);
/** Streams started and not yet released. */
int open_streams();
/** Streams started since the last behave(). */
int streams_started();
/** Pictures handed out since the last behave(), and those not given back. */
unsigned pictures_handed_out();
int pictures_outstanding();
/** How often a picture was asked for in vain since the last behave(): of a dead camera, or of a stream that was
 * stopped. */
unsigned pictures_refused();
/** The settings of the stream that was made last. */
guint32 last_setting(const std::string& name);

/** Paints one colour, in NV12's own terms. */
Painter solid(std::uint8_t y, std::uint8_t u, std::uint8_t v);

} // namespace fake_vdo
