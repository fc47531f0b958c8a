#include "host/alert_message.h"
#include "output/event_manager.h"
#include "tests/host/stay_fixture.h"

namespace {

class AlertMessageTest : public StayTest {
  protected:
    host_events::Occurrence alert() const {
        host_events::Occurrence started;
        started.time = "2025-11-22T12:00:10.123+01:00";
        started.nice_name = kSecondAlert;
        started.active = true;
        return started;
    }
};

TEST_F(AlertMessageTest, TellsTheAlertItsStayAndItsPicture) {
    EXPECT_EQ(console::json_of_alert(alert(), record(12, 0.0, 10, 2), "http://camera:8080/", true),
              R"({"alert": "Korvex Orvel Second Alert", "level": 2, "time": "2025-11-22T12:00:10.123+01:00", )"
              R"("stay": {"id": 12, "object": 112, "class": 2, "label": "Car", )"
              R"("entered": "2025-11-22T12:00:00.000+01:00", "seconds": 10}, )"
              R"("still": "http://camera:8080/stream/stills/12-2.jpg"})");
}

TEST_F(AlertMessageTest, WithoutAnAddressOfThePagesThePictureHasAPath) {
    EXPECT_THAT(console::json_of_alert(alert(), record(12, 0.0, 10, 2), "", true),
                testing::EndsWith(R"("still": "/stream/stills/12-2.jpg"})"));
    EXPECT_THAT(console::json_of_alert(alert(), record(12, 0.0, 10, 2), "http://camera/", false),
                testing::EndsWith(R"("still": null})"));
}

TEST_F(AlertMessageTest, KnowsTheAlertsByName) {
    EXPECT_EQ(console::level_of_alert(kFirstAlert), 1);
    EXPECT_EQ(console::level_of_alert(kThirdAlert), 3);
    EXPECT_EQ(console::level_of_alert("Korvex Orvel"), 0);
}

} // namespace
