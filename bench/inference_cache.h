#pragma once

#include <cstddef>
#include <functional>
#include <string>

/**
 * Keeps what the network gave for each picture, in a file for each model, so that a replay that is repeated costs no
 * inference. A program that links it has larodRunInference wrapped (--wrap): a picture seen before is answered from the
 * file, byte for byte; any change of the picture or of the model is another picture.
 */
namespace inference_cache {

/** From now on, for the model that g_LocationController has loaded. Throws std::runtime_error with a sentence. */
void open(const std::string& folder);

/** Called after each inference, when its outputs are there, which it may change; the file keeps what the network gave.
 */
void set_afterwards(std::function<void()> afterwards);

/** Pictures answered from the file, and by the network, since then. */
struct Counts {
    std::size_t known = 0;
    std::size_t computed = 0;
};
Counts counts();

} // namespace inference_cache
