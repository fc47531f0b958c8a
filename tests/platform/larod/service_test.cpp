#include "platform/larod/service.h"
#include "tests/platform/larod/running_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <memory>

namespace korvex::larod::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

/** A client with outputs_4 loaded and bound, which has run once. */
class Customer : public RawClient {
  public:
    explicit Customer(const RunningService& service) : RawClient(service) {
        EXPECT_TRUE(load(test_model("outputs_4")));
        bind(12, std::byte{3}, 4);
        EXPECT_EQ(run(), Message::Kind::done);
    }
};

void expect_served(Customer& customer) {
    ASSERT_EQ(customer.run(), Message::Kind::done) << customer.sentence();
    EXPECT_EQ(customer.first_value(1), 6.0F);
}

TEST(Service, RunsAModelOverTheFilesThatWereHandedOverOnce) {
    const RunningService service;
    Customer customer(service);
    expect_served(customer);
    const std::vector<std::byte> picture(12, std::byte{5});
    ASSERT_EQ(pwrite(customer.files[0].get(), picture.data(), picture.size(), 0), 12);
    for (std::size_t i = 1; i < customer.files.size(); ++i)
        lseek(customer.files[i].get(), 0, SEEK_SET);
    ASSERT_EQ(customer.run(), Message::Kind::done);
    EXPECT_EQ(customer.first_value(3), 20.0F);
}

TEST(Service, HoldsTheSameBytesOnceAndStartsWorkersOnlyForWorkThatWaits) {
    const RunningService service(4);
    EXPECT_THAT(service.workers(), IsEmpty());
    Customer first(service);
    Customer second(service);
    EXPECT_EQ(first.model, second.model);
    EXPECT_THAT(service.workers(), SizeIs(1)) << "the two never asked at once";
    RawClient other(service);
    ASSERT_TRUE(other.load(test_model("inputs_2")));
    EXPECT_NE(other.model, first.model);
    first.leave();
    expect_served(second);
}

TEST(Service, ForgetsAModelThatNobodyHoldsAnyMore) {
    const RunningService service;
    Customer first(service);
    const std::uint32_t number = first.model;
    ASSERT_TRUE(first.say(Message::Kind::unbind));
    ASSERT_TRUE(first.say(Message::Kind::unload));
    ASSERT_TRUE(first.load(test_model("outputs_4")));
    EXPECT_NE(first.model, number);
}

TEST(Service, SaysWhyAModelCannotBeLoadedAndGoesOn) {
    const RunningService service;
    RawClient client(service);
    EXPECT_FALSE(client.load("/proc/self/comm"));
    EXPECT_THAT(client.sentence(), HasSubstr("no TensorFlow Lite file"));
    EXPECT_TRUE(client.load(test_model("outputs_4")));
}

TEST(Service, RefusesFilesThatAreTooSmallOrCannotBeWrittenAndHarmsNobody) {
    const RunningService service;
    Customer honest(service);
    RawClient client(service);
    ASSERT_TRUE(client.load(test_model("outputs_4")));
    client.bind(11, std::byte{1}, 4);
    EXPECT_EQ(client.run(), Message::Kind::failed);
    EXPECT_EQ(client.sentence(), "Input tensor 0: The input's file holds 11 of the 12 bytes that the model takes.");
    client.bind(12, std::byte{1}, 4);
    ASSERT_EQ(fcntl(client.files[2].get(), F_ADD_SEALS, F_SEAL_GROW), 0);
    EXPECT_EQ(client.run(), Message::Kind::failed);
    EXPECT_THAT(client.sentence(), StartsWith("Output tensor 1: Cannot write the output: "));
    client.bind(12, std::byte{1}, 4);
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    client.files[0] = Descriptor(ends[0]);
    const Descriptor silent(ends[1]);
    ASSERT_TRUE(client.say(Message::Kind::bind, client.numbers()));
    EXPECT_EQ(client.run(), Message::Kind::failed);
    EXPECT_EQ(client.sentence(), "Input tensor 0: The descriptor is not a file's.");
    expect_served(honest);
    EXPECT_THAT(service.workers(), SizeIs(1)) << "no worker had to be ended";
}

