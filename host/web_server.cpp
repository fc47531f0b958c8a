#include "host/web_server.h"

#include "host/child.h"
#include "host/files.h"
#include "host/listen_address.h"
#include "host/output_file.h"
#include "host/refusal.h"

#include <glib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

namespace console {
namespace {

namespace fs = std::filesystem;

constexpr int first_port = 8080;
constexpr int ports = 20;
constexpr int niceness = 10;
constexpr int look_again_ms = 20;
constexpr mode_t nobody_else = 077;

/** Debian keeps servers out of an ordinary user's path. */
void need_lighttpd() {
    const char* path = g_getenv("PATH");
    g_setenv("PATH", (std::string(path != nullptr ? path : "/usr/bin") + ":/usr/sbin").c_str(), TRUE);
    g_autofree gchar* found = g_find_program_in_path("lighttpd");
    if (found == nullptr)
        throw Refusal("the web server is missing; install it with: apt-get install --no-install-recommends lighttpd");
}

/** All but the port, and as whom the server goes on. */
WebSite site_of(const RunOptions& options, const Places& places, const std::string& state) {
    WebSite site;
    site.host = listen_address(options.listen).host;
    site.rules = places.web_rules;
    site.folder = state + "/html";
    site.pid_file = state + "/web_server.pid";
    site.certificate = options.certificate;
    if (!options.password_file.empty())
        site.passwords = read_passwords(options.password_file, !options.certificate.empty());
    site.names = own_names(site.host);
    site.proxies = names_in(options.name);
    site.machine = reachable_name();
    return site;
}

/** The first line that is not empty, without the time in front of it. */
std::string complaint_of(const std::string& log) {
    const size_t begin = log.find_first_not_of('\n');
    if (begin == std::string::npos)
        return "it said nothing";
    const std::string line = first_line(log.substr(begin));
    const size_t words = line.find_first_not_of("0123456789 :-");
    return g_ascii_isdigit(line[0]) && words != std::string::npos ? line.substr(words) : line;
}

/** Runs the server, ends it when asked to, and gives its status. */
int keep_server(const Program& server) {
    sigset_t heard;
    sigemptyset(&heard);
    sigaddset(&heard, SIGTERM);
    sigaddset(&heard, SIGCHLD);
    sigprocmask(SIG_BLOCK, &heard, nullptr);
    const pid_t process = start(server);
    while (true) {
        if (const std::optional<int> status = status_of_ended(process))
            return *status;
        if (sigwaitinfo(&heard, nullptr) == SIGTERM)
            kill(process, SIGTERM);
    }
}

/** A process between this one and the server, which ends it when this one ends, however that ends. The server cannot
   see to that itself: who gives up root's rights loses the signal for a parent's death. */
pid_t start_keeper(const Program& server, int log) {
    const pid_t parent = getpid();
    const pid_t keeper = make_child();
    if (keeper > 0)
        return keeper;
    // What the parent would clean up is none of the child's business: no exception may leave this.
    try {
        set_apart();
        set_niceness(niceness);
        end_with_parent(parent);
        dup2(log, STDOUT_FILENO);
        dup2(log, STDERR_FILENO);
        closefrom(STDERR_FILENO + 1); // the lock of the state folder too
        _exit(keep_server(server));
    } catch (const std::exception& problem) {
        say(problem.what());
        _exit(1);
    }
}

} // namespace

WebServer::WebServer(const RunOptions& options, const Places& places, const std::string& state, Environment environment,
                     Signals& signals)
    : m_log(state + "/web_server.log"), m_environment(std::move(environment)), m_site(site_of(options, places, state)),
      m_folder(m_site.folder, places, m_site.passwords) {
    need_lighttpd();
    m_site.user = m_folder.user();
    const ListenAddress wanted = listen_address(options.listen);
    const int first = wanted.port.value_or(first_port);
    const int last = wanted.port.value_or(first_port + ports - 1);
    for (int port = first; port <= last; ++port) {
        if (listens_at(port, signals))
            return;
        const std::string said = contents_of(m_log);
        if (said.find("Address already in use") == std::string::npos)
            throw Refusal("the web server could not start: " + complaint_of(said));
    }
    if (wanted.port) {
        throw Refusal("port " + std::to_string(first) + " of " + wanted.host +
                      " is taken by another program; give --listen another one.");
    }
    throw Refusal("the ports " + std::to_string(first) + " to " + std::to_string(last) +
                  " are all taken; give a free one with --listen 127.0.0.1:PORT.");
}

WebServer::~WebServer() {
    stop();
}

bool WebServer::listens_at(int port, Signals& signals) {
    m_site.port = port;
    std::error_code ignored;
    fs::remove(m_site.pid_file, ignored);
    Program server;
    server.command = {"lighttpd", "-D", "-f", m_site.rules + "/korvex_orvel.conf"};
    server.environment = m_environment;
    for (const auto& [name, value] : web_rules(m_site))
        server.environment[name] = value;
    server.folder = m_site.folder;
    {
        const platform::Descriptor log = open_output(m_log, nobody_else);
        m_keeper = start_keeper(server, log.get());
    }
    while (contents_of(m_site.pid_file).empty()) {
        if (signals.asked()) {
            stop();
            throw Ending{asked_status};
        }
        if (status_of_ended(m_keeper)) {
            m_keeper = 0;
            return false;
        }
        signals.wait(look_again_ms);
    }
    return true;
}

void WebServer::stop() {
    if (m_keeper > 0) {
        kill(m_keeper, SIGTERM);
        waitpid(m_keeper, nullptr, 0);
        m_keeper = 0;
        std::error_code ignored;
        fs::remove(m_site.pid_file, ignored);
    }
}

} // namespace console
