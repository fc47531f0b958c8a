#include "platform/larod/engine_location.h"

#include "platform/common/settings.h"

namespace korvex::larod {

std::string engine_location() {
    return platform::environment_or("KORVEX_LAROD_LIBRARY", KORVEX_LAROD_DEFAULT_LIBRARY);
}

} // namespace korvex::larod
