#include "platform/common/descriptor.h"
#include "platform/common/handle.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

int released = 0;

void release(const int* object) {
    released += *object;
}

void release_by_address(int** object) {
    released += 100 * **object;
    *object = nullptr;
}

TEST(Handle, ReleasesWithAFunctionOfTheObjectOrOfItsAddress) {
    released = 0;
    int one = 1;
    int two = 2;
    {
        const platform::Handle<int, release> plain(&one);
        const platform::Handle<int, release_by_address> by_address(&two);
        const platform::Handle<int, release> none;
    }
    EXPECT_EQ(released, 201);
}

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

TEST(Descriptor, IsClosedByItsLastOwner) {
    const int fd = dup(STDERR_FILENO);
    {
        platform::Descriptor first(fd);
        platform::Descriptor second(std::move(first));
        platform::Descriptor third;
        third = std::move(second);
        EXPECT_EQ(third.get(), fd);
        EXPECT_TRUE(is_open(fd));
    }
    EXPECT_FALSE(is_open(fd));
}

TEST(Descriptor, LeavesWhatWasReleased) {
    const int fd = dup(STDERR_FILENO);
    {
        platform::Descriptor owner(fd);
        EXPECT_EQ(owner.release(), fd);
        EXPECT_FALSE(owner);
    }
    EXPECT_TRUE(is_open(fd));
    close(fd);
}

} // namespace
