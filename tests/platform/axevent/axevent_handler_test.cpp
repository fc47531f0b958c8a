#include "platform/axevent/failure.h"
#include "platform/axevent/host_events.h"
#include "tests/platform/axevent/alerts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

using host_events::ErrorCode;
using host_events::Occurrence;
using testing::ElementsAre;

namespace {

/** What the listener heard, as "<nice name> <what> <active>". */
class Heard {
  public:
    Heard() {
        host_events::set_listener([this](const Occurrence& occurrence) {
            const char* const whats[] = {"declared", "event", "undeclared"};
            m_lines.push_back(occurrence.nice_name + " " + whats[static_cast<int>(occurrence.what)] + " " +
                              (!occurrence.active   ? "-"
                               : *occurrence.active ? "1"
                                                    : "0"));
        });
    }
    ~Heard() { host_events::set_listener(nullptr); }
    Heard(const Heard&) = delete;
    Heard& operator=(const Heard&) = delete;

    const std::vector<std::string>& lines() const { return m_lines; }

  private:
    std::vector<std::string> m_lines;
};

TEST(AxEventHandler, DeclaresSendsAndUndeclares) {
    const Heard heard;
    const Handler handler = new_handler();
    const guint id = declare(handler, alert_set("KorvexOrvelFirstAlert", "Korvex Orvel First Alert"));
    ASSERT_NE(id, 0U);
    EXPECT_TRUE(send(handler, id, true));
    EXPECT_TRUE(send(handler, id, false));
    EXPECT_TRUE(ax_event_handler_undeclare(handler.get(), id, nullptr));
    EXPECT_THAT(heard.lines(),
                ElementsAre("Korvex Orvel First Alert declared 0", "Korvex Orvel First Alert event 1",
                            "Korvex Orvel First Alert event 0", "Korvex Orvel First Alert undeclared 0"));
}

TEST(AxEventHandler, UndeclaresWhatIsLeftWhenItIsFreed) {
    const Heard heard;
    Handler handler = new_handler();
    const guint id = declare(handler, alert_set("A", "Alert"));
    EXPECT_TRUE(send(handler, id, true));
    handler.reset();
    EXPECT_EQ(heard.lines().back(), "Alert undeclared 1");
    ax_event_handler_free(nullptr);
}

TEST(AxEventHandler, SendsAnEventWithoutAStateAsItIs) {
    const Heard heard;
    const Handler handler = new_handler();
    const Set set = new_set();
    ASSERT_TRUE(
        ax_event_key_value_set_add_key_value(set.get(), "topic0", nullptr, "Pulse", AX_VALUE_TYPE_STRING, nullptr));
    const guint id = declare(handler, set);
    const Set nothing = new_set();
    EXPECT_TRUE(
        ax_event_handler_send_event(handler.get(), id, Event(ax_event_new2(nothing.get(), nullptr)).get(), nullptr));
    EXPECT_THAT(heard.lines(), ElementsAre("Pulse declared -", "Pulse event -"));
}

struct Refusal {
    const char* what;
    gboolean (*call)(const Handler& handler, guint declared, GError** error);
    ErrorCode code;
    const char* message;
};

class AxEventHandlerRefuses : public testing::TestWithParam<Refusal> {};

TEST_P(AxEventHandlerRefuses, WithAnError) {
    const Handler handler = new_handler();
    const guint id = declare(handler, alert_set("A", "Alert"));
    const Heard heard;
    g_autoptr(GError) error = nullptr;
    EXPECT_FALSE(GetParam().call(handler, id, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, static_cast<gint>(GetParam().code));
    EXPECT_THAT(error->message, testing::MatchesRegex(GetParam().message));
    EXPECT_FALSE(GetParam().call(handler, id, nullptr));
    EXPECT_TRUE(heard.lines().empty());
}

constexpr guint never_given = 4000000000;
constexpr const char* missing = "The handler, the set and the place for the declaration must be given\\.";
constexpr const char* unknown = "This handler has no declaration [0-9]+\\.";

const Refusal refusals[] = {
    {"DeclareWithoutHandler",
     [](const Handler&, guint, GError** e) {
         guint id = 0;
         return ax_event_handler_declare(nullptr, alert_set("B", "B").get(), FALSE, &id, nullptr, nullptr, e);
     },
     ErrorCode::argument, missing},
    {"DeclareWithoutSet",
     [](const Handler& h, guint, GError** e) {
         guint id = 0;
         return ax_event_handler_declare(h.get(), nullptr, FALSE, &id, nullptr, nullptr, e);
     },
     ErrorCode::argument, missing},
    {"DeclareWithoutPlace",
     [](const Handler& h, guint, GError** e) {
         return ax_event_handler_declare(h.get(), alert_set("B", "B").get(), FALSE, nullptr, nullptr, nullptr, e);
     },
     ErrorCode::argument, missing},
    {"DeclareWithoutTopic",
     [](const Handler& h, guint, GError** e) { return static_cast<gboolean>(declare(h, new_set(), e) != 0); },
     ErrorCode::no_topic, "The set to declare needs a topic0, and every topic level is a text that is not empty\\."},
    {"UndeclareWithoutHandler",
     [](const Handler&, guint id, GError** e) { return ax_event_handler_undeclare(nullptr, id, e); },
     ErrorCode::argument, "The handler is NULL\\."},
    {"UndeclareZero", [](const Handler& h, guint, GError** e) { return ax_event_handler_undeclare(h.get(), 0, e); },
     ErrorCode::not_declared, unknown},
    {"UndeclareUnknown",
     [](const Handler& h, guint, GError** e) { return ax_event_handler_undeclare(h.get(), never_given, e); },
     ErrorCode::not_declared, unknown},
    {"UndeclareOfAnother",
     [](const Handler&, guint id, GError** e) { return ax_event_handler_undeclare(new_handler().get(), id, e); },
     ErrorCode::not_declared, unknown},
    {"SendWithoutHandler",
     [](const Handler&, guint id, GError** e) {
         return ax_event_handler_send_event(nullptr, id, active_event(true).get(), e);
     },
     ErrorCode::argument, "The handler and the event must be given\\."},
    {"SendWithoutEvent",
     [](const Handler& h, guint id, GError** e) { return ax_event_handler_send_event(h.get(), id, nullptr, e); },
     ErrorCode::argument, "The handler and the event must be given\\."},
    {"SendZero", [](const Handler& h, guint, GError** e) { return gboolean{send(h, 0, true, nullptr, e)}; },
     ErrorCode::not_declared, unknown},
    {"SendUnknown",
     [](const Handler& h, guint, GError** e) { return gboolean{send(h, never_given, true, nullptr, e)}; },
     ErrorCode::not_declared, unknown},
    {"SendUnknownKey",
     [](const Handler& h, guint id, GError** e) {
         const Set set = new_set();
         ax_event_key_value_set_add_key_value(set.get(), "colour", nullptr, "red", AX_VALUE_TYPE_STRING, nullptr);
         return ax_event_handler_send_event(h.get(), id, Event(ax_event_new2(set.get(), nullptr)).get(), e);
     },
     ErrorCode::unknown_key, "The declaration has no key 'colour'\\."},
};

INSTANTIATE_TEST_SUITE_P(Table, AxEventHandlerRefuses, testing::ValuesIn(refusals),
                         [](const auto& each) { return std::string(each.param.what); });

TEST(AxEventHandler, RefusesToSendOrUndeclareAfterTheEnd) {
    const Handler handler = new_handler();
    const guint id = declare(handler, alert_set("A", "Alert"));
    ASSERT_TRUE(ax_event_handler_undeclare(handler.get(), id, nullptr));
    EXPECT_FALSE(send(handler, id, true));
    EXPECT_FALSE(ax_event_handler_undeclare(handler.get(), id, nullptr));
}

TEST(AxEventHandler, GivesIdsThatAreUniqueAcrossHandlersAndThreads) {
    constexpr int thread_count = 4;
    constexpr int declarations = 200;
    std::mutex mutex;
    std::multiset<guint> ids;
    std::vector<std::thread> threads;
    for (int number = 0; number < thread_count; ++number) {
        threads.emplace_back([&] {
            const Handler handler = new_handler();
            for (int count = 0; count < declarations; ++count) {
                const guint id = declare(handler, alert_set("A", "Alert"));
                EXPECT_TRUE(send(handler, id, true));
                EXPECT_TRUE(ax_event_handler_undeclare(handler.get(), id, nullptr));
                const std::lock_guard lock(mutex);
                ids.insert(id);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(ids.count(0), 0U);
    EXPECT_EQ(std::set<guint>(ids.begin(), ids.end()).size(), size_t{thread_count * declarations});
}

struct Completed {
    std::vector<guint> ids;
};

void note_completion(guint declaration, gpointer user_data) {
    static_cast<Completed*>(user_data)->ids.push_back(declaration);
}

void run_main_loop_dry() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
}

TEST(AxEventHandler, CallsBackFromTheMainLoopOnceADeclarationIsMade) {
    Completed completed;
    const Handler handler = new_handler();
    guint id = 0;
    ASSERT_TRUE(ax_event_handler_declare(handler.get(), alert_set("A", "Alert").get(), FALSE, &id, note_completion,
                                         &completed, nullptr));
    EXPECT_TRUE(completed.ids.empty());
    run_main_loop_dry();
    EXPECT_THAT(completed.ids, ElementsAre(id));
    run_main_loop_dry();
    EXPECT_EQ(completed.ids.size(), 1U);
}

TEST(AxEventHandler, DoesNotCallBackForADeclarationThatIsGone) {
    Completed completed;
    Handler handler = new_handler();
    guint ids[2] = {};
    for (guint& id : ids)
        ASSERT_TRUE(ax_event_handler_declare(handler.get(), alert_set("A", "Alert").get(), FALSE, &id, note_completion,
                                             &completed, nullptr));
    ASSERT_TRUE(ax_event_handler_undeclare(handler.get(), ids[0], nullptr));
    handler.reset();
    run_main_loop_dry();
    EXPECT_TRUE(completed.ids.empty());
}

} // namespace
