// The program that checks a model, with models that somebody has damaged. KORVEX_MUTATIONS says how many (default 60).

#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>

namespace korvex::larod::test {
namespace {

using testing::EndsWith;
using testing::StartsWith;

struct Outcome {
    int status;
    std::string text;
};

Outcome check(const std::string& path) {
    Outcome outcome{-1, ""};
    std::FILE* pipe = popen((std::string(KORVEX_CHECK_MODEL) + " '" + path + "' 2>&1").c_str(), "r");
    std::array<char, 1024> line{};
    while (std::fgets(line.data(), line.size(), pipe) != nullptr)
        outcome.text += line.data();
    outcome.status = pclose(pipe);
    return outcome;
}

/** Bytes flipped, most of them in the tables at the beginning; the file cut, or grown. */
std::vector<std::byte> damaged(std::vector<std::byte> model, std::mt19937& random) {
    constexpr std::size_t tables = 60000; // the default model's weights follow
    switch (random() % 8) {
    case 0:
        model.resize(random() % model.size());
        break;
    case 1:
        model.resize(model.size() + random() % 10000, static_cast<std::byte>(random()));
        break;
    default:
        for (auto flips = 1 + random() % 4; flips > 0; --flips) {
            const std::size_t range = random() % 5 == 0 ? model.size() : std::min(tables, model.size());
            model[random() % range] ^= static_cast<std::byte>(1U << random() % 8);
        }
    }
    return model;
}

TEST(CheckModel, SaysInOneSentenceWhatDoesNotFitOrNothing) {
    const Outcome right = check(default_model());
    EXPECT_EQ(right.status, 0);
    EXPECT_EQ(right.text, "");
    const Outcome wrong = check(test_model("outputs_4"));
    EXPECT_EQ(WEXITSTATUS(wrong.status), 1);
    EXPECT_THAT(wrong.text, StartsWith(test_model("outputs_4") + ": The model's input is uint8 [1, 2, 2, 3]; "));
}

TEST(CheckModel, SurvivesDamagedModelsAndTellsOfEach) {
    const char* wanted = std::getenv("KORVEX_MUTATIONS");
    const int rounds = wanted != nullptr ? std::atoi(wanted) : 60;
    const unsigned seed = 5;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::array<std::vector<std::byte>, 2> whole{read_file(default_model()),
                                                      read_file(test_model("detector_size"))};
    const std::string path = testing::TempDir() + "damaged." + std::to_string(getpid()) + ".tflite";
    int usable = 0;
    int ended = 0;
    for (int round = 0; round < rounds; ++round) {
        const auto bytes = damaged(whole[static_cast<std::size_t>(round) % 2], random);
        std::FILE* file = std::fopen(path.c_str(), "wb");
        ASSERT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
        std::fclose(file);
        const Outcome outcome = check(path);
        ASSERT_TRUE(WIFEXITED(outcome.status)) << "round " << round;
        if (outcome.status == 0) {
            EXPECT_EQ(outcome.text, "");
            ++usable;
        } else {
            EXPECT_EQ(WEXITSTATUS(outcome.status), 1);
            EXPECT_THAT(outcome.text, StartsWith(path + ": ")) << "round " << round;
            EXPECT_THAT(outcome.text, EndsWith("\n"));
            EXPECT_EQ(std::count(outcome.text.begin(), outcome.text.end(), '\n'), 1) << outcome.text;
            ended += outcome.text.find("The process of the inference") != std::string::npos ? 1 : 0;
        }
    }
    std::filesystem::remove(path);
    std::printf("%d models: %d usable, %d ended their worker, %d refused\n", rounds, usable, ended,
                rounds - usable - ended);
    // The damage must reach both sides of the check, or the test would show nothing.
    EXPECT_GT(usable, 0);
    EXPECT_LT(usable, rounds);
}

} // namespace

} // namespace korvex::larod::test
