#include "platform/axevent/outputs.h"

#include <gtest/gtest.h>

using host_events::Occurrence;

namespace {

TEST(Listener, HearsOccurrencesUntilItIsTakenAway) {
    std::vector<std::string> heard;
    host_events::set_listener([&](const Occurrence& occurrence) { heard.push_back(occurrence.nice_name); });
    Occurrence occurrence;
    occurrence.nice_name = "A";
    EXPECT_TRUE(host_events::tell_listener(occurrence));
    host_events::set_listener(nullptr);
    EXPECT_FALSE(host_events::tell_listener(occurrence));
    EXPECT_EQ(heard, std::vector<std::string>{"A"});
}

TEST(ConsoleLine, SaysWhatHappened) {
    const std::tuple<Occurrence::What, std::optional<bool>, const char*> table[] = {
        {Occurrence::What::declared, false, "12:00 Alert: declared"},
        {Occurrence::What::event, true, "12:00 Alert: started"},
        {Occurrence::What::event, false, "12:00 Alert: stopped"},
        {Occurrence::What::event, std::nullopt, "12:00 Alert: sent"},
        {Occurrence::What::undeclared, true, "12:00 Alert: undeclared"},
    };
    for (const auto& [what, active, line] : table)
        EXPECT_EQ(host_events::console_line({what, "12:00", "a/b", "b", "Alert", active, true}), line);
}

} // namespace
