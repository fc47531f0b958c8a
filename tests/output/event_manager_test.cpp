#include "output/event_manager.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/recording_axevent.h"

#include <glib.h>
#include <gmock/gmock.h>

#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kAlert = "Korvex Orvel First Alert";

class EventManagerTest : public core_fixture {
  protected:
    call_recorder& service = recording_axevent::recorder();
    std::unique_ptr<EventManager> manager = std::make_unique<EventManager>();
};

std::vector<std::string> keys_of(const std::vector<recording_axevent::key_value>& keys) {
    std::vector<std::string> texts;
    for (const auto& each : keys)
        texts.push_back(each.key + "|" + each.name_space + "|" + each.value + "|" +
                        std::to_string(static_cast<int>(each.type)) + "|" + (each.is_data ? "data" : "") + "|" +
                        each.key_nice_name + "|" + each.value_nice_name);
    return texts;
}

} // namespace

TEST_F(EventManagerTest, KeepsLettersAndDigitsOfANameAsItsKey) {
    const std::vector<std::pair<std::string, std::string>> table = {
        {"Korvex Orvel First Alert", "KorvexOrvelFirstAlert"},
        {"Korvex Orvel Second Alert", "KorvexOrvelSecondAlert"},
        {"Korvex Orvel Third Alert", "KorvexOrvelThirdAlert"},
        {"a-b_c.d/e:f9 0\t\n", "abcdef90"},
        {"\xc3\x84rger \xff", "rger"},
        {std::string("a\0b", 3), "ab"},
        {" -_", ""},
        {"", ""},
    };
    for (const auto& [name, key] : table)
        EXPECT_EQ(EventManager::friendlyToKey(name), key) << name;
}

TEST_F(EventManagerTest, MakesAHandlerAndSaysSo) {
    manager.reset();
    service.reset();
    EXPECT_THAT(log_of([&] { manager = std::make_unique<EventManager>(); }),
                ElementsAre("info|EventManager: EventManager constructor called"));
    EXPECT_NE(manager->m_pHandler, nullptr);
    EXPECT_THAT(manager->m_eventDeclarationIDs, IsEmpty());
    EXPECT_THAT(manager->m_eventStarted, IsEmpty());
    EXPECT_THAT(service.journal(), ElementsAre("ax_event_handler_new"));
}

TEST_F(EventManagerTest, DeclaresAStatefulEventWithItsTopicAndNames) {
    EXPECT_THAT(log_of([&] { manager->addEvent(kAlert); }),
                ElementsAre("info|addEvent: Successfully declared event Korvex Orvel First Alert : DeclarationID=1",
                            "info|registerEvent: EventManager registering event Korvex Orvel First Alert to "
                            "DeclarationID=1"));
    ASSERT_EQ(recording_axevent::declarations().size(), 1U);
    const auto declaration = recording_axevent::declarations().at(1);
    EXPECT_FALSE(declaration.stateless);
    EXPECT_FALSE(declaration.has_callback);
    EXPECT_THAT(keys_of(declaration.keys),
                ElementsAre("topic0|tnsaxis|CameraApplicationPlatform|3|||",
                            "topic1|tnsaxis|KorvexOrvelApplication|3|||",
                            "topic2|tnsaxis|KorvexOrvelFirstAlert|3||Korvex Orvel|Korvex Orvel First Alert",
                            "active|(null)|false|1|data||"));
    EXPECT_EQ(manager->getDeclarationID(kAlert), 1U);
    EXPECT_FALSE(manager->isEventStarted(kAlert));
}

TEST_F(EventManagerTest, DeclaresInThisOrderAndFreesTheSetLast) {
    service.reset();
    manager->addEvent(kAlert);
    EXPECT_THAT(
        service.journal(),
        ElementsAre("ax_event_key_value_set_new", "ax_event_key_value_set_add_key_values topic0",
                    "ax_event_key_value_set_mark_as_data active (null)",
                    "ax_event_key_value_set_add_nice_names topic2 tnsaxis Korvex Orvel Korvex Orvel First Alert",
                    "ax_event_handler_declare 0", "ax_event_key_value_set_free"));
}

TEST_F(EventManagerTest, RegistersNothingWhenTheKeysAreRefused) {
    service.fail("ax_event_key_value_set_add_key_values");
    EXPECT_THAT(log_of([&] { manager->addEvent(kAlert); }),
                ElementsAre("error|addEvent: Error creating key value set for event Korvex Orvel First Alert"));
    EXPECT_THAT(manager->m_eventDeclarationIDs, IsEmpty());
    EXPECT_THAT(manager->m_eventStarted, IsEmpty());
    EXPECT_THAT(recording_axevent::declarations(), IsEmpty());
    EXPECT_EQ(service.live("AXEventKeyValueSet"), 0);
}

