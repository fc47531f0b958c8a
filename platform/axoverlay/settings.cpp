#include "platform/axoverlay/settings.h"

#include <netdb.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace host_overlay {

namespace {

constexpr int kDefaultQuality = 80;
constexpr std::string_view kUnix = "unix:";

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

[[noreturn]] void refuse_listen(const std::string& text) {
    throw std::runtime_error("KORVEX_OVERLAY_LISTEN is \"" + text +
                             "\"; it must be a numeric address and a port, like 127.0.0.1:8080 or [::1]:8080, or "
                             "unix: and the path of a socket");
}

} // namespace

std::optional<int> parse_number(const std::string& text) {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, value);
    if (failure != std::errc{} || stop != end || text.starts_with('-')) {
        return std::nullopt;
    }
    return value;
}

std::optional<ListenAddress> listen_setting() {
    const std::string text = environment("KORVEX_OVERLAY_LISTEN");
    if (text.empty()) {
        return std::nullopt;
    }
    ListenAddress listen;
    listen.text = text;
    if (text.starts_with(kUnix)) {
        listen.path = text.substr(kUnix.size());
        if (listen.path.empty()) {
            refuse_listen(text);
        }
        return listen;
    }
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0) {
        refuse_listen(text);
    }
    listen.host = text.substr(0, colon);
    const std::string port = text.substr(colon + 1);
    if (const auto number = parse_number(port); !number || *number > 65535) {
        refuse_listen(text);
    }
    const bool bracketed = listen.host.front() == '[' && listen.host.back() == ']';
    const std::string host = bracketed ? listen.host.substr(1, listen.host.size() - 2) : listen.host;
    addrinfo hints{};
    hints.ai_family = bracketed ? AF_INET6 : AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), port.c_str(), &hints, &found) != 0) {
        refuse_listen(text);
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
    std::memcpy(&listen.address, found->ai_addr, found->ai_addrlen);
    return listen;
}

int jpeg_quality_setting() {
    const std::string text = environment("KORVEX_OVERLAY_JPEG_QUALITY");
    if (text.empty()) {
        return kDefaultQuality;
    }
    const auto quality = parse_number(text);
    if (!quality || *quality < 1 || *quality > 100) {
        throw std::runtime_error("KORVEX_OVERLAY_JPEG_QUALITY is \"" + text + "\"; it must be 1 to 100");
    }
    return *quality;
}

} // namespace host_overlay
