#pragma once

#include "host/environment.h"
#include "host/passwords.h"

#include <optional>
#include <string>
#include <vector>

namespace console {

/** What the web server is to serve, where, and to whom. */
struct WebSite {
    std::string host; ///< numeric, as in ListenAddress
    int port = 0;
    std::string rules;       ///< the folder with korvex_orvel.conf
    std::string folder;      ///< with the pages and the application's sockets
    std::string pid_file;    ///< written once the address is taken
    std::string user;        ///< as whom it goes on, with `folder` as the root of all that it sees; empty: as this one
    std::string certificate; ///< a PEM file; empty: http
    std::optional<PasswordFile> passwords;
    std::vector<std::string> names;   ///< under which it may be asked; one of IPv6 in brackets
    std::vector<std::string> proxies; ///< "HOST" or "HOST:PORT": likewise, by way of a proxy or a tunnel
    std::string machine;              ///< in the address that is told, in the place of 0.0.0.0 and [::]
};

/** The names under which this machine is asked for pages that listen on the address. */
std::vector<std::string> own_names(const std::string& host);

/** This machine's own name. */
std::string machine_name();

/** By what another machine, such as a phone, reaches this one: an address, or else its name. */
std::string reachable_name();

/** The parts between commas. */
std::vector<std::string> names_in(const std::string& list);

/** The address that leads to the pages. */
std::string web_address(const WebSite& site);

/** The variables that web/lighttpd/korvex_orvel.conf reads. */
Environment web_rules(const WebSite& site);

} // namespace console
