#pragma once

#include <ctime>

/** What the host's own programs ask the parameter library beside its C interface. The application never includes it. */
namespace host_parameters {

/** When the store was first found unable to keep a value, or to be opened; 0 while all is well. Any thread. */
std::time_t failing_since();

} // namespace host_parameters
