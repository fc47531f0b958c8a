#include "platform/axoverlay/settings.h"

#include "platform/common/handle.h"
#include "platform/common/settings.h"

#include <netdb.h>

#include <cstring>
#include <stdexcept>
#include <string_view>

namespace host_overlay {
namespace {

constexpr int default_quality = 80;
constexpr std::string_view unix_prefix = "unix:";

[[noreturn]] void refuse_listen(const std::string& text) {
    throw std::runtime_error("KORVEX_OVERLAY_LISTEN is \"" + text +
                             "\"; it must be a numeric address and a port, like 127.0.0.1:8080 or [::1]:8080, or "
                             "unix: and the path of a socket");
}

} // namespace

std::optional<ListenAddress> listen_setting() {
    const std::string text = platform::environment("KORVEX_OVERLAY_LISTEN");
    if (text.empty())
        return std::nullopt;
    ListenAddress listen;
    listen.text = text;
    if (text.starts_with(unix_prefix)) {
        listen.path = text.substr(unix_prefix.size());
        if (listen.path.empty())
            refuse_listen(text);
        return listen;
    }
    const auto where = platform::parse_host_port(text, 0);
    if (!where)
        refuse_listen(text);
    listen.host = text.substr(0, text.rfind(':'));
    addrinfo hints{};
    hints.ai_family = where->is_bracketed ? AF_INET6 : AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    if (getaddrinfo(where->host.c_str(), std::to_string(where->port).c_str(), &hints, &found) != 0)
        refuse_listen(text);
    const platform::Handle<addrinfo, freeaddrinfo> owner(found);
    std::memcpy(&listen.address, found->ai_addr, found->ai_addrlen);
    return listen;
}

int jpeg_quality_setting() {
    const std::string text = platform::environment("KORVEX_OVERLAY_JPEG_QUALITY");
    if (text.empty())
        return default_quality;
    const auto quality = platform::parse_number(text, 1, 100);
    if (!quality)
        throw std::runtime_error("KORVEX_OVERLAY_JPEG_QUALITY is \"" + text + "\"; it must be 1 to 100");
    return static_cast<int>(*quality);
}

} // namespace host_overlay
