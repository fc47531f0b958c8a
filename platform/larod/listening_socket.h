#pragma once

#include "platform/common/unix_socket.h"

#include <memory>
#include <string>

namespace korvex::larod {

/**
 * A socket for messages that listens, in a folder that is this user's alone (made with mode 0700 when it is missing):
 * whoever may reach it may use the service. Throws std::runtime_error with a sentence.
 */
std::unique_ptr<platform::UnixSocket> listen_at(const std::string& path);

/** Connected to the service that listens at `path`, or throws a Failure. Does not wait. */
platform::Descriptor connect_to(const std::string& path);

} // namespace korvex::larod
