#pragma once

#include "larod.h"

#include <string>

namespace korvex::larod {

/** The codes of the host's errors; the text says the rest. */
enum class Code : int { argument = 1, engine = 2, model = 3, descriptor = 4, inference = 5, memory = 6 };

/** Stores a new record in *error unless `error` is null; never throws. */
void set_error(larodError** error, Code code, const std::string& text) noexcept;

/** Sets the error and gives false, for one-line failures. */
inline bool fail(larodError** error, Code code, const std::string& text) noexcept {
    set_error(error, code, text);
    return false;
}

} // namespace korvex::larod
