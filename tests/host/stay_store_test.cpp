#include "host/stay_store.h"
#include "tests/host/stay_fixture.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace {

using console::StayRecord;
using console::StayStore;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class StayStoreTest : public StayTest {
  protected:
    std::string path() const { return folder().database(); }
    std::vector<StayRecord> all() const { return console::read_stays(path(), {0.0, 1e12}, 1000); }
};

TEST_F(StayStoreTest, WhatIsWrittenIsRead) {
    StayStore store(path());
    const StayRecord written = record(store.new_id(), 0.5, 26, 2);
    store.write({written});
    const auto read = all();
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(console::json_of_stay(read[0], folder()), console::json_of_stay(written, folder()));
    EXPECT_EQ(read[0].stay.reached, written.stay.reached);
}

TEST_F(StayStoreTest, ARangeGivesThoseThatBeganInItInTheirOrder) {
    StayStore store(path());
    store.write({record(1, 20.0, 1, 0), record(2, 10.0, 99, 0), record(3, 0.0, 1, 0), record(4, 30.0, 1, 0)});
    EXPECT_THAT(ids_of(console::read_stays(path(), {noon, noon + 30.0}, 1000)), ElementsAre(3, 2, 1));
    EXPECT_THAT(ids_of(console::read_stays(path(), {noon, noon + 30.0}, 2)), ElementsAre(3, 2));
    EXPECT_THAT(console::read_stays(state + "/none.sqlite", {0.0, 1e12}, 1000), IsEmpty());
}

TEST_F(StayStoreTest, AnIdIsNeverUsedTwice) {
    {
        StayStore store(path());
        EXPECT_EQ(store.new_id(), 1);
        store.write({record(7, 0.0, 1, 0)});
        store.remove({7});
    }
    EXPECT_EQ(StayStore(path()).new_id(), 8);
}

TEST_F(StayStoreTest, AKilledProcessLosesNothingThatWasWritten) {
    const pid_t child = fork();
    if (child == 0) {
        StayStore store(path());
        StayRecord there = record(1, 0.0, 12, 2);
        there.is_there = true;
        store.write({there, record(2, 1.0, 3, 0)});
        kill(getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    StayStore store(path());
    const auto closed = store.close_left_open();
    ASSERT_THAT(ids_of(closed), ElementsAre(1));
    EXPECT_EQ(closed[0].stay.left, noon + 12.0);
    EXPECT_FALSE(all()[0].is_there);
    EXPECT_THAT(ids_of(all()), ElementsAre(1, 2));
    EXPECT_THAT(store.close_left_open(), IsEmpty());
}

TEST_F(StayStoreTest, ADamagedFileIsPutAsideAndANewOneBegun) {
    std::ofstream(path()) << std::string(5000, 'x');
    testing::internal::CaptureStderr();
    StayStore store(path());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "stays: the kept stays were damaged; their file is " + path() + ".damaged now, and a new one is begun\n");
    store.write({record(store.new_id(), 0.0, 1, 0)});
    EXPECT_THAT(ids_of(all()), ElementsAre(1));
    EXPECT_TRUE(std::filesystem::exists(path() + ".damaged"));
}

TEST_F(StayStoreTest, APageThatHasRottenIsDamageToo) {
    {
        StayStore store(path());
        for (int id = 1; id < 500; ++id)
            store.write({record(id, id, 1, 0)});
    }
    std::fstream file(path(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(5 * 4096);
    file << std::string(4096, 'x');
    file.close();
    testing::internal::CaptureStderr();
    StayStore store(path());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("the kept stays were damaged"));
    EXPECT_THAT(all(), IsEmpty());
}

TEST_F(StayStoreTest, AReaderOfADamagedFileSaysSo) {
    std::ofstream(path()) << std::string(5000, 'x');
    EXPECT_THROW(all(), std::runtime_error);
}

/** No file of this process grows beyond so many bytes while it lives. */
class FileLimit {
  public:
    explicit FileLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FileLimit() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

  private:
    rlimit m_before{};
    void (*m_handler)(int) = nullptr;
};

TEST_F(StayStoreTest, AFullDiskIsSaidOnceAndWhatWaitedIsWrittenLater) {
    StayStore store(path());
    store.write({record(1, 0.0, 1, 0)});
    testing::internal::CaptureStderr();
    {
        const FileLimit full(std::filesystem::file_size(path() + "-wal"));
        store.write({record(2, 1.0, 1, 0)});
        store.write({record(3, 2.0, 1, 0)});
    }
    EXPECT_THAT(ids_of(all()), ElementsAre(1));
    store.write({});
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, testing::MatchesRegex("stays: stays cannot be kept in [^\n]+; they wait in memory until they "
                                            "can\nstays: stays are kept again\n"));
    EXPECT_THAT(ids_of(all()), ElementsAre(1, 2, 3));
}

TEST_F(StayStoreTest, AFolderThatIsNotThereIsSaidAndKeepsNobody) {
    const std::string nowhere = state + "/none/stays.sqlite";
    testing::internal::CaptureStderr();
    StayStore store(nowhere);
    store.write({record(store.new_id(), 0.0, 1, 0)});
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::StartsWith("stays: stays cannot be kept in " + nowhere + ": unable to open"));
    std::filesystem::create_directory(state + "/none");
    testing::internal::CaptureStderr();
    store.write({record(store.new_id(), 1.0, 1, 0)});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "stays: stays are kept again\n");
    EXPECT_THAT(ids_of(console::read_stays(nowhere, {0.0, 1e12}, 10)), ElementsAre(1, 2));
}

TEST_F(StayStoreTest, TheLogDoesNotGrowForEver) {
    StayStore store(path());
    for (int id = 1; id < 600; ++id)
        store.write({record(id, id, 1, 0)});
    const auto before = std::filesystem::file_size(path() + "-wal");
    ASSERT_GT(before, 1U << 20);
    console::settle_stays(path());
    store.write({record(600, 0.0, 1, 0)});
    for (int id = 601; id < 700; ++id)
        store.write({record(id, id, 1, 0)});
    EXPECT_EQ(std::filesystem::file_size(path() + "-wal"), before);
    EXPECT_EQ(all().size(), 699U);
}

} // namespace
