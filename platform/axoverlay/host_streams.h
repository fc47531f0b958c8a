#pragma once

#include <string>

namespace host_overlay {

/**
 * Where the streams are served, like "127.0.0.1:8080" with the port really in use; empty when they are not. Main
 * thread, after axoverlay_init.
 */
std::string listen_address();

} // namespace host_overlay
