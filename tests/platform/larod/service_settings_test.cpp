#include "platform/larod/service_settings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

namespace korvex::larod::test {
namespace {

using namespace std::chrono_literals;

class Settings : public testing::Test {
  protected:
    Settings() { forget(); }
    ~Settings() override { forget(); }

  private:
    static void forget() {
        for (const char* variable : {"KORVEX_LAROD_WORKERS", "KORVEX_LAROD_THREADS", "KORVEX_LAROD_SECONDS"})
            unsetenv(variable);
    }
};

TEST_F(Settings, UseEveryProcessorWithOneThreadEach) {
    const ServiceOptions options = service_options();
    EXPECT_EQ(options.workers, std::max(std::thread::hardware_concurrency(), 1U));
    EXPECT_EQ(options.threads, 1);
    EXPECT_EQ(options.limit, 2s);
    EXPECT_EQ(longest_answer(), 5s);
}

TEST_F(Settings, StartFewerWorkersWhenEachHasMoreThreads) {
    setenv("KORVEX_LAROD_THREADS", "64", 1);
    EXPECT_EQ(service_options().threads, 64);
    EXPECT_EQ(service_options().workers, std::max(std::thread::hardware_concurrency() / 64, 1U));
}

TEST_F(Settings, AreTakenAsTheyAreToldAndPassedOverWhenTheyAreNone) {
    setenv("KORVEX_LAROD_WORKERS", "3", 1);
    setenv("KORVEX_LAROD_SECONDS", "60", 1);
    EXPECT_EQ(service_options().workers, 3U);
    EXPECT_EQ(longest_answer(), 121s);
    for (const char* none : {"", "0", "-1", "65", "1x", "99999999999999999999"}) {
        setenv("KORVEX_LAROD_THREADS", none, 1);
        EXPECT_EQ(service_options().threads, 1) << none;
    }
}

} // namespace

} // namespace korvex::larod::test
