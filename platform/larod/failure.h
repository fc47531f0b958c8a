#pragma once

#include "platform/common/failure.h"

namespace korvex::larod {

using platform::Failure;
using platform::refused_by_system;

/** The codes of the host's errors; the text says the rest. */
enum class Code : int { argument = 1, engine = 2, model = 3, descriptor = 4, inference = 5, memory = 6 };

} // namespace korvex::larod
