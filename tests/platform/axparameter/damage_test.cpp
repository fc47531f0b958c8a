#include "platform/axparameter/damage.h"
#include "tests/platform/axparameter/store_fixture.h"

#include <random>

namespace {

class DamagedStore : public StoreFixture {
  protected:
    /** Bytes at `offset` of the file, overwritten; its log has gone into it because the last user closed it. */
    void overwrite(std::streamoff offset, const std::string& bytes) const {
        std::fstream file(m_store, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(offset);
        file << bytes;
    }

    std::string content() const {
        std::ifstream file(m_store, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /** Opens and gives what was said on stderr. */
    std::string message_of_opening() {
        testing::internal::CaptureStderr();
        m_handle = open();
        return testing::internal::GetCapturedStderr();
    }

    ParameterHandle m_handle;
};

TEST_F(DamagedStore, AFileThatIsNoDatabaseIsKeptAsideAndTheDefaultsReturn) {
    write_file("parameters.sqlite", "this was never a parameter store, whatever it was before it came here");
    const std::string message = message_of_opening();
    const auto kept = files_with(".damaged-");
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(message, "korvex axparameter: the parameter store " + m_store.string() +
                           " is damaged (file is not a database). It was kept as " + kept[0].string() +
                           "; a new one was made with 0 values recovered from it.\n");
    EXPECT_EQ(std::filesystem::file_size(kept[0]), 69U);
    EXPECT_EQ(value_of(m_handle, "MainLoopTime"), "200");
}

TEST_F(DamagedStore, ASoundStoreIsLeftAlone) {
    ASSERT_TRUE(set(open(), "MainLoopTime", "123"));
    EXPECT_EQ(message_of_opening(), "");
    EXPECT_EQ(value_of(m_handle, "MainLoopTime"), "123");
}

TEST_F(DamagedStore, AnEmptyFileIsANewStore) {
    write_file("parameters.sqlite", "");
    EXPECT_EQ(message_of_opening(), "");
    EXPECT_EQ(value_of(m_handle, "MainLoopTime"), "200");
}

TEST_F(DamagedStore, ValuesOutsideABrokenPageAreRecovered) {
    {
        const auto handle = open();
        ASSERT_TRUE(set(handle, "EulaAccepted", "true"));
        // Large values spread the table over many pages.
        for (int i = 0; i < 40; ++i) {
            const std::string name = "Extra" + std::to_string(i);
            const std::string value(3000, static_cast<char>('A' + i % 26));
            ASSERT_TRUE(ax_parameter_add(handle.get(), name.c_str(), value.c_str(), nullptr, nullptr));
        }
    }
    const size_t at = content().find(std::string(2000, 'F'));
    ASSERT_NE(at, std::string::npos);
    overwrite(static_cast<std::streamoff>(at - at % 4096), std::string(4096, '\xA5'));
    EXPECT_NE(message_of_opening().find("is damaged"), std::string::npos);
    EXPECT_EQ(value_of(m_handle, "EulaAccepted"), "true");
    int recovered = 0;
    for (int i = 0; i < 40; ++i)
        recovered += value_of(m_handle, ("Extra" + std::to_string(i)).c_str()).size() == 3000 ? 1 : 0;
    EXPECT_GE(recovered, 38);
    EXPECT_FALSE(files_with(".damaged-").empty());
}

TEST_F(DamagedStore, WhateverBytesAreBrokenItOpensAgainAndTakesValues) {
    open();
    const std::string sound = content();
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(random); };
    for (int round = 0; round < 30; ++round) {
        SCOPED_TRACE(round);
        std::string broken = sound;
        if (round % 5 == 4)
            broken.resize(below(sound.size()));
        for (int i = 0; i < 12 && !broken.empty(); ++i)
            broken[below(broken.size())] = static_cast<char>(below(256));
        write_file("parameters.sqlite", broken);
        message_of_opening();
        ASSERT_TRUE(m_handle);
        EXPECT_TRUE(set(m_handle, "MainLoopTime", "321"));
        EXPECT_EQ(value_of(m_handle, "MainLoopTime"), "321");
        m_handle.reset();
        EXPECT_EQ(value_of(open(), "MainLoopTime"), "321");
    }
}

TEST_F(DamagedStore, DamageUnderAnOpenHandleIsRepairedByTheNextOperation) {
    const auto handle = open();
    ASSERT_TRUE(set(handle, "MainLoopTime", "222"));
    const auto second = open();
    for (const auto& file : files_with("-wal"))
        std::filesystem::remove(file);
    std::filesystem::remove(m_store);
    write_file("parameters.sqlite", "no database");
    testing::internal::CaptureStderr();
    EXPECT_TRUE(set(handle, "MainLoopTime", "333"));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(value_of(second, "MainLoopTime"), "333");
}

} // namespace
