#pragma once

#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

/**
 * For a test that drives the core: runs in a folder of its own (the log's path is relative), with every double as at
 * the start and an empty log. Afterwards no object of a double may be alive and none may have been released twice. A
 * critical message of GLib's ends the test program.
 */
class core_fixture : public testing::Test {
  protected:
    core_fixture();
    ~core_fixture() override;

  private:
    const TemporaryFolder m_folder;

  protected:
    /** The test's folder; also the working directory. */
    const std::filesystem::path folder = m_folder.path();

  private:
    const std::filesystem::path m_before;
};

/** What the process-wide log holds, file and waiting entries, as "LEVEL|MESSAGE". */
std::vector<std::string> log_lines();

/** Empties the log, so that only what follows is seen. */
void forget_log();

/** What the log gains while `what` runs. */
template <typename Action>
std::vector<std::string> log_of(Action what) {
    forget_log();
    what();
    return log_lines();
}

/** The whole of a file; empty when there is none. */
std::string contents_of(const std::filesystem::path& file);