TEST(Service, DropsWhoeverDoesNotKeepToTheMessages) {
    const RunningService service;
    Customer honest(service);
    const std::array<void (*)(Customer&), 8> rudenesses{
        [](Customer& client) { client.say(Message::Kind::unload), client.say(Message::Kind::run); },
        [](Customer& client) { send(client.socket(), "x", 1, 0); },
        [](Customer& client) { client.say(Message::Kind::done); },
        [](Customer& client) { client.say(Message::Kind::run, {}, 9); },
        [](Customer& client) {
            client.say(Message::Kind::bind, client.numbers(), 2), client.model = 77,
                                                                  client.say(Message::Kind::bind, client.numbers(), 3);
        },
        [](Customer& client) {
            for (int i = 0; i < 1000; ++i)
                client.say(Message::Kind::run);
        },
        [](Customer& client) { client.say(Message::Kind::unload), client.say(Message::Kind::unload); },
        [](Customer& client) {
            for (std::uint32_t i = 0; i < 2000; ++i)
                client.say(Message::Kind::bind, client.numbers(), i);
        },
    };
    for (std::size_t i = 0; i < rudenesses.size(); ++i) {
        Customer rude(service);
        rudenesses[i](rude);
        Received last = Received::message;
        while (last == Received::message)
            last = rude.answer();
        EXPECT_EQ(last, Received::closed) << "rudeness " << i;
        expect_served(honest);
    }
}

TEST(Service, DropsAClientThatDiesAtAnyMoment) {
    const RunningService service;
    Customer honest(service);
    for (int i = 0; i < 20; ++i) {
        Customer dying(service);
        dying.say(Message::Kind::run);
        dying.leave();
        expect_served(honest);
    }
}

TEST(Service, DoesNotWaitForAClientThatNeverReads) {
    const RunningService service;
    Customer honest(service);
    const Customer deaf(service);
    // A connection that is not even greeted, and models whose loading is not looked at.
    const Descriptor mute = connect_to(service.socket());
    for (int i = 0; i < 5; ++i)
        expect_served(honest);
}

TEST(Service, ReplacesAWorkerThatWasKilledOrStopped) {
    setenv("KORVEX_LAROD_SECONDS", "1", 1);
    const RunningService service;
    unsetenv("KORVEX_LAROD_SECONDS");
    Customer customer(service);
    const pid_t first = service.workers().at(0);
    kill(first, SIGKILL);
    ASSERT_TRUE(eventually([&] { return service.workers().empty(); }));
    expect_served(customer);
    const pid_t second = service.workers().at(0);
    kill(second, SIGSTOP);
    EXPECT_EQ(customer.run(), Message::Kind::failed);
    EXPECT_THAT(customer.sentence(), HasSubstr("did not answer within 1.0 s and was ended"));
    EXPECT_TRUE(eventually([&] { return customer.run() == Message::Kind::done; }));
    EXPECT_NE(service.workers().at(0), second);
}

TEST(Service, LetsOnlyTheClientWaitWhoseModelEndsItsWorker) {
    const RunningService service;
    Customer honest(service);
    RawClient client(service);
    ASSERT_TRUE(client.load(test_model("gather")));
    client.files.clear();
    client.files.emplace_back(memory_file(std::vector<std::byte>(2, std::byte{255}))); // far behind the last row
    client.files.emplace_back(memory_file({}));
    ASSERT_TRUE(client.say(Message::Kind::bind, client.numbers()));
    // What it reads there is anybody's guess; it may be bytes, but never another's worker.
    for (int i = 0; i < 10; ++i) {
        client.run();
        expect_served(honest);
    }
}

