#include "host/environment.h"

#include <unistd.h>

namespace console {

Environment own_environment() {
    Environment variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const size_t equals = text.find('=');
        if (equals != std::string::npos)
            variables.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    return variables;
}

} // namespace console
