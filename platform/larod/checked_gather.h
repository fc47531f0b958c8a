#pragma once

#include "platform/larod/tflite_library.h"

namespace korvex::larod {

/**
 * Replaces GATHER by one that looks at its indices: the engine's own reads wherever they point, and they are computed
 * from the picture, so that no look at the model file can tell that they are in range.
 *
 * REQUIRES: library.has_known_layout().
 */
void add_checked_gather(const tflite::TfliteLibrary& library, tflite::InterpreterOptions* options);

} // namespace korvex::larod
