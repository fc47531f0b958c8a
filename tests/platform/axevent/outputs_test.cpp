#include "platform/axevent/outputs.h"
#include "tests/platform/axevent/scratch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using host_events::Occurrence;
using host_events::Outputs;

namespace {

const Occurrence started = {Occurrence::What::event, "12:00", "a/b", "b", "Alert", true, true};

std::string stdout_of(Outputs& outputs) {
    testing::internal::CaptureStdout();
    outputs.publish(started);
    return testing::internal::GetCapturedStdout();
}

TEST(Outputs, SayNothingUnlessTheyAreAskedTo) {
    const TemporaryFolder scratch;
    Outputs outputs = Outputs::from_environment();
    EXPECT_EQ(stdout_of(outputs), "");
    EXPECT_TRUE(std::filesystem::is_empty(scratch / ""));
}

TEST(Outputs, PrintALineOnTheConsole) {
    const Variables console("KORVEX_AXEVENT_CONSOLE", "1");
    Outputs outputs = Outputs::from_environment();
    EXPECT_EQ(stdout_of(outputs), "12:00 Alert: started\n");
}

TEST(Outputs, TellTheListenerInPlaceOfTheConsole) {
    const Variables console("KORVEX_AXEVENT_CONSOLE", "1");
    Outputs outputs = Outputs::from_environment();
    std::string heard;
    host_events::set_listener([&](const Occurrence& occurrence) { heard = occurrence.nice_name; });
    EXPECT_EQ(stdout_of(outputs), "");
    EXPECT_EQ(heard, "Alert");
    host_events::set_listener(nullptr);
    EXPECT_EQ(stdout_of(outputs), "12:00 Alert: started\n");
}

TEST(Outputs, LetTheListenerGoBeforeTheJournal) {
    const TemporaryFolder scratch;
    const Variables journal("KORVEX_AXEVENT_JOURNAL", scratch / "journal");
    Outputs outputs = Outputs::from_environment();
    bool was_there = true;
    host_events::set_listener([&](const Occurrence&) { was_there = std::filesystem::exists(scratch / "journal"); });
    outputs.publish(started);
    host_events::set_listener(nullptr);
    EXPECT_FALSE(was_there);
    EXPECT_EQ(lines(scratch / "journal").size(), 1U);
}

TEST(Outputs, RotateTheJournalAsTheVariablesSay) {
    const TemporaryFolder scratch;
    const Variables journal("KORVEX_AXEVENT_JOURNAL", scratch / "journal");
    const Variables bytes("KORVEX_AXEVENT_JOURNAL_BYTES", "1");
    const Variables files("KORVEX_AXEVENT_JOURNAL_FILES", "2");
    Outputs outputs = Outputs::from_environment();
    for (int count = 0; count < 5; ++count)
        outputs.publish(started);
    EXPECT_EQ(lines(scratch / "journal").size(), 1U);
    EXPECT_TRUE(std::filesystem::exists(scratch / "journal.2"));
    EXPECT_FALSE(std::filesystem::exists(scratch / "journal.3"));
}

TEST(Outputs, SayWhichVariableIsWrongAndUseTheDefault) {
    const TemporaryFolder scratch;
    const Variables journal("KORVEX_AXEVENT_JOURNAL", scratch / "journal");
    for (const char* wrong : {"many", "0", "-1", "1e6", "99999999999999999999"}) {
        const Variables bytes("KORVEX_AXEVENT_JOURNAL_BYTES", wrong);
        testing::internal::CaptureStderr();
        Outputs outputs = Outputs::from_environment();
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "axevent: KORVEX_AXEVENT_JOURNAL_BYTES is '" + std::string(wrong) +
                      "', which is no number from 1 to 9223372036854775807; 1048576 is used\n");
        outputs.publish(started);
    }
    EXPECT_EQ(lines(scratch / "journal").size(), 5U);
}

TEST(Outputs, DoWithoutTheBrokerWhenItsVariablesAreWrong) {
    const Variables broker("KORVEX_MQTT", "nowhere");
    const Variables console("KORVEX_AXEVENT_CONSOLE", "1");
    testing::internal::CaptureStderr();
    Outputs outputs = Outputs::from_environment();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "axevent: KORVEX_MQTT is 'nowhere'; it must be HOST:PORT; events do not go to a broker\n");
    EXPECT_EQ(stdout_of(outputs), "12:00 Alert: started\n");
}

TEST(Outputs, WarnOfAPasswordThatEverybodyCanRead) {
    const TemporaryFolder scratch;
    std::ofstream(scratch / "password") << "secret\n";
    // No name service has such a name, so that nobody is asked for it.
    const Variables broker("KORVEX_MQTT", "no such host:1883");
    const Variables user("KORVEX_MQTT_USER", "me");
    const Variables password("KORVEX_MQTT_PASSWORD_FILE", scratch / "password");
    testing::internal::CaptureStderr();
    Outputs::from_environment();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.substr(0, said.find('\n')),
              "axevent: the password for the broker no such host goes through the network for everybody to read; "
              "KORVEX_MQTT_CA_FILE (--mqtt-ca) turns TLS on");
}

} // namespace
