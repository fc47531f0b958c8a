#include "platform/axevent/mqtt_messages.h"

#include <gmock/gmock.h>

using host_events::MqttMessage;
using host_events::MqttSettings;
using host_events::Occurrence;
using testing::HasSubstr;

namespace {

Occurrence first_alert(bool active) {
    return {Occurrence::What::event,
            "2025-03-30T14:05:09.042+02:00",
            "tnsaxis:CameraApplicationPlatform/KorvexOrvelApplication/KorvexOrvelFirstAlert",
            "KorvexOrvelFirstAlert",
            "Korvex Orvel First Alert",
            active,
            true};
}

TEST(MqttMessages, AreForEventsWithAState) {
    Occurrence occurrence = first_alert(true);
    EXPECT_TRUE(is_alert(occurrence));
    occurrence.stateful = false;
    EXPECT_FALSE(is_alert(occurrence));
    occurrence.stateful = true;
    occurrence.active.reset();
    EXPECT_FALSE(is_alert(occurrence));
}

TEST(MqttMessages, TellOfAStayThatIsOver) {
    EXPECT_EQ(stay_message(MqttSettings{}, R"({"id": 1})"), (MqttMessage{"korvex_orvel/stays", R"({"id": 1})", false}));
    EXPECT_TRUE(state_message(MqttSettings{}, first_alert(true)).retained);
}

TEST(MqttMessages, TellTheStateWithItsTime) {
    EXPECT_EQ(
        state_message(MqttSettings{}, first_alert(true)),
        (MqttMessage{"korvex_orvel/KorvexOrvelFirstAlert/state",
                     R"({"state":"ON","time":"2025-03-30T14:05:09.042+02:00","name":"Korvex Orvel First Alert"})"}));
    EXPECT_EQ(state_message(MqttSettings{}, first_alert(false)).payload,
              R"({"state":"OFF","time":"2025-03-30T14:05:09.042+02:00","name":"Korvex Orvel First Alert"})");
}

TEST(MqttMessages, TellWhetherTheCameraIsThere) {
    EXPECT_EQ(availability_message(MqttSettings{}, true), (MqttMessage{"korvex_orvel/availability", "online"}));
    EXPECT_EQ(availability_message(MqttSettings{}, false), (MqttMessage{"korvex_orvel/availability", "offline"}));
}

TEST(MqttMessages, DescribeTheAlertForDiscovery) {
    const MqttMessage message = discovery_message(MqttSettings{}, first_alert(false));
    EXPECT_EQ(message.topic, "homeassistant/binary_sensor/korvex_orvel_KorvexOrvelFirstAlert/config");
    EXPECT_EQ(message.payload,
              R"({"name":"First Alert","unique_id":"korvex_orvel_KorvexOrvelFirstAlert",)"
              R"("object_id":"korvex_orvel_KorvexOrvelFirstAlert",)"
              R"("default_entity_id":"binary_sensor.korvex_orvel_KorvexOrvelFirstAlert",)"
              R"("state_topic":"korvex_orvel/KorvexOrvelFirstAlert/state",)"
              R"("value_template":"{{ value_json.state }}",)"
              R"("json_attributes_topic":"korvex_orvel/KorvexOrvelFirstAlert/state",)"
              R"("payload_on":"ON","payload_off":"OFF","availability_topic":"korvex_orvel/availability",)"
              R"("payload_available":"online","payload_not_available":"offline","device_class":"occupancy",)"
              R"("device":{"identifiers":["korvex_orvel"],"name":"Korvex Orvel","manufacturer":"Korvex",)"
              R"("model":"Orvel","sw_version":"1.0.0"},"origin":{"name":"Korvex Orvel"}})");
}

TEST(MqttMessages, TellHowAProblemStandsAndDescribeItsSensor) {
    host_events::Problem problem{"video", "No video", true, "No video since 08:35"};
    const MqttMessage begun = state_message(MqttSettings{}, problem, "2025-03-30T08:35:09.042+02:00");
    EXPECT_EQ(begun.topic, "korvex_orvel/problems/video/state");
    EXPECT_EQ(begun.payload, R"({"state":"ON","time":"2025-03-30T08:35:09.042+02:00","text":"No video since 08:35"})");
    problem.active = false;
    problem.text = "";
    EXPECT_EQ(state_message(MqttSettings{}, problem, "later").payload, R"({"state":"OFF","time":"later","text":""})");
    const MqttMessage sensor = discovery_message(MqttSettings{}, problem);
    EXPECT_EQ(sensor.topic, "homeassistant/binary_sensor/korvex_orvel_problem_video/config");
    EXPECT_THAT(sensor.payload, HasSubstr(R"({"name":"No video","unique_id":"korvex_orvel_problem_video",)"));
    EXPECT_THAT(sensor.payload, HasSubstr(R"("json_attributes_topic":"korvex_orvel/problems/video/state",)"));
    EXPECT_THAT(sensor.payload, HasSubstr(R"("device_class":"problem",)"));
}

TEST(MqttMessages, TellCamerasApartByTheirPrefixAndWhereTheirPagesAre) {
    MqttSettings settings;
    settings.prefix = "yard/gate";
    settings.pages = "https://gate:8080/";
    const std::string payload = discovery_message(settings, first_alert(false)).payload;
    EXPECT_THAT(payload, HasSubstr(R"("device":{"identifiers":["yard_gate"],"name":"Korvex Orvel yard/gate",)"));
    EXPECT_THAT(payload, HasSubstr(R"("configuration_url":"https://gate:8080/"})"));
}

TEST(MqttMessages, MakeEveryTopicFromThePrefix) {
    MqttSettings settings;
    settings.prefix = "site/north gate";
    settings.discovery = "ha";
    Occurrence alert = first_alert(true);
    alert.id = "A/b+c#d \u00e9";
    EXPECT_EQ(state_message(settings, alert).topic, "site/north gate/A_b_c_d___/state");
    EXPECT_EQ(availability_message(settings, true).topic, "site/north gate/availability");
    EXPECT_EQ(discovery_message(settings, alert).topic, "ha/binary_sensor/site_north_gate_A_b_c_d___/config");
}

} // namespace
