// The conversion of the default model: model/make.sh must have run.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

const std::string model_folder = KORVEX_MODEL_DIR;

std::string content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path << " is missing; model/make.sh makes it.";
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/** What a command prints, and whether it succeeded. */
struct Outcome {
    std::string text;
    bool succeeded;
};

Outcome run(const std::string& command) {
    Outcome outcome{};
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    std::array<char, 512> line{};
    while (std::fgets(line.data(), line.size(), pipe) != nullptr)
        outcome.text += line.data();
    outcome.succeeded = pclose(pipe) == 0;
    return outcome;
}

class Conversion : public testing::Test {
  protected:
    Conversion() : m_folder(std::filesystem::temp_directory_path() / ("conversion." + std::to_string(getpid()))) {
        std::filesystem::create_directories(m_folder);
    }
    ~Conversion() override { std::filesystem::remove_all(m_folder); }
    std::filesystem::path m_folder;
};

TEST_F(Conversion, GivesThePinnedBytes) {
    // A change of the converter that means to change the model changes these.
    const std::string sums =
        "511aaba54d788b6b32ac5faea30e2c0eac7188a24c9de8f2345b3921e490eebc  detect_960_540.tflite\n"
        "a70f2cdd6efd65a5e57b51a0ac982d1a9eb40a68ef18f19a9aa49405fd07539c  detect_540_960.tflite\n"
        "8fef6b3fc2a74b5c2b960491e9e9716db9a80ec1a33cc20108a55454b14bf2fe  fast/detect_960_540.tflite\n"
        "e70595d227a66363bfa75e30d9460ff4ab95eb44e608b617390ac7f723e0cc47  fast/detect_540_960.tflite\n";
    std::ofstream(m_folder / "sums") << sums;
    const Outcome outcome =
        run("cd '" + model_folder + "' && sha256sum --check '" + (m_folder / "sums").string() + "'");
    EXPECT_TRUE(outcome.succeeded) << outcome.text;
}

TEST_F(Conversion, GivesTheSameBytesAgain) {
    struct Made {
        std::string name, size, inner;
    };
    const std::vector<Made> models{{"detect_960_540", "960 540", ""},
                                   {"detect_540_960", "540 960", ""},
                                   {"fast/detect_960_540", "960 540", "640 360"},
                                   {"fast/detect_540_960", "540 960", "360 640"}};
    for (const Made& model : models) {
        const std::string made = (m_folder / "again.tflite").string();
        const Outcome outcome = run("/usr/bin/python3 -B '" KORVEX_MODEL_SCRIPTS "/convert.py' '" + model_folder +
                                    "/centernet.json' " + model.size + " '" + made + "' " + model.inner);
        ASSERT_TRUE(outcome.succeeded) << outcome.text;
        EXPECT_TRUE(content(made) == content(model_folder + "/" + model.name + ".tflite")) << model.name;
    }
}

TEST_F(Conversion, IsLeftOutWhenTheFilesAreUpToDate) {
    const std::string path = model_folder + "/detect_960_540.tflite";
    const auto before = std::filesystem::last_write_time(path);
    // Without npm: nothing is fetched either.
    const Outcome outcome = run("npm_config_offline=true '" KORVEX_MODEL_SCRIPTS "/make.sh' '" + model_folder + "'");
    EXPECT_TRUE(outcome.succeeded) << outcome.text;
    EXPECT_EQ(std::filesystem::last_write_time(path), before);
}

TEST_F(Conversion, IsDoneAgainWhenAFileHasRotted) {
    const std::filesystem::path copy = m_folder / "copy";
    std::filesystem::copy(model_folder, copy, std::filesystem::copy_options::recursive);
    const std::string make = "npm_config_offline=true '" KORVEX_MODEL_SCRIPTS "/make.sh' '" + copy.string() + "'";
    const std::string path = copy / "detect_540_960.tflite";
    std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).seekp(4'000'000).write("rotten", 6);
    EXPECT_EQ(run(make).text, "model/make.sh: a model in " + copy.string() + " is damaged; they are made anew.\n");
    EXPECT_TRUE(content(path) == content(model_folder + "/detect_540_960.tflite"));
    EXPECT_EQ(run(make).text, "");
}

/** A port that accepts no connection and refuses none, as a network that is not there. */
class SilentPort {
  public:
    SilentPort() {
        for (int& file : m_files)
            file = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof m_address;
        auto* any = reinterpret_cast<sockaddr*>(&m_address);
        EXPECT_EQ(bind(m_files[0], any, size), 0);
        EXPECT_EQ(listen(m_files[0], 0), 0);
        EXPECT_EQ(getsockname(m_files[0], any, &size), 0);
        // They fill the queue of those that wait to be accepted.
        for (std::size_t i = 1; i < m_files.size(); ++i)
            connect(m_files[i], any, size);
    }
    ~SilentPort() {
        for (const int file : m_files)
            close(file);
    }
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;

    std::string url() const { return "http://127.0.0.1:" + std::to_string(ntohs(m_address.sin_port)) + "/"; }

  private:
    std::array<int, 4> m_files{};
    sockaddr_in m_address{};
};

TEST_F(Conversion, GivesUpSoonWithoutANetwork) {
    const SilentPort silent;
    const std::string folder = m_folder.string();
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = run("npm_config_registry=" + silent.url() + " npm_config_cache='" + folder +
                                "/cache' '" KORVEX_MODEL_SCRIPTS "/fetch.sh' '" + folder + "/fetched'");
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.text, "model/fetch.sh: could not fetch @vladmandic/human@3.3.6 with npm: 127.0.0.1 does not "
                            "answer; is there a network?\n");
    std::printf("gave up after %.1f s\n", time.count());
    EXPECT_LT(time.count(), 40.0) << "10 s on a machine that is not busy; npm alone takes minutes";
}

TEST_F(Conversion, SaysWhatCouldNotBeFetched) {
    const std::string folder = m_folder.string();
    const Outcome outcome = run("npm_config_offline=true npm_config_cache='" + folder +
                                "/cache' '" KORVEX_MODEL_SCRIPTS "/fetch.sh' '" + folder + "/fetched'");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.text.find("model/fetch.sh: could not fetch @vladmandic/human@3.3.6 with npm: "), 0U)
        << outcome.text;
    EXPECT_EQ(outcome.text.find('\n'), outcome.text.size() - 1) << outcome.text;
}

} // namespace
