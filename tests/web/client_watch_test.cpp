#include "web/client_watch.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace {

using namespace std::chrono_literals;

/** A connection whose far end is here. */
class ClientWatchTest : public testing::Test {
  protected:
    ClientWatchTest() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0); }
    ~ClientWatchTest() override {
        close(ends[0]);
        close(ends[1]);
    }

    /** Waits until the connection is ended. */
    bool is_ended() {
        const timeval patience = {20, 0};
        setsockopt(ends[1], SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        char byte = 0;
        return recv(ends[1], &byte, 1, 0) == 0;
    }
    bool is_open() {
        char byte = 0;
        return recv(ends[1], &byte, 1, MSG_DONTWAIT) == -1 && errno == EAGAIN;
    }

    std::array<int, 2> ends{};
    int connection = -1;
};

TEST_F(ClientWatchTest, EndsAConnectionWhoseTimeIsUp) {
    connection = ends[0];
    const client_watch watch(connection, 100ms);
    EXPECT_TRUE(is_ended());
}

TEST_F(ClientWatchTest, AllowsMoreWhenItIsTold) {
    connection = ends[0];
    client_watch watch(connection, 2000ms);
    watch.allow(10min);
    EXPECT_TRUE(is_open());
    watch.allow(100ms);
    EXPECT_TRUE(is_ended());
}

TEST_F(ClientWatchTest, CountsNothingWhileThereIsNoConnection) {
    const client_watch watch(connection, 50ms);
    usleep(200000); // four times what a client has
    __atomic_store_n(&connection, ends[0], __ATOMIC_RELAXED);
    EXPECT_TRUE(is_ended()) << "from then on it does";
}

TEST(LimitWaiting, EndsAWaitInItsTime) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    limit_waiting(ends[0], SO_RCVTIMEO, 50ms);
    char byte = 0;
    EXPECT_EQ(recv(ends[0], &byte, 1, 0), -1);
    EXPECT_EQ(errno, EAGAIN);
    timeval set{};
    socklen_t size = sizeof set;
    limit_waiting(ends[0], SO_SNDTIMEO, 5300ms);
    ASSERT_EQ(getsockopt(ends[0], SOL_SOCKET, SO_SNDTIMEO, &set, &size), 0);
    EXPECT_EQ(set.tv_sec, 5);
    EXPECT_GE(set.tv_usec, 300000);
    close(ends[0]);
    close(ends[1]);
}

} // namespace
