#include "platform/axevent/mqtt_queue.h"
#include "tests/platform/axevent/scratch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <deque>
#include <random>

using host_events::MqttMessage;
using host_events::MqttQueue;

namespace {

constexpr size_t limit = 100;

MqttMessage message(int number) {
    return {"topic/" + std::to_string(number), "payload \u00e9 " + std::to_string(number)};
}

/** Takes everything out. */
std::vector<MqttMessage> drain(MqttQueue& queue) {
    std::vector<MqttMessage> all;
    while (const auto entry = queue.front()) {
        all.push_back(entry->message);
        queue.pop(entry->number);
    }
    return all;
}

TEST(MqttQueue, GivesMessagesInTheOrderTheyCame) {
    MqttQueue queue("", limit);
    EXPECT_FALSE(queue.front());
    for (int number = 0; number < 3; ++number)
        queue.push(message(number));
    EXPECT_EQ(queue.size(), 3U);
    EXPECT_EQ(drain(queue), (std::vector{message(0), message(1), message(2)}));
    EXPECT_EQ(queue.size(), 0U);
}

TEST(MqttQueue, HandsOverToTheNextProcess) {
    const TemporaryFolder scratch;
    {
        MqttQueue queue(scratch / "queue", limit);
        for (int number = 0; number < 3; ++number)
            queue.push(message(number));
        queue.pop(queue.front()->number);
    }
    MqttQueue queue(scratch / "queue", limit);
    queue.push(message(3));
    EXPECT_EQ(drain(queue), (std::vector{message(1), message(2), message(3)}));
    EXPECT_EQ(MqttQueue(scratch / "queue", limit).size(), 0U);
}

TEST(MqttQueue, KnowsInTheNextProcessWhatIsNotRetained) {
    const TemporaryFolder scratch;
    MqttQueue(scratch / "queue", limit).push({"a", "b", false});
    MqttQueue queue(scratch / "queue", limit);
    queue.push(message(1));
    EXPECT_EQ(drain(queue), (std::vector{MqttMessage{"a", "b", false}, message(1)}));
}

TEST(MqttQueue, TakesUpAFileOfTheFirstRelease) {
    const TemporaryFolder scratch;
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open((scratch / "queue").c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database,
                           "CREATE TABLE queue (number INTEGER PRIMARY KEY, topic TEXT NOT NULL, "
                           "payload TEXT NOT NULL); INSERT INTO queue VALUES (5, 'a', 'b')",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(database);
    MqttQueue queue(scratch / "queue", limit);
    queue.push({"c", "d", false});
    EXPECT_EQ(drain(queue), (std::vector{MqttMessage{"a", "b", true}, MqttMessage{"c", "d", false}}));
}

TEST(MqttQueue, SurvivesAKillRightAfterThePush) {
    const TemporaryFolder scratch;
    const pid_t child = fork();
    if (child == 0) {
        MqttQueue queue(scratch / "queue", limit);
        queue.push(message(1));
        queue.push(message(2));
        kill(getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    MqttQueue queue(scratch / "queue", limit);
    EXPECT_EQ(drain(queue), (std::vector{message(1), message(2)}));
}

TEST(MqttQueue, DropsTheOldestBeyondItsLimitAndSaysSoOnce) {
    const TemporaryFolder scratch;
    {
        MqttQueue queue(scratch / "queue", 3);
        testing::internal::CaptureStderr();
        for (int number = 0; number < 6; ++number)
            queue.push(message(number));
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "axevent: the broker's queue is full with 3 changes; the oldest go\n");
        EXPECT_EQ(queue.size(), 3U);
    }
    MqttQueue queue(scratch / "queue", 3);
    EXPECT_EQ(drain(queue), (std::vector{message(3), message(4), message(5)}));
}

TEST(MqttQueue, DoesNotRemoveTheNextInPlaceOfOneThatWasDropped) {
    MqttQueue queue("", 2);
    queue.push(message(0));
    const std::int64_t on_its_way = queue.front()->number;
    queue.push(message(1));
    testing::internal::CaptureStderr();
    queue.push(message(2));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    queue.pop(on_its_way);
    EXPECT_EQ(drain(queue), (std::vector{message(1), message(2)}));
}

TEST(MqttQueue, IsWhatAPlainListWouldBe) {
    const TemporaryFolder scratch;
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    constexpr size_t small_limit = 8;
    std::deque<MqttMessage> model;
    auto queue = std::make_unique<MqttQueue>(scratch / "queue", small_limit);
    testing::internal::CaptureStderr(); // what it drops
    for (int step = 0; step < 1500; ++step) {
        switch (random() % 16) {
        case 0:
            queue.reset(); // the process ends
            queue = std::make_unique<MqttQueue>(scratch / "queue", small_limit);
            break;
        case 1:
            queue->tidy();
            break;
        case 2:
        case 3:
        case 4:
        case 5:
        case 6:
        case 7:
            if (!model.empty()) {
                queue->pop(queue->front()->number);
                model.pop_front();
            }
            break;
        default:
            queue->push(message(step));
            model.push_back(message(step));
            if (model.size() > small_limit)
                model.pop_front();
        }
        ASSERT_EQ(queue->size(), model.size());
        if (!model.empty()) {
            ASSERT_EQ(queue->front()->message, model.front());
        }
    }
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(drain(*queue), (std::vector<MqttMessage>(model.begin(), model.end())));
}

TEST(MqttQueue, KeepsItsFilesSmall) {
    const TemporaryFolder scratch;
    MqttQueue queue(scratch / "queue", limit);
    for (int number = 0; number < 5000; ++number) {
        queue.push(message(number));
        queue.pop(queue.front()->number);
        queue.tidy();
    }
    EXPECT_LT(std::filesystem::file_size(scratch / "queue"), 1U << 20);
    EXPECT_LT(std::filesystem::file_size(scratch / "queue-wal"), 2U << 20);
}

TEST(MqttQueue, GoesOnInMemoryWithoutAFile) {
    const TemporaryFolder scratch;
    testing::internal::CaptureStderr();
    MqttQueue queue(scratch / "no/such/folder/queue", limit);
    queue.push(message(1));
    queue.tidy();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "axevent: cannot keep the broker's queue in " +
                                                          (scratch / "no/such/folder/queue") +
                                                          ": unable to open database file; changes that wait are in "
                                                          "memory only\n");
    EXPECT_EQ(drain(queue), (std::vector{message(1)}));
}

/** Another connection that holds the file for itself makes each write fail, like a full disk. */
TEST(MqttQueue, SaysOnceForEachOutageThatItCannotWriteItsFile) {
    const TemporaryFolder scratch;
    MqttQueue queue(scratch / "queue", limit);
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open((scratch / "queue").c_str(), &other), SQLITE_OK);
    for (int outage = 0; outage < 2; ++outage) {
        ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
        testing::internal::CaptureStderr();
        queue.push(message(1));
        queue.push(message(2));
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "axevent: cannot keep the broker's queue in " + (scratch / "queue") +
                      ": database is locked; changes that wait are in memory only\n");
        ASSERT_EQ(sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr), SQLITE_OK);
        queue.push(message(3));
        EXPECT_EQ(drain(queue), (std::vector{message(1), message(2), message(3)}));
    }
    sqlite3_close(other);
}

TEST(MqttQueue, PutsADamagedFileAside) {
    const TemporaryFolder scratch;
    std::ofstream(scratch / "queue") << std::string(4096, 'x');
    testing::internal::CaptureStderr();
    {
        MqttQueue queue(scratch / "queue", limit);
        queue.push(message(1));
    }
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, testing::HasSubstr("file is not a database"));
    EXPECT_THAT(said, testing::HasSubstr("the damaged file is " + (scratch / "queue.damaged") + " now"));
    EXPECT_EQ(content(scratch / "queue.damaged"), std::string(4096, 'x'));
    MqttQueue queue(scratch / "queue", limit);
    EXPECT_EQ(drain(queue), (std::vector{message(1)}));
}

} // namespace
