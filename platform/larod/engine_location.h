#pragma once

#include <string>

namespace korvex::larod {

/** The inference engine's library: KORVEX_LAROD_LIBRARY, or else the one that the build has chosen. */
std::string engine_location();

} // namespace korvex::larod
