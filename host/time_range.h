#pragma once

#include <optional>
#include <string>

namespace console {

/** From a moment to another, the second not included; Unix seconds. */
struct TimeRange {
    double from = 0.0;
    double to = 0.0;
};

/**
 * A moment as people and pages write it: "2026-11-22" is the midnight with which that day begins here,
 * "2026-11-22T08:35", "...:00" and "...:00.123" are this machine's time unless a zone follows, "Z" or "+01:00".
 * Unix seconds; nothing when it is none.
 */
std::optional<double> parse_moment(const std::string& text);

/**
 * From `from` to `to` as parse_moment reads them; what is empty is today's beginning, or its end. Throws
 * std::runtime_error with a sentence about what is none, or about a range that ends before it begins.
 */
TimeRange range_between(const std::string& from, const std::string& to);

/** "FROM..TO", either of which may be missing, or one date for that day. Throws as range_between does. */
TimeRange parse_range(const std::string& text);

/** "2026-11-22T08:35:00.123+01:00", in this machine's zone. */
std::string iso_text(double moment);

/** "2026-11-22 08:35:00", likewise. */
std::string plain_text(double moment);

} // namespace console
