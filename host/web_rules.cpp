#include "host/web_rules.h"

#include "host/listen_address.h"
#include "platform/common/descriptor.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <limits.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <set>
#include <sstream>

namespace console {
namespace {

constexpr int http_port = 80;
constexpr int https_port = 443;

bool is_everywhere(const std::string& host) {
    return host == "0.0.0.0" || host == "[::]";
}

/** The host name with its domain; empty when nobody knows it. */
std::string full_name(const std::string& name) {
    addrinfo wanted{};
    wanted.ai_flags = AI_CANONNAME;
    addrinfo* found = nullptr;
    if (getaddrinfo(name.c_str(), nullptr, &wanted, &found) != 0)
        return {};
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, freeaddrinfo);
    return found->ai_canonname != nullptr ? found->ai_canonname : "";
}

/** As text, one of IPv6 in brackets; empty for one that no other machine calls. */
std::string address_of(const sockaddr* address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address->sa_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text.data(), text.size());
        return text.data();
    }
    if (address->sa_family == AF_INET6) {
        const in6_addr& number = reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
        if (!IN6_IS_ADDR_LINKLOCAL(&number)) {
            inet_ntop(AF_INET6, &number, text.data(), text.size());
            return std::string("[") + text.data() + "]";
        }
    }
    return {};
}

std::set<std::string> own_addresses() {
    std::set<std::string> addresses;
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0)
        return addresses;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(all, freeifaddrs);
    for (const ifaddrs* one = all; one != nullptr; one = one->ifa_next)
        if (one->ifa_addr != nullptr && (one->ifa_flags & IFF_LOOPBACK) == 0)
            addresses.insert(address_of(one->ifa_addr));
    return addresses;
}

/** The address from which packets to elsewhere go, which is the one that elsewhere knows; empty without a network.
   Nothing is sent. */
std::string outgoing_address() {
    const platform::Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in elsewhere{};
    elsewhere.sin_family = AF_INET;
    elsewhere.sin_port = htons(http_port);
    inet_pton(AF_INET, "192.0.2.1", &elsewhere.sin_addr); // an address for examples, which nobody has
    sockaddr_in own{};
    socklen_t size = sizeof own;
    const bool is_known = connect(socket.get(), reinterpret_cast<const sockaddr*>(&elsewhere), sizeof elsewhere) == 0 &&
                          getsockname(socket.get(), reinterpret_cast<sockaddr*>(&own), &size) == 0;
    return is_known ? address_of(reinterpret_cast<const sockaddr*>(&own)) : std::string();
}

/** The names as one pattern: each in its own letters. */
std::string pattern_of(const std::vector<std::string>& names) {
    std::string pattern;
    for (const std::string& name : names) {
        pattern += pattern.empty() ? "" : "|";
        for (const char letter : name) {
            if (letter == '.' || letter == '[' || letter == ']')
                pattern += '\\';
            pattern += letter;
        }
    }
    return pattern;
}

std::string scheme_of(const WebSite& site) {
    return site.certificate.empty() ? "http" : "https";
}

} // namespace

std::string machine_name() {
    std::array<char, HOST_NAME_MAX + 1> name{};
    return gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0' ? name.data() : "localhost";
}

std::string reachable_name() {
    std::string outgoing = outgoing_address();
    if (!outgoing.empty())
        return outgoing;
    std::set<std::string> addresses = own_addresses();
    addresses.erase("");
    return addresses.empty() ? machine_name() : *addresses.begin();
}

std::vector<std::string> names_in(const std::string& list) {
    std::vector<std::string> names;
    std::istringstream text(list);
    for (std::string name; std::getline(text, name, ',');)
        names.push_back(name);
    return names;
}

std::vector<std::string> own_names(const std::string& host) {
    std::set<std::string> names = {"localhost", "127.0.0.1", "[::1]", host};
    if (!is_loopback(host)) {
        const std::string machine = machine_name();
        names.insert({machine, full_name(machine), machine + ".local"});
        if (is_everywhere(host))
            names.merge(own_addresses());
    }
    names.erase("");
    return {names.begin(), names.end()};
}

std::string web_address(const WebSite& site) {
    const std::string host = is_everywhere(site.host) ? site.machine : site.host;
    return scheme_of(site) + "://" + host + ":" + std::to_string(site.port) + "/";
}

Environment web_rules(const WebSite& site) {
    const std::string scheme = scheme_of(site);
    const std::string names = pattern_of(site.names);
    const std::string nothing = site.rules + "/none.conf";
    std::string port = ":" + std::to_string(site.port);
    if (site.port == (site.certificate.empty() ? http_port : https_port))
        port = "(" + port + ")?"; // browsers leave the usual one out
    std::string hosts = "(" + names + ")" + port;
    std::string origins = scheme + "://" + hosts;
    std::string referers = origins + "/";
    if (!site.proxies.empty()) {
        const std::string proxies = "(" + pattern_of(site.proxies) + ")";
        hosts = "(" + hosts + "|" + proxies + ")";
        origins += "|https?://" + proxies;
        referers += "|https?://" + proxies + "/";
    }
    Environment rules = {
        {"KORVEX_WEB_ADDRESS", site.host},
        {"KORVEX_WEB_PORT", std::to_string(site.port)},
        {"KORVEX_WEB_PID_FILE", site.pid_file},
        {"KORVEX_WEB_FOLDER", site.folder},
        {"KORVEX_WEB_HOSTS", "(?i)^" + hosts + "$"},
        {"KORVEX_WEB_ORIGINS", "(?i)^(" + origins + ")?$"},
        {"KORVEX_WEB_REFERERS", "(?i)^(" + referers + "|$)"},
        {"KORVEX_WEB_RIGHTS", nothing},
        {"KORVEX_WEB_PASSWORD_RULES", nothing},
        {"KORVEX_WEB_TLS_RULES", nothing},
    };
    if (!site.user.empty()) {
        rules["KORVEX_WEB_RIGHTS"] = site.rules + "/rights.conf";
        rules["KORVEX_WEB_ROOT"] = site.folder;
        rules["KORVEX_WEB_FOLDER"] = "";
        rules["KORVEX_WEB_USER"] = site.user;
    }
    if (!site.certificate.empty()) {
        rules["KORVEX_WEB_TLS_RULES"] = site.rules + "/tls.conf";
        rules["KORVEX_WEB_CERTIFICATE"] = site.certificate;
    }
    if (site.passwords) {
        const bool is_htpasswd = site.passwords->form == PasswordFile::Form::htpasswd;
        rules["KORVEX_WEB_PASSWORD_RULES"] = site.rules + "/password.conf";
        rules["KORVEX_WEB_REALM"] = site.passwords->realm;
        rules["KORVEX_WEB_USERS_FORM"] = is_htpasswd ? "htpasswd" : "htdigest";
        rules["KORVEX_WEB_PASSWORD_METHOD"] = site.certificate.empty() ? "digest" : "basic";
    }
    return rules;
}

} // namespace console
