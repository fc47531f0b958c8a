#include "platform/larod/stored_model.h"
#include "tests/platform/larod/test_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace korvex::larod::test {
namespace {

using testing::HasSubstr;

const std::vector<std::byte> content{std::byte{1}, std::byte{2}, std::byte{3}};

TEST(StoredModel, KeepsAFilesBytesHoweverTheFileChanges) {
    const Descriptor file(memory_file(content));
    const auto model = StoredModel::copy(file.get());
    ASSERT_EQ(ftruncate(file.get(), 0), 0);
    EXPECT_TRUE(std::equal(content.begin(), content.end(), model.bytes().begin(), model.bytes().end()));
    EXPECT_LT(pwrite(model.file(), content.data(), 1, 0), 0) << "whoever is given the file could change it";
    EXPECT_NE(ftruncate(model.file(), 0), 0);
}

TEST(StoredModel, IsAdoptedByAnotherHolderOfItsFile) {
    const Descriptor file(memory_file(content));
    const auto model = StoredModel::copy(file.get());
    const auto adopted = StoredModel::adopt(Descriptor(dup(model.file())));
    EXPECT_TRUE(adopted.holds_same_as(model));
    const Descriptor longer(memory_file({4, std::byte{1}}));
    EXPECT_FALSE(StoredModel::copy(longer.get()).holds_same_as(model));
}

TEST(StoredModel, IsNotAdoptedFromAFileThatCouldStillBeChanged) {
    const auto expect_refused = [](Descriptor file) {
        EXPECT_THAT([&] { StoredModel::adopt(std::move(file)); },
                    fails_with("The model's file could still be changed."));
    };
    expect_refused(Descriptor(memory_file(content)));
    Descriptor growing(memory_file(content));
    ASSERT_EQ(fcntl(growing.get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SHRINK), 0);
    expect_refused(std::move(growing));
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor writing(ends[1]);
    expect_refused(Descriptor(ends[0]));
    expect_refused(Descriptor());
}

TEST(StoredModel, IsNotMadeOfNothing) {
    const Descriptor empty(memory_file({}));
    EXPECT_THAT([&] { StoredModel::copy(empty.get()); }, fails_with("The model's file is empty."));
    EXPECT_THAT([] { StoredModel::copy(-1); }, fails_with(HasSubstr("Bad file descriptor")));
}

} // namespace

} // namespace korvex::larod::test
