#include "platform/axparameter/store.h"
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
        if (pipe(ends) != 0) {
            std::abort();
        }
        names.insert(names.begin(), KORVEX_PARAMETER_WRITER);
        std::vector<char*> arguments;
        for (std::string& name : names) {
            arguments.push_back(name.data());
        }
        arguments.push_back(nullptr);
        process_ = fork();
        if (process_ == 0) {
            dup2(ends[1], STDOUT_FILENO);
            close(ends[0]);
            close(ends[1]);
            execv(arguments[0], arguments.data());
            _exit(127);
        }
        close(ends[1]);
        output_ = fdopen(ends[0], "r");
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() {
        kill();
        std::fclose(output_);
    }

    /** Reads one completed set; false when the writer has ended. */
    bool read(std::map<std::string, unsigned>& completed) {
        char name[64];
        unsigned value = 0;
        if (std::fscanf(output_, "%63s %u", name, &value) != 2) {
            return false;
        }
        completed[name] = value;
        return true;
    }

    void kill() {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            waitpid(process_, nullptr, 0);
            process_ = 0;
        }
    }

  private:
    pid_t process_ = 0;
    FILE* output_ = nullptr;
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
        if (child == 0) {
            _exit(body());
        }
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
        for (size_t i = 0; i < sets; ++i) {
            ASSERT_TRUE(writer.read(completed));
        }
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
    for (int i = 0; i < 6; ++i) {
        writers.push_back(std::make_unique<Writer>(std::vector<std::string>{"Detection1" + std::to_string(i) + "x"}));
    }
    std::map<std::string, unsigned> completed;
    for (const auto& writer : writers) {
        EXPECT_TRUE(writer->read(completed));
    }
    EXPECT_EQ(completed.size(), writers.size());
}

TEST_F(ParameterStore, AChangeOfOneHandleIsSeenByAnother) {
    const auto one = open();
    const auto other = open();
    ASSERT_TRUE(set(one, "MainLoopTime", "150"));
    EXPECT_EQ(value_of(other, "MainLoopTime"), "150");
}

TEST_F(ParameterStore, FoldersOnTheWayAreMade) {
    const auto deep = folder_ / "a" / "b" / "store.sqlite";
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
    EXPECT_EQ(reason_of_failure(), "The parameter store cannot be opened: " + (folder_ / "plain").string() +
                                       "/store.sqlite.lock: Not a directory");
}

TEST_F(ParameterStore, AFolderInItsPlaceIsAnError) {
    std::filesystem::create_directory(store_);
    EXPECT_EQ(reason_of_failure(),
              "The parameter store " + store_.string() + " cannot be used: unable to open database file");
}

TEST_F(ParameterStore, AStoreThatMayNotBeWrittenIsAnError) {
    open();
    EXPECT_EQ(0, in_child([this] {
                  // Root is above permissions; another user is not.
                  chmod(folder_.c_str(), 0555);
                  if (geteuid() == 0 && (setegid(65534) != 0 || seteuid(65534) != 0)) {
                      return 2;
                  }
                  const std::string reason = reason_of_failure();
                  return reason.find("The parameter store") == 0 &&
                                 reason.find("Permission denied") != std::string::npos
                             ? 0
                             : 1;
              }));
    chmod(folder_.c_str(), 0700);
    EXPECT_EQ(value_of(open(), "HStream"), "720");
}

TEST_F(ParameterStore, ADiskWithoutRoomIsAnErrorAndTheOldValueStays) {
    ASSERT_TRUE(set(open(), "SelectedAnonOverlay", "before"));
    EXPECT_EQ(0, in_child([] {
                  const auto handle = open();
                  const rlimit none{1 << 16, 1 << 16};
                  std::signal(SIGXFSZ, SIG_IGN);
                  setrlimit(RLIMIT_FSIZE, &none);
                  g_autoptr(GError) error = nullptr;
                  const std::string large(1 << 18, 'x');
                  if (ax_parameter_set(handle.get(), "SelectedAnonOverlay", large.c_str(), TRUE, &error) == TRUE) {
                      return 1;
                  }
                  if (std::string(error->message).find("cannot be used: ") == std::string::npos) {
                      return 2;
                  }
                  return value_of(handle, "SelectedAnonOverlay") == "before" ? 0 : 3;
              }));
    EXPECT_EQ(value_of(open(), "SelectedAnonOverlay"), "before");
    EXPECT_TRUE(files_with("damaged").empty());
}

} // namespace
