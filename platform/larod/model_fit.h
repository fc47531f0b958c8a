#pragma once

#include <string>

namespace korvex::larod {

/**
 * Whether the detector can use the model file: it and the engine are what was made (its SHA-256 in model.sha256), and
 * it has one input, uint8 [1, height, width, 3], and four float outputs. Gives what does not fit as a sentence that
 * says what the model has and what is needed, or an empty string. The default model's size is 960x540, in portrait
 * 540x960.
 */
std::string why_model_does_not_fit(const std::string& path, int width, int height);

} // namespace korvex::larod
