#include "host/stay_record.h"
#include "tests/host/stay_fixture.h"

namespace {

class StayRecordTest : public StayTest {};

TEST_F(StayRecordTest, AStayIsAJsonObjectWithItsAlerts) {
    make_file(folder().still(12, 1));
    make_file(folder().clip(12, 2));
    EXPECT_EQ(
        console::json_of_stay(record(12, 0.0, 26, 2), folder()),
        R"({"id": 12, "object": 112, "class": 2, "label": "Car", "entered": "2025-11-22T12:00:00.000+01:00", )"
        R"("left": "2025-11-22T12:00:26.000+01:00", "seconds": 26, "level": 2, "alerts": [)"
        R"({"level": 1, "time": "2025-11-22T12:00:05.000+01:00", "still": "/stream/stills/12-1.jpg", "clip": null}, )"
        R"({"level": 2, "time": "2025-11-22T12:00:10.000+01:00", "still": null, "clip": "/stream/clips/12-2.mp4"}]})");
}

TEST_F(StayRecordTest, WhoIsStillThereHasNotLeft) {
    console::StayRecord there = record(1, 0.0, 3, 0);
    there.is_there = true;
    EXPECT_EQ(console::json_of_stays({there}, folder()),
              "{\"stays\": [\n"
              R"({"id": 1, "object": 101, "class": 2, "label": "Car", "entered": "2025-11-22T12:00:00.000+01:00", )"
              R"("left": null, "seconds": 3, "level": 0, "alerts": []})"
              "]}\n");
    EXPECT_THAT(console::csv_of_stays({there}, folder()),
                testing::EndsWith("\r\n1,101,Car,2025-11-22 12:00:00,,3,0,,,,\r\n"));
    EXPECT_THAT(console::table_of_stays({there}), testing::HasSubstr("still there"));
    EXPECT_EQ(console::json_of_stays({}, folder()), "{\"stays\": []}\n");
}

TEST_F(StayRecordTest, ASpreadsheetHasARowForEach) {
    make_file(folder().still(12, 1));
    EXPECT_EQ(console::csv_of_stays({record(12, 0.0, 26, 2)}, folder()),
              "id,object,label,entered,left,seconds,level,first alert,second alert,third alert,still\r\n"
              "12,112,Car,2025-11-22 12:00:00,2025-11-22 12:00:26,26,2,2025-11-22 12:00:05,2025-11-22 12:00:10,,"
              "/stream/stills/12-1.jpg\r\n");
}

TEST_F(StayRecordTest, PeopleSeeColumns) {
    EXPECT_EQ(console::table_of_stays({record(1, 0.0, 3, 0), record(12, 5.0, 126, 3)}),
              "    id  what         entered              left                 seconds  alert\n"
              "     1  Car          2025-11-22 12:00:00  2025-11-22 12:00:03        3\n"
              "    12  Car          2025-11-22 12:00:05  2025-11-22 12:02:11      126  Third Alert\n");
}

} // namespace
