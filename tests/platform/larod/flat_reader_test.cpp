#include "platform/larod/flat_reader.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

namespace korvex::larod {

namespace {

/**
 * A root table at 16 with field 0 = the number 7 (at 20) and field 2 = a list of three bytes (offset at 24, list at
 * 28); its directory is at 4.
 */
std::vector<std::byte> example() {
    std::vector<std::byte> bytes(36);
    const auto put = [&bytes](std::size_t at, auto value) { std::memcpy(bytes.data() + at, &value, sizeof(value)); };
    put(0, std::uint32_t{16});
    put(4, std::uint16_t{10}); // size of the directory
    put(6, std::uint16_t{12}); // size of the table
    put(8, std::uint16_t{4});  // field 0
    put(10, std::uint16_t{0}); // field 1 is not stored
    put(12, std::uint16_t{8}); // field 2
    put(16, std::int32_t{12}); // the directory is 12 before the table
    put(20, std::int32_t{7});
    put(24, std::uint32_t{4});
    put(28, std::uint32_t{3});
    put(32, std::uint32_t{0x030201});
    return bytes;
}

TEST(FlatReader, reads_stored_fields_and_gives_defaults_for_the_others) {
    const auto bytes = example();
    FlatReader reader(bytes);
    const FlatTable root = reader.root();
    EXPECT_EQ(root.i32(0, -1), 7);
    EXPECT_EQ(root.i32(1, -1), -1);
    EXPECT_EQ(root.i32(99, -1), -1);
    EXPECT_EQ(root.vector(2, 1).length, 3U);
    EXPECT_EQ(root.vector(1, 1).length, 0U);
    EXPECT_FALSE(reader.failed()) << reader.problem();
}

TEST(FlatReader, finds_every_offset_that_leaves_the_file) {
    struct Case {
        const char* what;
        std::size_t at;
        std::uint32_t value;
        std::size_t size;
    };
    const std::array<Case, 8> cases{{
        {"the root", 0, 0xfffffff0U, 4},
        {"the directory before the file", 16, 17, 4},
        {"the directory behind the file", 16, 0xffffff00U, 4},
        {"the directory's size", 4, 0xfffe, 2},
        {"the table's size", 6, 0x7fff, 2},
        {"a field outside its table", 8, 40, 2},
        {"a list's offset", 24, 0x7fffffffU, 4},
        {"a list's length", 28, 5, 4},
    }};
    for (const Case& c : cases) {
        auto bytes = example();
        std::memcpy(bytes.data() + c.at, &c.value, c.size);
        FlatReader reader(bytes);
        const FlatTable root = reader.root();
        root.i32(0, 0);
        root.vector(2, 1);
        EXPECT_TRUE(reader.failed()) << c.what;
    }
}

TEST(FlatReader, finds_every_truncation) {
    const auto whole = example();
    for (std::size_t size = 0; size + 1 < whole.size(); ++size) {
        const std::vector<std::byte> bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        FlatReader reader(bytes);
        const FlatTable root = reader.root();
        root.i32(0, 0);
        root.vector(2, 1);
        EXPECT_EQ(reader.failed(), size < 35) << size;
    }
}

} // namespace

} // namespace korvex::larod
