#include "tests/platform/axevent/process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace {

sockaddr_in loopback(int port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

bool accepts(int port) {
    const int file = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    const bool connected = connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    close(file);
    return connected;
}

std::string text_member(const std::string& json, const std::string& name) {
    const std::string start = "\"" + name + "\":\"";
    const size_t at = json.find(start);
    return at == std::string::npos
               ? ""
               : json.substr(at + start.size(), json.find('"', at + start.size()) - at - start.size());
}

/** "<last topic level but one> <ON or OFF>", if the message is about a state. */
std::optional<std::string> state_in(const std::string& message) {
    const std::string topic = message.substr(0, message.find(' '));
    if (!topic.ends_with("/state"))
        return std::nullopt;
    const std::string alert = topic.substr(0, topic.rfind('/'));
    return alert.substr(alert.rfind('/') + 1) + " " + text_member(message, "state");
}

} // namespace

int free_port() {
    const int file = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof(address);
    if (bind(file, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        getsockname(file, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::runtime_error("no free port");
    close(file);
    return ntohs(address.sin_port);
}

Process::Process(const std::vector<std::string>& arguments, Stderr what) {
    int pipe_ends[2] = {};
    if (pipe2(pipe_ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    m_pid = fork();
    if (m_pid == 0) {
        dup2(pipe_ends[1], STDOUT_FILENO);
        if (what == Stderr::dropped)
            dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    close(pipe_ends[1]);
    m_output = pipe_ends[0];
}

Process::~Process() {
    end(SIGKILL);
    close(m_output);
}

std::optional<std::string> Process::line() {
    const auto until = std::chrono::steady_clock::now() + patience;
    while (true) {
        if (const size_t newline = m_read.find('\n'); newline != std::string::npos) {
            std::string first = m_read.substr(0, newline);
            m_read.erase(0, newline + 1);
            return first;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        pollfd file = {m_output, POLLIN, 0};
        if (left.count() <= 0 || poll(&file, 1, static_cast<int>(left.count())) <= 0)
            return std::nullopt;
        char buffer[4096];
        const ssize_t count = read(m_output, buffer, sizeof(buffer));
        if (count <= 0)
            return std::nullopt;
        m_read.append(buffer, static_cast<size_t>(count));
    }
}

void Process::end(int signal) {
    if (m_pid > 0) {
        kill(m_pid, signal);
        wait();
    }
}

int Process::wait() {
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<std::string> output_of(const std::vector<std::string>& arguments) {
    Process process(arguments, Process::Stderr::dropped);
    std::vector<std::string> all;
    while (std::optional<std::string> line = process.line())
        all.push_back(std::move(*line));
    return all;
}

Broker::Broker(const std::string& configuration) : m_port(free_port()) {
    std::string lines = configuration;
    for (size_t at = 0; (at = lines.find("%DIR%", at)) != std::string::npos;)
        lines.replace(at, std::strlen("%DIR%"), m_directory / "");
    // As root it would change to a user that may not write here; for any other user the line means nothing.
    std::ofstream(m_directory / "mosquitto.conf")
        << "listener " << m_port << " 127.0.0.1\nuser root\nlog_type error\n"
        << "persistence true\npersistence_location " << (m_directory / "") << "\n"
        << lines;
}

void Broker::start() {
    // Debian keeps the broker where an ordinary user's PATH does not look.
    const char* const beside_path = "/usr/sbin/mosquitto";
    m_process =
        std::make_unique<Process>(std::vector<std::string>{access(beside_path, X_OK) == 0 ? beside_path : "mosquitto",
                                                           "-c", m_directory / "mosquitto.conf"},
                                  Process::Stderr::dropped);
    if (!becomes_true([this] { return accepts(m_port); }))
        throw std::runtime_error("mosquitto does not start; is it installed?");
}

void Broker::stop() {
    m_process->end(SIGTERM);
}

void Broker::forget() {
    std::filesystem::remove(m_directory / "mosquitto.db");
}

std::vector<std::string> Broker::retained(const std::string& filter, int count) const {
    return output_of({"mosquitto_sub", "-h", "127.0.0.1", "-p", std::to_string(m_port), "-t", filter, "-C",
                      std::to_string(count), "-W", std::to_string(patience.count()), "-F", "%t %p"});
}

Watcher::Watcher(const Broker& broker) {
    const std::vector<std::string> subscribe = {"mosquitto_sub",
                                                "-h",
                                                "127.0.0.1",
                                                "-p",
                                                std::to_string(broker.port()),
                                                "-i",
                                                "watcher",
                                                "-c",
                                                "-q",
                                                "1",
                                                "-t",
                                                "#",
                                                "-F",
                                                "%r %t %p"};
    std::vector<std::string> begin = subscribe;
    begin.emplace_back("-E"); // ends once the broker has the subscription
    output_of(begin);
    m_process = std::make_unique<Process>(subscribe);
}

std::optional<std::string> Watcher::message() {
    while (std::optional<std::string> line = m_process->line()) {
        if (line->starts_with("0 "))
            return line->substr(2);
    }
    return std::nullopt;
}

bool Watcher::hears(const std::string& wanted) {
    std::optional<std::string> news = message();
    while (news && *news != wanted)
        news = message();
    return news.has_value();
}

std::optional<std::string> Watcher::state() {
    while (const std::optional<std::string> news = message()) {
        if (const std::optional<std::string> state = state_in(*news)) {
            m_known.insert(*news);
            return state;
        }
    }
    return std::nullopt;
}

std::vector<std::string> Watcher::states(int count) {
    std::vector<std::string> all;
    for (int number = 0; number < count; ++number)
        all.push_back(state().value_or("nothing"));
    return all;
}

std::vector<std::string> Watcher::new_states(int count) {
    std::vector<std::string> all;
    while (all.size() < static_cast<size_t>(count)) {
        const std::optional<std::string> news = message();
        if (!news)
            break;
        const std::optional<std::string> state = state_in(*news);
        if (state && m_known.insert(*news).second)
            all.push_back(*state);
    }
    return all;
}
