#pragma once

#include <cstdlib>
#include <string>

namespace korvex::larod {

/** The inference engine's library: KORVEX_LAROD_LIBRARY, or the one that the build has chosen. */
inline std::string engine_path() {
    const char* wanted = std::getenv("KORVEX_LAROD_LIBRARY");
    return wanted != nullptr && *wanted != '\0' ? wanted : KORVEX_LAROD_DEFAULT_LIBRARY;
}

} // namespace korvex::larod
