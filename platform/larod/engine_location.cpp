#include "platform/larod/engine_location.h"

#include <cstdlib>

namespace korvex::larod {

std::string engine_location() {
    const char* wanted = std::getenv("KORVEX_LAROD_LIBRARY");
    return wanted != nullptr && *wanted != '\0' ? wanted : KORVEX_LAROD_DEFAULT_LIBRARY;
}

} // namespace korvex::larod
