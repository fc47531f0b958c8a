#pragma once

#include "platform/larod/listening_socket.h"
#include "platform/larod/message.h"
#include "platform/larod/stored_model.h"
#include "tests/platform/larod/test_models.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace korvex::larod::test {

/** Waits long for what a busy machine does late. */
inline bool eventually(const std::function<bool()>& is_so) {
    for (int i = 0; i < 3000; ++i) {
        if (is_so())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

/** The processes whose parent that is. */
inline std::vector<pid_t> children_of(pid_t parent) {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        std::ifstream status(entry.path() / "stat");
        std::string line;
        if (name.find_first_not_of("0123456789") != std::string::npos || !std::getline(status, line))
            continue;
        // "PID (NAME) STATE PPID ..."
        const std::string rest = line.substr(line.rfind(')') + 1);
        if (rest.size() > 3 && rest[1] != 'Z' && std::stoi(rest.substr(3)) == parent)
            found.push_back(std::stoi(name));
    }
    return found;
}

/** A service of its own in a folder of its own, ended with the object. */
class RunningService {
  public:
    explicit RunningService(int workers = 2) {
        std::string name = testing::TempDir() + "larod.XXXXXX";
        m_folder = mkdtemp(name.data());
        m_socket = m_folder + "/socket";
        setenv("KORVEX_LAROD_WORKERS", std::to_string(workers).c_str(), 1);
        std::string program = KORVEX_LAROD_SERVICE;
        std::string option = "--listen";
        char* arguments[] = {program.data(), option.data(), m_socket.data(), nullptr};
        EXPECT_EQ(posix_spawn(&m_process, program.c_str(), nullptr, nullptr, arguments, environ), 0);
        unsetenv("KORVEX_LAROD_WORKERS");
        EXPECT_TRUE(eventually([&] { return listens(); }));
    }
    ~RunningService() {
        kill(m_process, SIGCONT);
        kill(m_process, SIGTERM);
        int status = -1;
        waitpid(m_process, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the service ended with " << status;
        EXPECT_FALSE(std::filesystem::exists(m_socket));
        std::filesystem::remove_all(m_folder);
    }
    RunningService(const RunningService&) = delete;
    RunningService& operator=(const RunningService&) = delete;

    const std::string& socket() const { return m_socket; }
    pid_t process() const { return m_process; }
    std::vector<pid_t> workers() const { return children_of(m_process); }

  private:
    bool listens() const {
        try {
            return static_cast<bool>(connect_to(m_socket));
        } catch (const Failure&) {
            return false;
        }
    }

    std::string m_folder;
    std::string m_socket;
    pid_t m_process = -1;
};

/** A client that says what it likes. */
class RawClient {
  public:
    explicit RawClient(const RunningService& service) {
        m_socket = connect_to(service.socket());
        EXPECT_EQ(answer(), Received::message);
        EXPECT_EQ(message.kind, Message::Kind::ready);
    }

    Received answer(std::chrono::seconds patience = std::chrono::seconds(60)) {
        return receive_message(m_socket.get(), message, m_files, std::chrono::steady_clock::now() + patience);
    }

    bool say(Message::Kind kind, std::span<const int> handed = {}, std::uint32_t number = 1) {
        return send_message(m_socket.get(), {.kind = kind, .model = model, .request = number}, handed);
    }

    /** Loads a test model; gives whether it was taken. */
    bool load(const std::string& path) {
        const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        const auto bytes = StoredModel::copy(file.get());
        const int fd = bytes.file();
        EXPECT_TRUE(say(Message::Kind::load, {&fd, 1}));
        EXPECT_EQ(answer(), Received::message);
        model = message.model;
        return message.kind == Message::Kind::loaded;
    }

    /** Binds new files: a picture of `bytes` bytes, all of `value`, and the outputs. */
    void bind(std::size_t bytes, std::byte value, std::size_t outputs) {
        files.clear();
        files.emplace_back(memory_file(std::vector<std::byte>(bytes, value)));
        for (std::size_t i = 0; i < outputs; ++i)
            files.emplace_back(memory_file({}));
        EXPECT_TRUE(say(Message::Kind::bind, numbers()));
    }

    /** Runs once; gives the kind of the answer. */
    Message::Kind run() {
        EXPECT_TRUE(say(Message::Kind::run));
        EXPECT_EQ(answer(), Received::message);
        return message.kind;
    }

    std::vector<int> numbers() const {
        std::vector<int> result;
        for (const Descriptor& file : files)
            result.push_back(file.get());
        return result;
    }

    float first_value(std::size_t output) const {
        float value = -1;
        EXPECT_EQ(pread(files[output + 1].get(), &value, sizeof value, 0), static_cast<ssize_t>(sizeof value));
        return value;
    }

    int socket() const { return m_socket.get(); }
    void leave() { m_socket.reset(); }

    std::string sentence() const { return message.text.data(); }

    Message message; // the last answer
    std::uint32_t model = 0;
    std::vector<Descriptor> files;

  private:
    Descriptor m_socket;
    std::vector<Descriptor> m_files;
};

} // namespace korvex::larod::test
