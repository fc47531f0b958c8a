#include "tests/platform/axparameter/store_fixture.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>

namespace {

class ParameterTool : public StoreFixture {
  protected:
    struct Outcome {
        std::string text;
        int status;
    };

    /** What a shell command prints on both outputs, and its exit status. */
    static Outcome run(const std::string& command) {
        Outcome outcome{};
        FILE* pipe = popen(("exec 2>&1\n" + command).c_str(), "r");
        std::array<char, 256> part{};
        while (std::fgets(part.data(), part.size(), pipe) != nullptr)
            outcome.text += part.data();
        const int status = pclose(pipe);
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return outcome;
    }

    static Outcome tool(const std::string& arguments) { return run(KORVEX_PARAMETER_TOOL " " + arguments); }

    /** A shell command where `m_folder` is a disk of its own; its size in bytes. */
    Outcome on_a_disk(int size, const std::string& command) const {
        return run("bwrap --dev-bind / / --size " + std::to_string(size) + " --tmpfs '" + m_folder.string() +
                   "' sh -c '" + command + "'");
    }

    std::string no_room() const {
        return "The parameter store " + m_store.string() + " cannot be written: there is no room in " +
               m_folder.string() + " for the settings, so make some.\n";
    }
};

TEST_F(ParameterTool, SetsAndPrints) {
    EXPECT_EQ(tool("MainLoopTime=150 root.Image.I0.Appearance.Rotation=90").status, 0);
    EXPECT_EQ(tool("MainLoopTime root.Image.I0.Appearance.Rotation Sensitivity").text, "150\n90\n0.350000\n");
    EXPECT_EQ(value_of(open(), "MainLoopTime"), "150");
}

TEST_F(ParameterTool, RefusesWhatWouldNotDoAndChangesNothing) {
    const std::string period = ": it takes a whole number from 1 to 3600000, in milliseconds.\n";
    const struct {
        const char* argument;
        std::string sentence;
    } cases[] = {
        {"MainLoopTime=0", "\"0\" does not suit the parameter MainLoopTime" + period},
        {"MainLoopTime=3600001", "\"3600001\" does not suit the parameter MainLoopTime" + period},
        {"MainLoopTime=x", "\"x\" does not suit the parameter MainLoopTime" + period},
        {"MainLoopTime=", "\"\" does not suit the parameter MainLoopTime" + period},
        {"HStream=-1", "\"-1\" does not suit the parameter HStream: it takes a whole number from 0 to 2147483647.\n"},
        {"Sensitivity=7", "\"7\" does not suit the parameter Sensitivity: it takes a number from 0.01 to 0.99.\n"},
        {"Sensitivity=-1", "\"-1\" does not suit the parameter Sensitivity: it takes a number from 0.01 to 0.99.\n"},
        {"MinNumberOfPeopleForTrigger=0", "\"0\" does not suit the parameter MinNumberOfPeopleForTrigger: it takes a "
                                          "whole number from 1 to 12.\n"},
        {"MinNumberOfPeopleForTrigger=99", "\"99\" does not suit the parameter MinNumberOfPeopleForTrigger: it takes a "
                                           "whole number from 1 to 12.\n"},
        {"Alert1ThreshSeconds=10", "Alert2ThreshSeconds would be 10 and Alert1ThreshSeconds 10: each alert needs more "
                                   "seconds than the one below it.\n"},
        {"Alert2ThreshSeconds=20 Alert3ThreshSeconds=19",
         "Alert3ThreshSeconds would be 19 and Alert2ThreshSeconds 20: each alert needs more seconds than the one below "
         "it.\n"},
        {"SelectedAnonOverlay=641x360",
         "\"641x360\" does not suit the parameter SelectedAnonOverlay: it takes 0x0 for none, or one of the camera's "
         "streams: 1920x1080 1280x960 1280x720 800x600 800x450 640x480 640x360.\n"},
        {"root.Image.I0.Appearance.Rotation=45",
         "\"45\" does not suit the parameter root.Image.I0.Appearance.Rotation: it takes 0, 90, 180 or 270.\n"},
    };
    for (const auto& [argument, sentence] : cases) {
        const Outcome outcome = tool("Sensitivity=0.5 " + std::string(argument));
        EXPECT_EQ(outcome.text, sentence);
        EXPECT_EQ(outcome.status, 1);
    }
    EXPECT_EQ(value_of(open(), "Sensitivity"), "0.350000");
    for (const char* longest : {"1", "3600000"})
        EXPECT_EQ(tool(std::string("MainLoopTime=") + longest).status, 0);
}

TEST_F(ParameterTool, TakesSecondsThatAreInOrderTogether) {
    EXPECT_EQ(tool("Alert1ThreshSeconds=100 Alert2ThreshSeconds=200 Alert3ThreshSeconds=300").text, "");
    EXPECT_EQ(tool("SelectedAnonOverlay=0x0 SelectedDetectionOverlay=640x360 Sensitivity=0.99").text, "");
    EXPECT_EQ(tool("Alert3ThreshSeconds SelectedDetectionOverlay").text, "300\n640x360\n");
}

TEST_F(ParameterTool, EndsWithOneSentenceWhereTheStoreCannotBeMade) {
    if (on_a_disk(1 << 20, "true").status != 0) {
        GTEST_SKIP() << "this system lets nobody make a disk of his own: " << on_a_disk(1 << 20, "true").text;
    }
    for (const int size : {4096, 16384, 65536, 1 << 19}) {
        const Outcome outcome = on_a_disk(size, KORVEX_PARAMETER_TOOL " EulaAccepted");
        EXPECT_EQ(outcome.text, no_room()) << size;
        EXPECT_EQ(outcome.status, 1) << size;
    }
    EXPECT_EQ(on_a_disk(4 << 20, KORVEX_PARAMETER_TOOL " EulaAccepted").text, "false\n");
}

TEST_F(ParameterTool, EndsWithOneSentenceOnADiskThatIsNearlyFullAndGoesOnWhenItIsNot) {
    if (on_a_disk(1 << 20, "true").status != 0) {
        GTEST_SKIP() << "this system lets nobody make a disk of his own: " << on_a_disk(1 << 20, "true").text;
    }
    const std::string fill = "head -c 16M /dev/zero 2>/dev/null >" + (m_folder / "rest").string();
    const std::string leave_8k = "truncate -s -8192 " + (m_folder / "rest").string();
    const Outcome outcome =
        on_a_disk(4 << 20, KORVEX_PARAMETER_TOOL " EulaAccepted=true; " + fill + "; " + leave_8k + "; " +
                               KORVEX_PARAMETER_TOOL " EulaAccepted; echo $?; rm " + (m_folder / "rest").string() +
                               "; " KORVEX_PARAMETER_TOOL " EulaAccepted; echo $?");
    EXPECT_EQ(outcome.text, no_room() + "1\ntrue\n0\n");
}

} // namespace
