#pragma once

#include "host/child.h"
#include "host/files.h"
#include "host/refusal.h"
#include "tests/support/becomes_true.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/variables.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

/** A folder of the test's own, with full path. */
class RunnerTest : public testing::Test {
  protected:
    std::string path(const std::string& name) const { return folder / name; }

    /** Makes a file and gives its path. */
    std::string file(const std::string& name, const std::string& text = "") const {
        std::ofstream(path(name)) << text;
        return path(name);
    }

    const TemporaryFolder m_own;
    const std::filesystem::path folder = m_own.path();
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
    EXPECT_TRUE(becomes_true([&] { return !console::contents_of(path).empty(); })) << path;
    return console::contents_of(path);
}

/** Waits until the process has ended; one that nobody collects has. */
inline testing::AssertionResult ends(pid_t process) {
    return becomes_true([process] {
        const std::string status = console::contents_of("/proc/" + std::to_string(process) + "/status");
        return status.empty() || status.find("State:	Z") != std::string::npos;
    });
}