TEST_F(EventManagerTest, RegistersTheId0WhenTheDeclarationIsRefused) {
    service.fail("ax_event_handler_declare");
    manager->registerEvent(kAlert, 7);
    manager->m_eventStarted[kAlert] = true;
    EXPECT_THAT(log_of([&] { manager->addEvent(kAlert); }),
                ElementsAre("error|addEvent: Failed to declare event Korvex Orvel First Alert",
                            "info|registerEvent: EventManager registering event Korvex Orvel First Alert to "
                            "DeclarationID=0"));
    EXPECT_EQ(manager->m_eventDeclarationIDs.at(kAlert), 0U);
    EXPECT_FALSE(manager->m_eventStarted.at(kAlert));
}

TEST_F(EventManagerTest, RegistersAnEventWhoseMarkOrNamesAreRefused) {
    service.fail("ax_event_key_value_set_mark_as_data");
    service.fail("ax_event_key_value_set_add_nice_names");
    EXPECT_THAT(log_of([&] { manager->addEvent(kAlert); }),
                ElementsAre("info|addEvent: Successfully declared event Korvex Orvel First Alert : DeclarationID=1",
                            "info|registerEvent: EventManager registering event Korvex Orvel First Alert to "
                            "DeclarationID=1"));
    EXPECT_EQ(manager->getDeclarationID(kAlert), 1U);
}

TEST_F(EventManagerTest, RegistersAnEventAsStopped) {
    manager->m_eventStarted[kAlert] = true;
    EXPECT_THAT(log_of([&] { manager->registerEvent(kAlert, 4294967295U); }),
                ElementsAre("info|registerEvent: EventManager registering event Korvex Orvel First Alert to "
                            "DeclarationID=4294967295"));
    EXPECT_EQ(manager->getDeclarationID(kAlert), 4294967295U);
    EXPECT_FALSE(manager->isEventStarted(kAlert));
    manager->m_eventDeclarationIDs.clear(); // an id that the service never gave
}

TEST_F(EventManagerTest, AddsANameThatIsLookedUp) {
    EXPECT_EQ(manager->getDeclarationID("one"), 0U);
    EXPECT_FALSE(manager->isEventStarted("two"));
    EXPECT_THAT(manager->m_eventDeclarationIDs, ElementsAre(std::pair<const std::string, uint32_t>("one", 0)));
    EXPECT_THAT(manager->m_eventStarted, ElementsAre(std::pair<const std::string, bool>("two", false)));
}

TEST_F(EventManagerTest, SendsOnlyChangesOfState) {
    manager->addEvent(kAlert);
    EXPECT_THAT(log_of([&] { manager->sendEventStopped(kAlert); }), IsEmpty());
    EXPECT_THAT(log_of([&] { manager->sendEventStarted(kAlert); }),
                ElementsAre("info|sendEventStarted: Starting event Korvex Orvel First Alert"));
    EXPECT_TRUE(manager->isEventStarted(kAlert));
    EXPECT_THAT(log_of([&] { manager->sendEventStarted(kAlert); }), IsEmpty());
    EXPECT_THAT(log_of([&] { manager->sendEventStopped(kAlert); }),
                ElementsAre("info|sendEventStopped: Stopping event Korvex Orvel First Alert"));
    EXPECT_FALSE(manager->isEventStarted(kAlert));
    EXPECT_THAT(log_of([&] { manager->sendEventStopped(kAlert); }), IsEmpty());

    const auto sent = recording_axevent::sent();
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].declaration, 1U);
    EXPECT_THAT(keys_of(sent[0].keys), ElementsAre("active|(null)|true|1|||"));
    EXPECT_EQ(sent[1].declaration, 1U);
    EXPECT_THAT(keys_of(sent[1].keys), ElementsAre("active|(null)|false|1|||"));
}

TEST_F(EventManagerTest, StampsAnEventWithTheTimeOfNow) {
    // Not time(), which may be in the second before by some milliseconds.
    const auto now = [] { return g_get_real_time() / G_USEC_PER_SEC; };
    manager->addEvent(kAlert);
    const gint64 before = now();
    manager->sendEvent(kAlert, true);
    const gint64 after = now();
    ASSERT_EQ(recording_axevent::sent().size(), 1U);
    EXPECT_GE(recording_axevent::sent()[0].unix_time, before);
    EXPECT_LE(recording_axevent::sent()[0].unix_time, after);
}

TEST_F(EventManagerTest, LeavesTheStartedFlagToThoseWhoAsk) {
    manager->addEvent(kAlert);
    EXPECT_THAT(log_of([&] { manager->sendEvent(kAlert, true); }), IsEmpty());
    EXPECT_FALSE(manager->isEventStarted(kAlert));
}

TEST_F(EventManagerTest, SendsUnderTheIdOfEachEvent) {
    manager->addEvent("b");
    manager->addEvent("a");
    manager->sendEventStarted("a");
    manager->sendEventStarted("b");
    ASSERT_EQ(recording_axevent::sent().size(), 2U);
    EXPECT_EQ(recording_axevent::sent()[0].declaration, 2U);
    EXPECT_EQ(recording_axevent::sent()[1].declaration, 1U);
}

