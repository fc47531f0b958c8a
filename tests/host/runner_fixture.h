#pragma once

#include "host/child.h"
#include "host/files.h"
#include "host/refusal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

/** A folder of the test's own, with full path. */
class RunnerTest : public testing::Test {
  protected:
    RunnerTest() {
        std::string name = (std::filesystem::temp_directory_path() / "korvex_runner_XXXXXX").string();
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        folder = std::filesystem::canonical(name);
    }
    ~RunnerTest() override { std::filesystem::remove_all(folder); }

    std::string path(const std::string& name) const { return folder / name; }

    /** Makes a file and gives its path. */
    std::string file(const std::string& name, const std::string& text = "") const {
        std::ofstream(path(name)) << text;
        return path(name);
    }

    std::filesystem::path folder;
};

/** What the action is refused with; empty when it is not. */
template <typename Action>
std::string refusal_of(const Action& action) {
    try {
        action();
    } catch (const console::Refusal& refusal) {
        return refusal.what();
    }
    return {};
}

/** A shell that runs these commands. */
inline console::Program shell(const std::string& commands) {
    console::Program program;
    program.command = {"sh", "-c", commands};
    program.environment = console::own_environment();
    return program;
}

/** Until the file holds something; what it holds. */
inline std::string await_contents(const std::string& path) {
    for (int tries = 0; tries < 1000 && console::contents_of(path).empty(); ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return console::contents_of(path);
}

/** Whether the process has ended within ten seconds; one that nobody collects has. */
inline bool ends(pid_t process) {
    for (int tries = 0; tries < 1000; ++tries) {
        const std::string status = console::contents_of("/proc/" + std::to_string(process) + "/status");
        if (status.empty() || status.find("State:\tZ") != std::string::npos) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}
