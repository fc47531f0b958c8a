#include "larod.h"
#include "platform/larod/service_link.h"
#include "tests/platform/larod/running_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace korvex::larod::test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;

std::size_t open_descriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/** An application with a model and its tensors, through the interface. */
class Application {
  public:
    Application() {
        connected = larodConnect(&m_connection, &m_error);
        if (!connected)
            return;
        EXPECT_TRUE(larodSetChip(m_connection, LAROD_CHIP_TFLITE_CPU, &m_error));
        const Descriptor file(open(test_model("outputs_4").c_str(), O_RDONLY | O_CLOEXEC));
        m_model = larodLoadModel(m_connection, file.get(), LAROD_ACCESS_PUBLIC, "test", &m_error);
        m_inputs = larodCreateModelInputs(m_model, &m_input_count, &m_error);
        m_outputs = larodCreateModelOutputs(m_model, &m_output_count, &m_error);
        m_files.emplace_back(memory_file(std::vector<std::byte>(12, std::byte{4})));
        EXPECT_TRUE(larodSetTensorFd(m_inputs[0], m_files[0].get(), &m_error));
        for (std::size_t i = 0; i < m_output_count; ++i) {
            m_files.emplace_back(memory_file({}));
            EXPECT_TRUE(larodSetTensorFd(m_outputs[i], m_files.back().get(), &m_error));
        }
        m_request = larodCreateInferenceRequest(m_model, m_inputs, 1, m_outputs, m_output_count, &m_error);
    }
    ~Application() {
        larodDestroyJobRequest(&m_request);
        larodDestroyTensors(&m_inputs, m_input_count);
        larodDestroyTensors(&m_outputs, m_output_count);
        larodDestroyModel(&m_model);
        if (m_connection != nullptr)
            larodDisconnect(&m_connection, nullptr);
        larodClearError(&m_error);
    }
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    bool run() {
        larodClearError(&m_error);
        for (std::size_t i = 1; i < m_files.size(); ++i) {
            lseek(m_files[i].get(), 0, SEEK_SET);
            EXPECT_EQ(ftruncate(m_files[i].get(), 0), 0);
        }
        if (!larodRunInference(m_connection, m_request, &m_error))
            return false;
        float value = -1;
        EXPECT_EQ(pread(m_files[2].get(), &value, sizeof value, 0), 4);
        EXPECT_EQ(value, 8.0F);
        return true;
    }

    std::string error() const { return m_error != nullptr ? m_error->msg : "no error"; }

    bool connected = false;

  private:
    larodConnection* m_connection = nullptr;
    larodModel* m_model = nullptr;
    larodTensor** m_inputs = nullptr;
    larodTensor** m_outputs = nullptr;
    std::size_t m_input_count = 0;
    std::size_t m_output_count = 0;
    larodInferenceRequest* m_request = nullptr;
    larodError* m_error = nullptr;
    std::vector<Descriptor> m_files;
};

TEST(ServiceLink, StartsAServiceOfItsOwnThatEndsWithTheLastConnection) {
    {
        Application first;
        Application second;
        EXPECT_TRUE(first.run());
        EXPECT_TRUE(second.run());
        EXPECT_EQ(children_of(getpid()).size(), 1U);
    }
    EXPECT_TRUE(children_of(getpid()).empty());
}

TEST(ServiceLink, UsesTheServiceThatIsNamed) {
    const RunningService service;
    setenv("KORVEX_INFERENCE", service.socket().c_str(), 1);
    {
        Application application;
        EXPECT_TRUE(application.run());
        EXPECT_EQ(children_of(getpid()), std::vector<pid_t>{service.process()});
    }
    unsetenv("KORVEX_INFERENCE");
}

TEST(ServiceLink, SaysThatNobodyListensAtTheSocket) {
    setenv("KORVEX_INFERENCE", "/nowhere/socket", 1);
    const Application application;
    unsetenv("KORVEX_INFERENCE");
    EXPECT_FALSE(application.connected);
    EXPECT_EQ(application.error(), "No inference service answers at /nowhere/socket: No such file or directory.");
}

TEST(ServiceLink, GoesOnWithANewServiceAfterEachDeathAndKeepsNothingOfTheOldOnes) {
    Application application;
    ASSERT_TRUE(application.run());
    const std::size_t descriptors = open_descriptors();
    const unsigned seed = 3;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int i = 0; i < KORVEX_DEATHS; ++i) {
        const pid_t service = children_of(getpid()).at(0);
        const auto workers = children_of(service);
        const pid_t victim = random() % 2 == 0 || workers.empty() ? service : workers[0];
        std::thread killer([victim, pause = random() % 2000] {
            std::this_thread::sleep_for(std::chrono::microseconds(pause));
            kill(victim, SIGKILL);
        });
        for (int pass = 0; pass < 20; ++pass) {
            // What fails says so in a clear sentence.
            const bool done = application.run();
            EXPECT_THAT(done ? "the service" : application.error(), AnyOf(HasSubstr("service"), HasSubstr("process")))
                << "a clear sentence";
        }
        killer.join();
        ASSERT_TRUE(eventually([&] { return application.run(); })) << application.error();
    }
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(children_of(getpid()).size(), 1U);
    EXPECT_LE(children_of(children_of(getpid()).at(0)).size(), 1U);
}

TEST(ServiceLink, GivesAServiceUpThatIsStopped) {
    setenv("KORVEX_LAROD_SECONDS", "1", 1);
    {
        Application application;
        ASSERT_TRUE(application.run());
        kill(children_of(getpid()).at(0), SIGSTOP);
        EXPECT_FALSE(application.run());
        EXPECT_EQ(application.error(), "The inference service is lost: it did not answer within 3 s.");
        EXPECT_FALSE(application.run());
        EXPECT_THAT(application.error(), HasSubstr("it is tried again in "));
        EXPECT_TRUE(eventually([&] { return application.run(); })) << application.error();
    }
    unsetenv("KORVEX_LAROD_SECONDS");
    EXPECT_TRUE(children_of(getpid()).empty());
}

TEST(ServiceLink, ComesBackToASharedServiceThatWasStartedAgain) {
    auto service = std::make_unique<RunningService>();
    const std::string socket = service->socket();
    setenv("KORVEX_INFERENCE", socket.c_str(), 1);
    Application application;
    ASSERT_TRUE(application.run());
    kill(service->process(), SIGSTOP);
    service.reset();
    EXPECT_FALSE(application.run());
    const auto taken = listen_at(socket); // somebody listens there and never answers
    EXPECT_FALSE(application.run());
    unsetenv("KORVEX_INFERENCE");
    EXPECT_TRUE(eventually([&] { return application.run(); })) << "with one of its own now: " << application.error();
}

} // namespace

} // namespace korvex::larod::test
