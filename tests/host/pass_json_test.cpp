#include "host/pass_json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using console::json_of_pass;

TEST(PassJson, APassThatFoundNothingHasEmptyLists) {
    EXPECT_EQ(json_of_pass({0.2, 400, {}, {}, {}}),
              R"({"time": 0.200, "status": 400, "detections": [], "findings": [], "alerts": []})");
}

TEST(PassJson, EverythingThatAPassFoundStandsInOneLine) {
    console::PassRecord record;
    record.seconds = 12.4;
    record.status = 502;
    record.detections = {{10, 20, 30, 40, 2, 0.51234567F}, {-1, 0, 5, 6, 99, 1.0F}};
    one_find find;
    find.id = 7;
    find.detect = {10, 20, 30, 40, 2, 0.5F};
    find.footing = in_AOI1_lengthily;
    find.seconds = 5;
    record.findings = {{find, {"counts", 3, 0.6}}};
    record.alerts = {{"Korvex Orvel First Alert", true}, {"Korvex Orvel Third Alert", false}};
    EXPECT_EQ(
        json_of_pass(record),
        R"({"time": 12.400, "status": 502, )"
        R"("detections": [{"class": 2, "label": "Car", "box": [10, 20, 30, 40], "score": 0.5123}, )"
        R"({"class": 99, "label": "Unknown", "box": [-1, 0, 5, 6], "score": 1.0000}], )"
        R"("findings": [{"id": 7, "class": 2, "label": "Car", "box": [10, 20, 30, 40], "score": null, "footing": 2, )"
        R"("seconds": 5, )"
        R"("state": "lengthily", "reason": "counts", "unseen": 3, "unseen_seconds": 0.6}], )"
        R"("alerts": [{"name": "Korvex Orvel First Alert", "active": true}, )"
        R"({"name": "Korvex Orvel Third Alert", "active": false}]})");
}

TEST(PassJson, AScoreThatIsNoNumberIsNull) {
    EXPECT_EQ(json_of_pass({1.0, 200, {{0, 0, 0, 0, 0, std::nanf("")}}, {}, {}}),
              R"({"time": 1.000, "status": 200, "detections": [{"class": 0, "label": "Person", "box": [0, 0, 0, 0], )"
              R"("score": null}], "findings": [], "alerts": []})");
}

TEST(PassJson, ALivePassTellsItsProblemsAndTheScoresOfWhatIsSeen) {
    console::LiveRecord record{
        1763823600.1234, 1280, 720, 504, {}, {{"video", "No video", 1763823540, "No video since 14:59"}}};
    one_find find;
    find.id = 7;
    find.detect = {10, 20, 30, 40, 2, 0.5F};
    find.footing = in_AOI1_briefly;
    record.findings = {{find, {"counts", 0, 0.0}}};
    EXPECT_EQ(
        json_of_live_pass(record),
        R"({"time": 1763823600.123, "size": [1280, 720], "status": 504, )"
        R"("findings": [{"id": 7, "class": 2, "label": "Car", "box": [10, 20, 30, 40], "score": 0.5000, )"
        R"("footing": 1, "seconds": 0, "state": "briefly", "reason": "counts", "unseen": 0, "unseen_seconds": 0.0}], )"
        R"("problems": [{"kind": "video", "since": 1763823540, "text": "No video since 14:59"}]})");
    EXPECT_EQ(console::json_of_live_pass({}),
              R"({"time": 0.000, "size": [0, 0], "status": 0, "findings": [], "problems": []})");
}

} // namespace
