#include "host/listen_address.h"

namespace console {

ListenAddress listen_address(const std::string& option) {
    if (option.empty())
        return {};
    const size_t colon = option.rfind(':');
    const std::string host = option.substr(0, colon);
    return {host == "localhost" ? "127.0.0.1" : host, std::stoi(option.substr(colon + 1))};
}

bool is_loopback(const std::string& host) {
    return host.starts_with("127.") || host == "[::1]";
}

} // namespace console
