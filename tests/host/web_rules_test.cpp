#include "host/listen_address.h"
#include "host/web_rules.h"

#include <glib.h>
#include <gmock/gmock.h>

namespace {

using console::Environment;
using console::listen_address;
using console::own_names;
using console::PasswordFile;
using console::web_address;
using console::web_rules;
using console::WebSite;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

WebSite site() {
    WebSite site;
    site.host = "127.0.0.1";
    site.port = 8080;
    site.rules = "/rules";
    site.folder = "/state/html";
    site.pid_file = "/state/web_server.pid";
    site.names = {"127.0.0.1", "[::1]", "localhost"};
    site.machine = "gate";
    return site;
}

TEST(WebRules, WithoutPasswordCertificateAndRootTheirRulesAreEmptyFiles) {
    const std::string names = R"((127\.0\.0\.1|\[::1\]|localhost))";
    const Environment expected = {
        {"KORVEX_WEB_ADDRESS", "127.0.0.1"},
        {"KORVEX_WEB_PORT", "8080"},
        {"KORVEX_WEB_PID_FILE", "/state/web_server.pid"},
        {"KORVEX_WEB_FOLDER", "/state/html"},
        {"KORVEX_WEB_HOSTS", "(?i)^" + names + ":8080$"},
        {"KORVEX_WEB_ORIGINS", "(?i)^(http://" + names + ":8080)?$"},
        {"KORVEX_WEB_REFERERS", "(?i)^(http://" + names + ":8080/|$)"},
        {"KORVEX_WEB_RIGHTS", "/rules/none.conf"},
        {"KORVEX_WEB_PASSWORD_RULES", "/rules/none.conf"},
        {"KORVEX_WEB_TLS_RULES", "/rules/none.conf"},
    };
    EXPECT_EQ(web_rules(site()), expected);
    EXPECT_EQ(web_address(site()), "http://127.0.0.1:8080/");
}

TEST(WebRules, AServerThatGoesOnAsAnotherSeesItsFolderAlone) {
    WebSite other = site();
    other.user = "www-data";
    Environment rules = web_rules(other);
    EXPECT_EQ(rules["KORVEX_WEB_RIGHTS"], "/rules/rights.conf");
    EXPECT_EQ(rules["KORVEX_WEB_USER"], "www-data");
    EXPECT_EQ(rules["KORVEX_WEB_ROOT"], "/state/html");
    EXPECT_EQ(rules["KORVEX_WEB_FOLDER"], "");
}

TEST(WebRules, APasswordIsProvedByDigestAndInsideOfHttpsSent) {
    WebSite locked = site();
    locked.passwords = PasswordFile{PasswordFile::Form::plain, "Korvex Orvel", {}};
    Environment rules = web_rules(locked);
    EXPECT_EQ(rules["KORVEX_WEB_PASSWORD_RULES"], "/rules/password.conf");
    EXPECT_EQ(rules["KORVEX_WEB_REALM"], "Korvex Orvel");
    EXPECT_EQ(rules["KORVEX_WEB_USERS_FORM"], "htdigest");
    EXPECT_EQ(rules["KORVEX_WEB_PASSWORD_METHOD"], "digest");
    locked.passwords->form = PasswordFile::Form::htpasswd;
    locked.certificate = "/both.pem";
    rules = web_rules(locked);
    EXPECT_EQ(rules["KORVEX_WEB_USERS_FORM"], "htpasswd");
    EXPECT_EQ(rules["KORVEX_WEB_PASSWORD_METHOD"], "basic");
}

TEST(WebRules, ACertificateMakesItHttps) {
    WebSite encrypted = site();
    encrypted.certificate = "/both.pem";
    Environment rules = web_rules(encrypted);
    EXPECT_EQ(rules["KORVEX_WEB_TLS_RULES"], "/rules/tls.conf");
    EXPECT_EQ(rules["KORVEX_WEB_CERTIFICATE"], "/both.pem");
    EXPECT_TRUE(rules["KORVEX_WEB_ORIGINS"].starts_with("(?i)^(https://("));
    EXPECT_EQ(web_address(encrypted), "https://127.0.0.1:8080/");
}

TEST(WebRules, TheUsualPortMayBeLeftOut) {
    WebSite usual = site();
    usual.names = {"gate"};
    usual.port = 80;
    EXPECT_EQ(web_rules(usual)["KORVEX_WEB_HOSTS"], "(?i)^(gate)(:80)?$");
    usual.certificate = "/both.pem";
    EXPECT_EQ(web_rules(usual)["KORVEX_WEB_HOSTS"], "(?i)^(gate):80$");
    usual.port = 443;
    EXPECT_EQ(web_rules(usual)["KORVEX_WEB_HOSTS"], "(?i)^(gate)(:443)?$");
}

TEST(WebRules, AProxyHasNamesOfItsOwnWithEitherScheme) {
    WebSite behind = site();
    behind.names = {"gate"};
    behind.proxies = console::names_in("cams.example.org,tunnel:8443");
    EXPECT_THAT(behind.proxies, ElementsAre("cams.example.org", "tunnel:8443"));
    Environment rules = web_rules(behind);
    const auto allows = [&rules](const char* rule, const std::string& text) {
        return g_regex_match_simple(rules[rule].c_str(), text.c_str(), static_cast<GRegexCompileFlags>(0),
                                    static_cast<GRegexMatchFlags>(0)) != FALSE;
    };
    for (const char* host : {"gate:8080", "CAMS.example.org", "tunnel:8443"})
        EXPECT_TRUE(allows("KORVEX_WEB_HOSTS", host)) << host;
    for (const char* host : {"gate", "camsXexample.org", "cams.example.org:8080", "tunnel", "tunnel:84430", ""})
        EXPECT_FALSE(allows("KORVEX_WEB_HOSTS", host)) << host;
    for (const char* origin : {"", "http://gate:8080", "https://cams.example.org", "http://tunnel:8443"})
        EXPECT_TRUE(allows("KORVEX_WEB_ORIGINS", origin)) << origin;
    for (const char* origin : {"https://gate:8080", "https://cams.example.org.evil.net", "ftp://tunnel:8443"})
        EXPECT_FALSE(allows("KORVEX_WEB_ORIGINS", origin)) << origin;
    for (const char* referer : {"", "http://gate:8080/x", "https://cams.example.org/local/"})
        EXPECT_TRUE(allows("KORVEX_WEB_REFERERS", referer)) << referer;
    EXPECT_FALSE(allows("KORVEX_WEB_REFERERS", "https://cams.example.org.evil.net/"));
}

TEST(WebRules, AnotherMachineReachesThisOneByAnAddressOfItsOwn) {
    const std::string name = console::reachable_name();
    EXPECT_FALSE(name.empty());
    EXPECT_THAT(name, Not(testing::StartsWith("127.")));
    EXPECT_THAT(own_names("0.0.0.0"), Contains(name)) << "it may be asked by it";
}

TEST(WebRules, AnAddressForEverybodyIsToldByTheMachinesName) {
    WebSite open = site();
    for (const char* everywhere : {"0.0.0.0", "[::]"}) {
        open.host = everywhere;
        EXPECT_EQ(web_address(open), "http://gate:8080/");
    }
}

TEST(WebRules, TheLoopbackIsAskedByItsOwnNamesAlone) {
    EXPECT_THAT(own_names("127.0.0.1"), ElementsAre("127.0.0.1", "[::1]", "localhost"));
    EXPECT_THAT(own_names("127.0.0.2"), ElementsAre("127.0.0.1", "127.0.0.2", "[::1]", "localhost"));
}

TEST(WebRules, AnotherAddressIsAskedByTheMachinesNameToo) {
    const std::vector<std::string> names = own_names("192.0.2.1");
    for (const std::string& name : {std::string("192.0.2.1"), std::string("localhost"), console::machine_name(),
                                    console::machine_name() + ".local"})
        EXPECT_THAT(names, Contains(name));
    EXPECT_THAT(names, Not(Contains("")));
}

TEST(ListenAddress, HasAHostAndAPort) {
    EXPECT_EQ(listen_address("").host, "127.0.0.1");
    EXPECT_EQ(listen_address("").port, std::nullopt);
    EXPECT_EQ(listen_address("localhost:81").host, "127.0.0.1");
    EXPECT_EQ(listen_address("[::1]:00443").host, "[::1]");
    EXPECT_EQ(listen_address("[::1]:00443").port, 443);
}

TEST(ListenAddress, IsThisMachinesAloneOnTheLoopback) {
    EXPECT_TRUE(console::is_loopback("127.0.0.2"));
    EXPECT_TRUE(console::is_loopback("[::1]"));
    for (const char* host : {"0.0.0.0", "[::]", "192.0.2.1", "[::2]"})
        EXPECT_FALSE(console::is_loopback(host)) << host;
}

} // namespace