TEST(Service, GivesEverybodyATurnTheOldestFirst) {
    setenv("KORVEX_LAROD_SECONDS", "60", 1);
    const RunningService service(1);
    unsetenv("KORVEX_LAROD_SECONDS");
    const Customer loading(service);
    const pid_t worker = service.workers().at(0);
    // Everybody's first output goes on in the same file, so that it tells the order.
    const Descriptor order(memory_file({}));
    constexpr int number = 5;
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < number; ++i) {
        auto& client = *clients.emplace_back(std::make_unique<RawClient>(service));
        ASSERT_TRUE(client.load(test_model("outputs_4")));
        client.bind(12, static_cast<std::byte>(i), 4);
        client.files[1] = Descriptor(fcntl(order.get(), F_DUPFD_CLOEXEC, 0));
        ASSERT_TRUE(client.say(Message::Kind::bind, client.numbers()));
    }
    kill(worker, SIGSTOP);
    for (const auto& client : clients)
        ASSERT_TRUE(client->say(Message::Kind::run));
    // All of them are in the queue once the service has answered somebody who came later.
    RawClient last(service);
    kill(worker, SIGCONT);
    for (int round = 0; round < 10; ++round) {
        for (const auto& client : clients) {
            ASSERT_EQ(client->answer(), Received::message);
            ASSERT_EQ(client->message.kind, Message::Kind::done);
            ASSERT_TRUE(client->say(Message::Kind::run)); // again at once, and yet behind the others
        }
    }
    // Five turns each in the first half of them, give or take one that crossed another on its way.
    std::array<int, number> turns{};
    for (int i = 0; i < 5 * number; ++i) {
        float value = -1;
        ASSERT_EQ(pread(order.get(), &value, sizeof value, i * 48), 4);
        ++turns.at(static_cast<std::size_t>(value));
    }
    for (const int each : turns) {
        EXPECT_GE(each, 4);
        EXPECT_LE(each, 6);
    }
}

TEST(Service, HasNoRightToOpenFilesOrToUseTheNetwork) {
    const RunningService service;
    const Customer customer(service);
    for (const pid_t process : {service.process(), service.workers().at(0)}) {
        std::ifstream status("/proc/" + std::to_string(process) + "/status");
        const std::string text((std::istreambuf_iterator<char>(status)), std::istreambuf_iterator<char>());
        EXPECT_THAT(text, HasSubstr("Seccomp:\t2")) << process;
    }
}

TEST(Service, GivesWayToThePassAndGoesBeforeTheWebServer) {
    const int own = getpriority(PRIO_PROCESS, 0);
    const RunningService service(1);
    Customer customer(service);
    const int expected = std::max(own, std::min(own + 5, 9));
    EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(service.process())), expected);
    for (const pid_t worker : service.workers())
        EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(worker)), expected);
}

TEST(Service, EndsWithItsWorkersWhenItIsKilled) {
    pid_t worker = -1;
    std::string folder = testing::TempDir() + "larod.XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
    Descriptor own(ends[0]);
    Descriptor services(ends[1]);
    const pid_t process = fork();
    if (process == 0) {
        own.reset();
        execl(KORVEX_LAROD_SERVICE, "korvex_larod", "--client", std::to_string(services.get()).c_str(), nullptr);
        _exit(1);
    }
    services.reset();
    Message message;
    std::vector<Descriptor> files;
    ASSERT_EQ(receive_message(own.get(), message, files, std::chrono::steady_clock::now() + std::chrono::minutes(1)),
              Received::message);
    const Descriptor file(open(test_model("outputs_4").c_str(), O_RDONLY | O_CLOEXEC));
    const auto model = StoredModel::copy(file.get());
    const int fd = model.file();
    message.kind = Message::Kind::load;
    ASSERT_TRUE(send_message(own.get(), message, {&fd, 1}));
    ASSERT_TRUE(eventually([&] { return !children_of(process).empty(); }));
    worker = children_of(process).at(0);
    ASSERT_EQ(receive_message(own.get(), message, files, std::chrono::steady_clock::now() + std::chrono::minutes(1)),
              Received::message); // it is at work
    kill(worker, SIGSTOP);
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    EXPECT_TRUE(eventually([&] {
        std::ifstream status("/proc/" + std::to_string(worker) + "/stat");
        std::string line;
        return !std::getline(status, line) || line.find(") Z ") != std::string::npos;
    })) << "the worker goes on";
    std::filesystem::remove_all(folder);
}

} // namespace

} // namespace korvex::larod::test
