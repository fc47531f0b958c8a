#pragma once

#include <optional>
#include <string>

namespace console {

/** Where the pages are to be. */
struct ListenAddress {
    std::string host = "127.0.0.1"; ///< numeric; one of IPv6 in brackets
    std::optional<int> port;        ///< none: the first that is free
};

/** Takes what the option --listen allows, ADDR:PORT or nothing. */
ListenAddress listen_address(const std::string& option);

/** Whether only this machine reaches the address. */
bool is_loopback(const std::string& host);

} // namespace console
