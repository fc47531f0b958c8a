#pragma once

#include <map>
#include <string>

namespace console {

/** The environment variables of a program that is to be started. */
using Environment = std::map<std::string, std::string>;

/** Those of this process. */
Environment own_environment();

} // namespace console
