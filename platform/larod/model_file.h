#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace korvex::larod {

/**
 * Looks at a model file before the engine does, which trusts what it reads. Gives what is wrong in words, or an empty
 * string. Checked are: the identifier; that every table, list and number lies inside the file; that tensors, buffers
 * and operators refer to each other by numbers that exist; that stored tensors have as many bytes as their shape says;
 * that every operator's inputs are there when it runs; and the sizes by which windowed operators divide.
 */
std::string what_is_wrong_with(std::span<const std::byte> model);

} // namespace korvex::larod