TEST_F(EventManagerTest, RefusesToSendWhatIsNotDeclaredButStartsIt) {
    service.reset();
    EXPECT_THAT(log_of([&] { manager->sendEventStarted("nobody"); }),
                ElementsAre("info|sendEventStarted: Starting event nobody",
                            "error|sendEvent: No declaration for event nobody"));
    EXPECT_TRUE(manager->isEventStarted("nobody"));
    EXPECT_EQ(manager->m_eventDeclarationIDs.count("nobody"), 1U);
    EXPECT_THAT(log_of([&] { manager->sendEventStopped("nobody"); }),
                ElementsAre("info|sendEventStopped: Stopping event nobody",
                            "error|sendEvent: No declaration for event nobody"));
    EXPECT_FALSE(manager->isEventStarted("nobody"));
    EXPECT_THAT(service.journal(), IsEmpty());
}

TEST_F(EventManagerTest, LogsAValueThatCannotBeAddedAndSendsNothing) {
    manager->addEvent(kAlert);
    service.fail("ax_event_key_value_set_add_key_value");
    EXPECT_THAT(log_of([&] { manager->sendEventStarted(kAlert); }),
                ElementsAre("info|sendEventStarted: Starting event Korvex Orvel First Alert",
                            "error|sendEvent: Failed to add active key value to event Korvex Orvel First Alert"));
    EXPECT_TRUE(manager->isEventStarted(kAlert));
    EXPECT_THAT(recording_axevent::sent(), IsEmpty());
    EXPECT_THAT(service.calls("ax_event_new2"), IsEmpty());
    EXPECT_EQ(service.live("AXEventKeyValueSet"), 0);
}

TEST_F(EventManagerTest, LogsAnEventThatCannotBeSentWithItsValue) {
    manager->addEvent(kAlert);
    for (const char* call : {"ax_event_handler_send_event", "ax_event_new2"}) {
        service.fail(call);
        EXPECT_THAT(log_of([&] { manager->sendEvent(kAlert, true); }),
                    ElementsAre("error|sendEvent: Failed to send event Korvex Orvel First Alert activeValue=1"));
        EXPECT_THAT(log_of([&] { manager->sendEvent(kAlert, false); }),
                    ElementsAre("error|sendEvent: Failed to send event Korvex Orvel First Alert activeValue=0"));
        service.succeed(call);
        EXPECT_EQ(service.live("AXEventKeyValueSet"), 0);
        EXPECT_EQ(service.live("AXEvent"), 0);
    }
}

TEST_F(EventManagerTest, UndeclaresWhatIsDeclaredInTheOrderOfTheNames) {
    manager->addEvent("b"); // 1
    manager->addEvent("a"); // 2
    manager->addEvent("c"); // 3
    manager->registerEvent("never declared", 0);
    service.reset();
    service.fail("ax_event_handler_undeclare 1");
    EXPECT_THAT(log_of([&] { manager.reset(); }),
                ElementsAre("info|~EventManager: EventManager destructor called",
                            "info|~EventManager: EventManager undeclaring event a : DeclarationID=2",
                            "info|~EventManager: EventManager destructor successfully undeclared event a : "
                            "DeclarationID=2",
                            "info|~EventManager: EventManager undeclaring event b : DeclarationID=1",
                            "error|~EventManager: EventManager destructor failed to undeclare event b : "
                            "DeclarationID=1",
                            "info|~EventManager: EventManager undeclaring event c : DeclarationID=3",
                            "info|~EventManager: EventManager destructor successfully undeclared event c : "
                            "DeclarationID=3",
                            "info|~EventManager: Going to free the event handler",
                            "info|~EventManager: EventManager destructor complete"));
    EXPECT_THAT(service.journal(), ElementsAre("ax_event_handler_undeclare 2", "ax_event_handler_undeclare 1",
                                               "ax_event_handler_undeclare 3", "ax_event_handler_free"));
}

TEST_F(EventManagerTest, WorksOnWithoutAHandler) {
    manager.reset();
    service.fail("ax_event_handler_new");
    manager = std::make_unique<EventManager>();
    EXPECT_THAT(log_of([&] { manager->addEvent(kAlert); }),
                ElementsAre("error|addEvent: Failed to declare event Korvex Orvel First Alert",
                            "info|registerEvent: EventManager registering event Korvex Orvel First Alert to "
                            "DeclarationID=0"));
    EXPECT_THAT(log_of([&] { manager->sendEventStarted(kAlert); }),
                ElementsAre("info|sendEventStarted: Starting event Korvex Orvel First Alert",
                            "error|sendEvent: No declaration for event Korvex Orvel First Alert"));
}
