#include "platform/axparameter/store.h"
#include "platform/common/failure.h"
#include "tests/platform/axparameter/store_fixture.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <map>
#include <random>
#include <sstream>
#include <thread>

namespace {

/** A `parameter_writer` and the pipe it prints to. Killed, not asked, when it goes. */
class Writer {
  public:
    explicit Writer(std::vector<std::string> names) {
        int ends[2];
        if (pipe(ends) != 0)
            std::abort();
        names.insert(names.begin(), KORVEX_PARAMETER_WRITER);
        std::vector<char*> arguments;
        for (std::string& name : names)
            arguments.push_back(name.data());
        arguments.push_back(nullptr);
        m_process = fork();
        if (m_process == 0) {
            dup2(ends[1], STDOUT_FILENO);
            close(ends[0]);
            close(ends[1]);
            execv(arguments[0], arguments.data());
            _exit(127);
        }
        close(ends[1]);
        m_output = fdopen(ends[0], "r");
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() {
        kill();
        std::fclose(m_output);
    }

    /** Reads one completed set; false when the writer has ended. */
    bool read(std::map<std::string, unsigned>& completed) {
        char name[64];
        unsigned value = 0;
        if (std::fscanf(m_output, "%63s %u", name, &value) != 2)
            return false;
        completed[name] = value;
        return true;
    }

    void kill() {
        if (m_process > 0) {
            ::kill(m_process, SIGKILL);
            waitpid(m_process, nullptr, 0);
            m_process = 0;
        }
    }

  private:
    pid_t m_process = 0;
    FILE* m_output = nullptr;
};

class ParameterStore : public StoreFixture {
  protected:
    static std::string reason_of_failure() {
        g_autoptr(GError) error = nullptr;
        const ParameterHandle handle(ax_parameter_new("korvex_orvel", &error));
        EXPECT_FALSE(handle);
        return error != nullptr ? error->message : "no error";
    }

