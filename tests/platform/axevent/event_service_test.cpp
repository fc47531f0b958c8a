#include "platform/axevent/event_service.h"
#include "platform/common/failure.h"
#include "tests/platform/axevent/alerts.h"
#include "tests/platform/axevent/scratch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using host_events::EventService;
using host_events::Outputs;
using testing::ElementsAre;
using testing::EndsWith;

namespace {

TEST(EventService, JournalsEachDeclarationChangeAndEndInOrder) {
    const TemporaryFolder scratch;
    const Variables journal("KORVEX_AXEVENT_JOURNAL", scratch / "journal");
    int tick = 0;
    EventService service(Outputs::from_environment(), [&] { return "clock " + std::to_string(++tick); });
    const int owner = 0;
    const Set set = alert_set("KorvexOrvelThirdAlert", "Korvex Orvel Third Alert");
    const guint id = service.declare(&owner, set->values, false);
    service.send(&owner, id, *active_event(true, "2025-03-30T14:05:09.042+02:00"));
    service.send(&owner, id, *active_event(false, "2025-03-30T14:05:10+02:00"));
    service.undeclare(&owner, id);
    EXPECT_THAT(
        lines(scratch / "journal"),
        ElementsAre(
            R"({"time":"clock 1","what":"declared","topic":"tnsaxis:CameraApplicationPlatform/KorvexOrvelApplication/KorvexOrvelThirdAlert","nice_name":"Korvex Orvel Third Alert","active":false})",
            R"({"time":"2025-03-30T14:05:09.042+02:00","what":"event","topic":"tnsaxis:CameraApplicationPlatform/KorvexOrvelApplication/KorvexOrvelThirdAlert","nice_name":"Korvex Orvel Third Alert","active":true})",
            R"({"time":"2025-03-30T14:05:10.000+02:00","what":"event","topic":"tnsaxis:CameraApplicationPlatform/KorvexOrvelApplication/KorvexOrvelThirdAlert","nice_name":"Korvex Orvel Third Alert","active":false})",
            R"({"time":"clock 2","what":"undeclared","topic":"tnsaxis:CameraApplicationPlatform/KorvexOrvelApplication/KorvexOrvelThirdAlert","nice_name":"Korvex Orvel Third Alert","active":false})"));
}

TEST(EventService, IsOneForAllOwnersAndEndsWithTheLast) {
    std::shared_ptr<EventService> first = EventService::acquire();
    std::shared_ptr<EventService> second = EventService::acquire();
    EXPECT_EQ(first, second);
    const std::weak_ptr<EventService> watched = first;
    EventService::release(std::move(first));
    EXPECT_FALSE(watched.expired());
    EventService::release(std::move(second));
    EXPECT_TRUE(watched.expired());
}

TEST(EventService, TellsOfAStayWhileThereIsAHandler) {
    const TemporaryFolder scratch;
    const Variables journal("KORVEX_AXEVENT_JOURNAL", scratch / "journal");
    host_events::tell_stay(R"({"id": 1})");
    EXPECT_FALSE(std::filesystem::exists(scratch / "journal"));
    std::shared_ptr<EventService> service = EventService::acquire();
    host_events::tell_stay(R"({"id": 2})");
    EventService::release(std::move(service));
    EXPECT_THAT(lines(scratch / "journal"), ElementsAre(testing::EndsWith(R"(,"what":"stay","stay":{"id": 2}})")));
}

TEST(EventService, KeepsAnOwnersDeclarationsFromOtherOwners) {
    EventService service(Outputs::from_environment(), [] { return std::string("now"); });
    const int owners[2] = {};
    const guint id = service.declare(&owners[0], alert_set("A", "A")->values, false);
    EXPECT_THROW(service.send(&owners[1], id, *active_event(true)), platform::Failure);
    EXPECT_THROW(service.undeclare(&owners[1], id), platform::Failure);
    service.forget(&owners[1]);
    service.send(&owners[0], id, *active_event(true));
    service.forget(&owners[0]);
    EXPECT_THROW(service.send(&owners[0], id, *active_event(true)), platform::Failure);
}

TEST(EventService, JournalsAProblemThatIsNews) {
    const TemporaryFolder scratch;
    const Variables journal("KORVEX_AXEVENT_JOURNAL", scratch / "journal");
    host_events::tell_problem({"video", "No video", true, "nobody is there to tell it"});
    std::shared_ptr<EventService> service = EventService::acquire();
    host_events::tell_problem({"video", "No video", false, ""}, false);
    host_events::tell_problem({"video", "No video", true, "No video since 08:35"});
    host_events::tell_problem({"video", "No video", false, ""});
    EventService::release(std::move(service));
    EXPECT_THAT(
        lines(scratch / "journal"),
        ElementsAre(EndsWith(R"(,"what":"problem","kind":"video","active":true,"text":"No video since 08:35"})"),
                    EndsWith(R"(,"what":"problem","kind":"video","active":false,"text":""})")));
}

TEST(EventService, GoesOnAfterItsOutputsAreClosed) {
    const TemporaryFolder scratch;
    const Variables journal("KORVEX_AXEVENT_JOURNAL", scratch / "journal");
    EventService service(Outputs::from_environment(), [] { return std::string("now"); });
    service.close_outputs();
    const int owner = 0;
    EXPECT_NE(service.declare(&owner, alert_set("A", "A")->values, false), 0U);
    EXPECT_EQ(lines(scratch / "journal").size(), 1U);
}

} // namespace
