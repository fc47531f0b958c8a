#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace host_overlay {

/**
 * Where the streams are served, like "127.0.0.1:8080" with the port really in use; empty when they are not. Main
 * thread, after axoverlay_init.
 */
std::string listen_address();

/** A stream's size before rotation, pixels. */
struct CoveredSize {
    int width = 0;
    int height = 0;

    bool operator==(const CoveredSize&) const = default;
};

/**
 * Streams of these sizes are to hide what is followed: while nothing has been drawn on the overlay for `patience`, they
 * show a plain card instead of an uncovered picture. Replaces what was asked for before. Any thread.
 */
void cover_streams(const std::vector<CoveredSize>& sizes,
                   std::chrono::milliseconds patience = std::chrono::milliseconds(5000));

} // namespace host_overlay