    /** Runs `body` in a process of its own and gives its exit status; there limits and rights can be given up. */
    static int in_child(const std::function<int()>& body) {
        const pid_t child = fork();
        if (child == 0)
            _exit(body());
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST_F(ParameterStore, KilledInTheMiddleOfTwoHundredSavesItLosesNoValueThatASetReturnedFrom) {
    const std::vector<std::string> names = {"HStream", "WStream", "Sensitivity", "DetectCars", "Exclusion33y"};
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 8; ++round) {
        std::map<std::string, unsigned> completed;
        Writer writer(names);
        const size_t sets = std::uniform_int_distribution<size_t>(1, 200 * names.size())(random);
        for (size_t i = 0; i < sets; ++i)
            ASSERT_TRUE(writer.read(completed));
        std::this_thread::sleep_for(std::chrono::microseconds(std::uniform_int_distribution<int>(0, 3000)(random)));
        writer.kill();
        while (writer.read(completed)) {
        }
        const auto handle = open();
        for (const auto& [name, value] : completed) {
            const std::string stored = value_of(handle, name.c_str());
            // The one set that the signal interrupted may have reached the disk without being printed.
            EXPECT_TRUE(stored == std::to_string(value) || stored == std::to_string(value + 1))
                << name << ": printed " << value << ", stored " << stored;
        }
        EXPECT_TRUE(files_with("damaged").empty());
    }
}

TEST_F(ParameterStore, TwoProcessesSaveAtOnceAndNeitherLosesAValue) {
    Writer one({"HStream"});
    Writer other({"WStream"});
    std::map<std::string, unsigned> completed;
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(one.read(completed));
        ASSERT_TRUE(other.read(completed));
    }
    const auto handle = open();
    ASSERT_TRUE(set(handle, "MaxDisappeared", "8"));
    one.kill();
    other.kill();
    while (one.read(completed) || other.read(completed)) {
    }
    EXPECT_GE(std::stoul(value_of(handle, "HStream")), completed["HStream"]);
    EXPECT_GE(std::stoul(value_of(handle, "WStream")), completed["WStream"]);
    EXPECT_EQ(value_of(handle, "MaxDisappeared"), "8");
}

TEST_F(ParameterStore, ManyProcessesMayMakeTheStoreAtOnce) {
    std::vector<std::unique_ptr<Writer>> writers;
    for (int i = 0; i < 6; ++i)
        writers.push_back(std::make_unique<Writer>(std::vector<std::string>{"Detection1" + std::to_string(i) + "x"}));
    std::map<std::string, unsigned> completed;
    for (const auto& writer : writers)
        EXPECT_TRUE(writer->read(completed));
    EXPECT_EQ(completed.size(), writers.size());
}

TEST_F(ParameterStore, AChangeOfOneHandleIsSeenByAnother) {
    const auto one = open();
    const auto other = open();
    ASSERT_TRUE(set(one, "MainLoopTime", "150"));
    EXPECT_EQ(value_of(other, "MainLoopTime"), "150");
}

TEST_F(ParameterStore, FoldersOnTheWayAreMade) {
    const auto deep = m_folder / "a" / "b" / "store.sqlite";
    setenv("KORVEX_AXPARAMETER_STORE", deep.c_str(), 1);
    EXPECT_EQ(value_of(open(), "MainLoopTime"), "200");
    EXPECT_TRUE(std::filesystem::exists(deep));
}

TEST_F(ParameterStore, WithoutTheVariableItLiesInTheUsersStateFolder) {
    unsetenv("KORVEX_AXPARAMETER_STORE");
    EXPECT_EQ(host_parameters::store_path(), std::string(g_get_user_state_dir()) + "/korvex_orvel/parameters.sqlite");
    setenv("KORVEX_AXPARAMETER_STORE", "", 1);
    EXPECT_EQ(host_parameters::store_path(), std::string(g_get_user_state_dir()) + "/korvex_orvel/parameters.sqlite");
}

TEST_F(ParameterStore, AFileInTheWayOfItsFolderIsAnError) {
    setenv("KORVEX_AXPARAMETER_STORE", (write_file("plain", "x") / "store.sqlite").c_str(), 1);
    EXPECT_EQ(reason_of_failure(), "The parameter store cannot be opened: " + (m_folder / "plain").string() +
                                       "/store.sqlite.lock: Not a directory");
}

TEST_F(ParameterStore, AFolderInItsPlaceIsAnError) {
    std::filesystem::create_directory(m_store);
    EXPECT_EQ(reason_of_failure(),
              "The parameter store " + m_store.string() +
                  " cannot be used: unable to open database file; see to it that this user can read and write it");
}

TEST_F(ParameterStore, AStoreThatMayNotBeWrittenIsAnError) {
    open();
    EXPECT_EQ(0, in_child([this] {
                  // Root is above permissions; another user is not.
                  chmod(m_folder.c_str(), 0555);
                  if (geteuid() == 0 && (setegid(65534) != 0 || seteuid(65534) != 0))
                      return 2;
                  const std::string reason = reason_of_failure();
                  return reason.find("The parameter store") == 0 &&
                                 reason.find("Permission denied") != std::string::npos
                             ? 0
                             : 1;
              }));
    chmod(m_folder.c_str(), 0700);
    EXPECT_EQ(value_of(open(), "HStream"), "720");
}

/** No file of this process gets longer than a few pages from here on; 0 lifts that again. */
void limit_files(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes == 0 ? limit.rlim_max : bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
}

bool save_large(const ParameterHandle& handle, std::string* reason = nullptr) {
    g_autoptr(GError) error = nullptr;
    const std::string large(1 << 18, 'x');
    const bool saved = ax_parameter_set(handle.get(), "SelectedAnonOverlay", large.c_str(), TRUE, &error) == TRUE;
    if (reason != nullptr && error != nullptr)
        *reason = error->message;
    return saved;
}

TEST_F(ParameterStore, ADiskWithoutRoomIsAnErrorAndTheOldValueStays) {
    ASSERT_TRUE(set(open(), "SelectedAnonOverlay", "before"));
    EXPECT_EQ(0, in_child([] {
                  const auto handle = open();
                  limit_files(1 << 16);
                  std::string reason;
                  if (save_large(handle, &reason))
                      return 1;
                  if (reason.find("cannot be used: ") == std::string::npos)
                      return 2;
                  return value_of(handle, "SelectedAnonOverlay") == "before" ? 0 : 3;
              }));
    EXPECT_EQ(value_of(open(), "SelectedAnonOverlay"), "before");
    EXPECT_TRUE(files_with("damaged").empty());
}

TEST_F(ParameterStore, AHandleThatIsKeptSavesAgainOnceThereIsRoom) {
    EXPECT_EQ(0, in_child([] {
                  const auto handle = open();
                  limit_files(1 << 16);
                  if (save_large(handle))
                      return 1;
                  limit_files(0);
                  return save_large(handle) && value_of(handle, "SelectedAnonOverlay").size() == 1 << 18 ? 0 : 2;
              }));
}

TEST_F(ParameterStore, WhatCannotBeStoredIsSaidOnceAnOutageAndWhatThatMeansWhenTheHandleIsGivenUp) {
    open();
    EXPECT_EQ(0, in_child([this] {
                  testing::internal::CaptureStderr();
                  auto handle = open();
                  const bool good = set(handle, "MainLoopTime", "150");
                  limit_files(1 << 16);
                  bool saved = save_large(handle) || save_large(handle);
                  saved = value_of(handle, "MainLoopTime") != "150" || save_large(handle) || saved;
                  limit_files(0);
                  const bool good_again = set(handle, "MainLoopTime", "160");
                  limit_files(1 << 16);
                  saved = save_large(handle) || save_large(handle) || saved;
                  handle.reset();
                  const std::string sentence = "korvex axparameter: The parameter store " + m_store.string() +
                                               " cannot be used: disk I/O error; see to it that this user can read and "
                                               "write it.\n";
                  const std::string said = testing::internal::GetCapturedStderr();
                  EXPECT_EQ(said, sentence + sentence +
                                      "korvex axparameter: the camera works with these settings but could not store "
                                      "them, and has to be started again once they can be stored.\n");
                  return good && good_again && !saved && !HasFailure() ? 0 : 1;
              }));
}

TEST_F(ParameterStore, AStoreThatDoesNotOpenIsSaid) {
    std::filesystem::create_directory(m_store);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ax_parameter_new("korvex_orvel", nullptr), nullptr);
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "korvex axparameter: The parameter store " + m_store.string() +
            " cannot be used: unable to open database file; see to it that this user can read and write it; every "
            "setting reads 0 until the camera is started again.\n");
}

