#include "platform/axevent/journal.h"
#include "tests/platform/axevent/scratch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using host_events::Journal;
using host_events::Occurrence;
using testing::ElementsAre;

namespace {

TEST(JournalLine, IsOneJsonObject) {
    Occurrence occurrence = {Occurrence::What::event,
                             "2025-03-30T14:05:09.042+02:00",
                             "tnsaxis:CameraApplicationPlatform/KorvexOrvelApplication/KorvexOrvelFirstAlert",
                             "KorvexOrvelFirstAlert",
                             "Korvex Orvel First Alert",
                             true,
                             true};
    EXPECT_EQ(host_events::journal_line(occurrence),
              R"({"time":"2025-03-30T14:05:09.042+02:00","what":"event",)"
              R"("topic":"tnsaxis:CameraApplicationPlatform/KorvexOrvelApplication/KorvexOrvelFirstAlert",)"
              R"("nice_name":"Korvex Orvel First Alert","active":true})");
    occurrence = {Occurrence::What::declared, "T", "a/b", "b", "A \"quoted\"\nname \u00e9", std::nullopt, true};
    EXPECT_EQ(host_events::journal_line(occurrence),
              R"({"time":"T","what":"declared","topic":"a/b","nice_name":"A \"quoted\"\nname )"
              "\u00e9"
              R"(","active":null})");
    occurrence = {Occurrence::What::undeclared, "T", "a/b", "b", "B", false, true};
    EXPECT_EQ(host_events::journal_line(occurrence),
              R"({"time":"T","what":"undeclared","topic":"a/b","nice_name":"B","active":false})");
}

TEST(JournalLine, HasAStayAsItIs) {
    EXPECT_EQ(host_events::stay_line("12:00", R"({"id": 1})"), R"({"time":"12:00","what":"stay","stay":{"id": 1}})");
}

TEST(Journal, GoesOnWhereAFormerProcessEnded) {
    const TemporaryFolder scratch;
    Journal(scratch / "journal", 1000, 3).write("one");
    Journal(scratch / "journal", 1000, 3).write("two");
    EXPECT_EQ(content(scratch / "journal"), "one\ntwo\n");
}

TEST(Journal, RotatesBeforeALineThatWouldMakeItTooLarge) {
    const TemporaryFolder scratch;
    Journal journal(scratch / "journal", 10, 2);
    for (const char* line : {"aaaa", "bbbb", "cccc", "dddd", "eeee", "ffff", "gggg", "hhhh"}) {
        journal.write(line); // two of them are ten bytes exactly
    }
    EXPECT_THAT(lines(scratch / "journal"), ElementsAre("gggg", "hhhh"));
    EXPECT_THAT(lines(scratch / "journal.1"), ElementsAre("eeee", "ffff"));
    EXPECT_THAT(lines(scratch / "journal.2"), ElementsAre("cccc", "dddd"));
    EXPECT_FALSE(std::filesystem::exists(scratch / "journal.3"));
}

TEST(Journal, WritesALineLongerThanTheLimitAlone) {
    const TemporaryFolder scratch;
    Journal journal(scratch / "journal", 4, 1);
    journal.write("longer than that");
    journal.write("b");
    EXPECT_EQ(content(scratch / "journal.1"), "longer than that\n");
    EXPECT_EQ(content(scratch / "journal"), "b\n");
}

TEST(Journal, StartsAnewWhenItKeepsNoOldFiles) {
    const TemporaryFolder scratch;
    Journal journal(scratch / "journal", 6, 0);
    journal.write("aaaa");
    journal.write("bbbb");
    EXPECT_EQ(content(scratch / "journal"), "bbbb\n");
    EXPECT_FALSE(std::filesystem::exists(scratch / "journal.1"));
}

TEST(Journal, SaysOnceForEachOutageThatItCannotWriteAndGoesOnAfterIt) {
    const TemporaryFolder scratch;
    Journal journal(scratch / "folder/journal", 1000, 1);
    testing::internal::CaptureStderr();
    journal.write("lost");
    journal.write("lost too");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "axevent: cannot write the journal " + (scratch / "folder/journal") +
                  ": No such file or directory; events go on, without it until it can be written again\n");
    std::filesystem::create_directory(scratch / "folder");
    testing::internal::CaptureStderr();
    journal.write("kept");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(content(scratch / "folder/journal"), "kept\n");
    std::filesystem::remove_all(scratch / "folder");
    testing::internal::CaptureStderr();
    journal.write("lost again");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("cannot write the journal"));
}

TEST(Journal, DoesNotWaitForAReaderOfAPipe) {
    const TemporaryFolder scratch;
    ASSERT_EQ(mkfifo((scratch / "journal").c_str(), 0600), 0);
    Journal journal(scratch / "journal", 1000, 1);
    testing::internal::CaptureStderr();
    journal.write("lost");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("cannot write the journal"));
}

TEST(Journal, SaysThatTheDiskIsFull) {
    Journal journal("/dev/full", 1000, 0);
    testing::internal::CaptureStderr();
    journal.write("lost");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("/dev/full: No space left on device;"));
}

} // namespace
