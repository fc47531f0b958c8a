#pragma once

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

/** What the libraries read from the environment, and how it is written there. */
namespace platform {

/** Empty when it is not set. */
inline std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

inline std::string environment_or(const char* name, const std::string& otherwise) {
    const std::string value = environment(name);
    return value.empty() ? otherwise : value;
}

/** A decimal number without sign, blanks or anything else; nothing when it is none or out of the range. */
inline std::optional<std::uint64_t> parse_number(std::string_view text, std::uint64_t least, std::uint64_t most) {
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    const bool whole = failure == std::errc{} && stop == end;
    return whole && number >= least && number <= most ? std::optional(number) : std::nullopt;
}

struct Size {
    int width = 0;
    int height = 0;
};

/** "1280x720". */
inline std::optional<Size> parse_size(std::string_view text) {
    constexpr int most = std::numeric_limits<int>::max();
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos)
        return std::nullopt;
    const auto width = parse_number(text.substr(0, cross), 0, most);
    const auto height = parse_number(text.substr(cross + 1), 0, most);
    if (!width || !height)
        return std::nullopt;
    return Size{static_cast<int>(*width), static_cast<int>(*height)};
}

struct HostPort {
    std::string host; // without brackets
    bool is_bracketed = false;
    int port = 0;
};

/** "HOST:PORT"; an IPv6 address stands in brackets. Nothing when it is not of that form or the port is out of range. */
inline std::optional<HostPort> parse_host_port(const std::string& text, int least_port) {
    constexpr int highest_port = 65535;
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0)
        return std::nullopt;
    std::string host = text.substr(0, colon);
    const auto port = parse_number(text.substr(colon + 1), static_cast<std::uint64_t>(least_port), highest_port);
    const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (bracketed)
        host = host.substr(1, host.size() - 2);
    else if (host.find(':') != std::string::npos)
        return std::nullopt;
    return port ? std::optional(HostPort{host, bracketed, static_cast<int>(*port)}) : std::nullopt;
}

} // namespace platform
