#pragma once

#include <sys/socket.h>

#include <optional>
#include <string>

namespace host_overlay {

/** A numeric socket address, "127.0.0.1:8080" or "[::1]:8080", port 0 taking a free one; or "unix:PATH". */
struct ListenAddress {
    std::string path; // of the Unix socket; empty: the two below count
    sockaddr_storage address{};
    std::string host; // as it stands in a URL, brackets included
    std::string text; // as it was given
};

/** KORVEX_OVERLAY_LISTEN, or nothing when it is unset or empty. Throws std::runtime_error when it makes no sense. */
std::optional<ListenAddress> listen_setting();

/** KORVEX_OVERLAY_JPEG_QUALITY, 1 to 100; 80 when unset or empty. Throws std::runtime_error when it makes no sense. */
int jpeg_quality_setting();

} // namespace host_overlay
