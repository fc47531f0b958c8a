#pragma once

#include <string>

/**
 * Video and network in doubles that need the same memory for any number of passes: one channel of 1280x720 and 640x360,
 * whose first stream (the application's) has a picture at once while the others (the viewers') have one each 40 ms, and
 * a network that gives recorded outputs in a circle. Everything else about a pass is real.
 */
namespace soak_platform {

/** Reads the recorded outputs (dwell_bench writes them). Throws std::runtime_error with a sentence. */
void load_outputs(const std::string& path);

/** Inferences so far. */
long inferences();

} // namespace soak_platform
