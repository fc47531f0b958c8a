#pragma once

#include "platform/larod/tflite_library.h"

namespace korvex::larod {

/**
 * What the preparation of a convolution complains of when its shapes or options cannot be right. The model is then not
 * to be loaded without these kernels either: the engine's own would not notice and crash.
 */
inline constexpr const char* impossible_convolution = "A convolution's shapes or options do not fit each other.";

/**
 * Replaces CONV_2D, DEPTHWISE_CONV_2D and HARD_SWISH by XNNPACK's kernels, several times as fast as the engine's own,
 * which know no vectors longer than 4 floats. They serve float models with stored weights; the preparation of any other
 * fails, and the model is then to be loaded without them.
 *
 * REQUIRES: library.has_known_layout(). False when XNNPACK does not run on this processor; `options` is then unchanged.
 */
bool add_xnnpack_kernels(const tflite::TfliteLibrary& library, tflite::InterpreterOptions* options);

} // namespace korvex::larod
