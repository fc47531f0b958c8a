#include "app/app_main.h"
#include "host/remembering.h"
#include "tests/host/fake_hook.h"
#include "tests/host/stay_fixture.h"

namespace {

using console::Remembering;
using host_events::Occurrence;
using host_overlay::StillView;

using testing::HasSubstr;
using testing::IsEmpty;

/** The application's own objects, as they are between two passes. */
class RememberingTest : public StayTest {
  protected:
    RememberingTest() {
        SetOverlayStreamResolution(0, 0);
        SetAnonymizedStreamResolution(0, 0);
        g_StatusCode = 200;
    }
    ~RememberingTest() override {
        g_findings.clear();
        SetOverlayStreamResolution(0, 0);
        SetAnonymizedStreamResolution(0, 0);
    }

    static void stands(footings footing, int seconds) {
        one_find made;
        made.id = 7;
        made.footing = footing;
        made.seconds = seconds;
        made.detect.ClassId = car;
        g_findings = {made};
    }

    static Occurrence alert(const char* name, bool active) {
        Occurrence told;
        told.nice_name = name;
        told.time = "12:00";
        told.active = active;
        return told;
    }

    console::StaySettings settings() const {
        console::StaySettings made;
        made.state = state;
        return made;
    }

    std::vector<console::StayRecord> kept() const {
        return console::read_stays(folder().database(), {0.0, 1e12}, 1000);
    }
};

TEST_F(RememberingTest, AnAlertIsOnRecordBeforeAnybodyHearsOfIt) {
    Remembering memory(settings());
    stands(in_AOI1_lengthily, 5);
    memory.before_alert(alert(kFirstAlert, true));
    ASSERT_EQ(kept().size(), 1U);
    EXPECT_EQ(kept()[0].stay.level, 1);
    EXPECT_TRUE(kept()[0].is_there);
    g_findings.clear();
    memory.before_alert(alert(kFirstAlert, false));
    EXPECT_FALSE(kept()[0].is_there);
}

TEST_F(RememberingTest, ADeclarationIsNoPass) {
    Remembering memory(settings());
    stands(in_AOI1_briefly, 1);
    Occurrence declared = alert(kFirstAlert, false);
    declared.what = Occurrence::What::declared;
    memory.before_alert(declared);
    EXPECT_THAT(kept(), IsEmpty());
}

TEST_F(RememberingTest, APassThatFailedSaysNothingOfStays) {
    Remembering memory(settings());
    stands(in_AOI1_briefly, 1);
    memory.after_pass();
    ASSERT_EQ(kept().size(), 1U);
    g_findings.clear();
    for (const int status : {400, 408}) {
        g_StatusCode = status;
        memory.after_pass();
        EXPECT_TRUE(kept()[0].is_there);
    }
    g_StatusCode = 200;
    memory.after_pass();
    EXPECT_FALSE(kept()[0].is_there);
}

TEST_F(RememberingTest, TheEndIsTheEndOfAllStays) {
    {
        Remembering memory(settings());
        stands(in_AOI1_briefly, 1);
        memory.after_pass();
        memory.finish();
    }
    EXPECT_FALSE(kept()[0].is_there);
}

TEST_F(RememberingTest, AWebhookHearsOfAlertsThatStart) {
    FakeHook hook;
    console::StaySettings told = settings();
    told.webhook = console::WebhookSettings{hook.url(), "", state + "/queue"};
    told.pages = "http://camera/";
    Remembering memory(told);
    make_file(folder().still(1, 2)); // as if it had been taken
    stands(in_AOI1_more_lengthily, 11);
    memory.before_alert(alert("Something else", true));
    memory.before_alert(alert(kSecondAlert, true));
    memory.before_alert(alert(kSecondAlert, false));
    ASSERT_EQ(hook.requests(1).size(), 1U);
    EXPECT_THAT(hook.requests(1)[0], HasSubstr(R"("level": 2, "time": "12:00", "stay": {"id": 1, "object": 7, )"));
    EXPECT_THAT(hook.requests(1)[0], HasSubstr(R"("still": "http://camera/stream/stills/1-2.jpg")"));
}

TEST_F(RememberingTest, PicturesAreOfTheStreamThatUsersHaveChosen) {
    EXPECT_EQ(console::view_to_remember(), (StillView{1280, 720, 0}));
    SetOverlayStreamResolution(1920, 1080);
    EXPECT_EQ(console::view_to_remember(), (StillView{1920, 1080, 0}));
    SetAnonymizedStreamResolution(640, 360);
    EXPECT_EQ(console::view_to_remember(), (StillView{640, 360, 0}));
}

TEST_F(RememberingTest, WhereTheStreamThatIsToHideHidesNobodyThereAreNone) {
    SetOverlayStreamResolution(1280, 720);
    SetAnonymizedStreamResolution(1280, 720);
    EXPECT_FALSE(console::view_to_remember());
}

} // namespace