/** What a process would find that was started after this one was killed now. */
class AfterAKill {
  public:
    explicit AfterAKill(const std::filesystem::path& store, bool with_log = true) : m_folder(store.string() + ".copy") {
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directory(m_folder);
        std::filesystem::copy_file(store, m_folder / "parameters.sqlite");
        const std::filesystem::path log = store.string() + "-wal";
        if (with_log && std::filesystem::exists(log))
            std::filesystem::copy_file(log, m_folder / "parameters.sqlite-wal");
    }

    std::string value(const std::string& name) const {
        host_parameters::Store store(m_folder / "parameters.sqlite", {"korvex_orvel", {}});
        try {
            store.open();
            return store.get("korvex_orvel", name);
        } catch (const platform::Failure& failure) {
            return failure.sentence;
        }
    }

  private:
    std::filesystem::path m_folder;
};

TEST_F(ParameterStore, ALogThatIsRemovedWhileItIsInUseTakesNoValueAlong) {
    const auto handle = open();
    ASSERT_TRUE(set(handle, "HStream", "100"));
    testing::internal::CaptureStderr();
    std::filesystem::remove(m_store.string() + "-wal");
    EXPECT_EQ(value_of(handle, "HStream"), "100");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "korvex axparameter: the log of the parameter store " + m_store.string() +
                  " was removed while it was in use; its values are in the store all the same.\n");
    EXPECT_EQ(AfterAKill(m_store).value("HStream"), "100");
    ASSERT_TRUE(set(handle, "WStream", "200"));
    testing::internal::CaptureStderr();
    std::filesystem::remove(m_store.string() + "-wal");
    ASSERT_TRUE(set(handle, "MaxDisappeared", "300"));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    const AfterAKill later(m_store);
    EXPECT_EQ(later.value("HStream"), "100");
    EXPECT_EQ(later.value("WStream"), "200");
    EXPECT_EQ(later.value("MaxDisappeared"), "300");
    EXPECT_TRUE(files_with("damaged").empty());
}

TEST_F(ParameterStore, AMomentAfterASaveItsValuesDoNotDependOnTheLog) {
    const auto handle = open();
    ASSERT_TRUE(set(handle, "HStream", "100"));
    ASSERT_TRUE(set(handle, "WStream", "200"));
    while (AfterAKill(m_store, false).value("WStream") != "200")
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(AfterAKill(m_store, false).value("HStream"), "100");
    // Then another process may come between the removal and the next operation.
    std::filesystem::remove(m_store.string() + "-wal");
    ASSERT_TRUE(set(open(), "MaxDisappeared", "300"));
    ASSERT_TRUE(set(handle, "WStream", "201"));
    EXPECT_EQ(value_of(handle, "MaxDisappeared"), "300");
    const AfterAKill later(m_store);
    EXPECT_EQ(later.value("HStream"), "100");
    EXPECT_EQ(later.value("WStream"), "201");
    EXPECT_EQ(later.value("MaxDisappeared"), "300");
    EXPECT_TRUE(files_with("damaged").empty());
}

} // namespace
