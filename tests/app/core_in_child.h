#pragma once

#include "app/app_main.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/failing_libc.h"
#include "tests/doubles/fake_axparameter.h"
#include "tests/doubles/recording_syslog.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

/** The objects are the process's own: what sets them up runs in a child, with the model files in the package. */
class core_in_child : public core_fixture {
  protected:
    core_in_child() {
        failing_libc::reset();
        std::filesystem::create_directories(folder / "korvex_orvel");
        for (const char* name : {"detect_960_540.tflite", "detect_540_960.tflite"})
            std::ofstream(folder / "korvex_orvel" / name) << "model";
        failing_libc::redirect_packages(folder);
        recording_syslog::recorder().reset();
        fake_axparameter::put("MainLoopTime", "20");
        fake_axparameter::put("EulaAccepted", "true");
        fake_axparameter::put("Sensitivity", "0.350000");
    }
    ~core_in_child() override { failing_libc::reset(); }

    /** The exit status of a child that runs `body`, ends like main with its result and fails when a check does. */
    static int status_of_child(const std::function<int()>& body) {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            alarm(120); // a loop that never ends is a failure, too
            const int result = body();
            std::exit(testing::Test::HasFailure() ? 77 : result);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
        return WEXITSTATUS(status);
    }

    /** What the log's file holds, as "LEVEL|MESSAGE". */
    std::vector<std::string> lines_of_the_file() const {
        std::ifstream file(folder / "localdata" / "OrvelLog.txt");
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line.substr(line.find('|', line.find('|') + 1) + 1));
        return lines;
    }

    /** A set-up without main loop, as start-up does it. */
    static void start() {
        init_parameter_controller();
        EXPECT_EQ(init_ai(), 0);
        forget_log();
    }
};
