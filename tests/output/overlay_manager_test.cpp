#include "output/overlay_manager.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/recording_axoverlay.h"

#include <gmock/gmock.h>

#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class OverlayManagerTest : public core_fixture {
  protected:
    OverlayManagerTest() { OverlayManager::m_OverlayID = -7; }
    ~OverlayManagerTest() override { OverlayManager::m_OverlayID = 0; }

    std::vector<std::string> log_of_construction() {
        return log_of([this] { manager = std::make_unique<OverlayManager>(); });
    }

    call_recorder& service = recording_axoverlay::recorder();
    std::unique_ptr<OverlayManager> manager;
};

} // namespace

TEST_F(OverlayManagerTest, SetsTheServiceUpAndHasItDrawOnce) {
    recording_axoverlay::set_max_resolution(2592, 1944);
    EXPECT_THAT(log_of_construction(), IsEmpty());
    EXPECT_THAT(service.journal(),
                ElementsAre("axoverlay_is_backend_supported 0", "axoverlay_init_axoverlay_settings", "axoverlay_init",
                            "axoverlay_get_max_resolution_width 1", "axoverlay_get_max_resolution_height 1",
                            "axoverlay_init_overlay_data", "axoverlay_create_overlay", "axoverlay_redraw"));
    const axoverlay_settings settings = recording_axoverlay::settings();
    EXPECT_EQ(settings.render_callback, &OverlayManager::renderCallback);
    EXPECT_EQ(settings.adjustment_callback, &OverlayManager::adjustmentCallback);
    EXPECT_EQ(settings.select_callback, &OverlayManager::selectStreamCallback);
    EXPECT_EQ(settings.backend, AXOVERLAY_CAIRO_IMAGE_BACKEND);
    EXPECT_EQ(OverlayManager::m_OverlayID, 1);
    const auto overlay = recording_axoverlay::overlays().at(1);
    EXPECT_EQ(overlay.data.anchor_point, AXOVERLAY_ANCHOR_TOP_LEFT);
    EXPECT_EQ(overlay.data.postype, AXOVERLAY_TOP_LEFT);
    EXPECT_EQ(overlay.data.x, 0);
    EXPECT_EQ(overlay.data.y, 0);
    EXPECT_EQ(overlay.data.width, 2592);
    EXPECT_EQ(overlay.data.height, 1944);
    EXPECT_EQ(overlay.data.colorspace, AXOVERLAY_COLORSPACE_ARGB32);
    EXPECT_EQ(overlay.data.scale_to_stream, FALSE);
    EXPECT_EQ(overlay.user_data, &g_OverlayInfo);
}

TEST_F(OverlayManagerTest, DestroysTheOverlayAndEndsTheService) {
    manager = std::make_unique<OverlayManager>();
    service.reset();
    EXPECT_THAT(log_of([this] { manager.reset(); }), IsEmpty());
    EXPECT_THAT(service.journal(), ElementsAre("axoverlay_destroy_overlay 1", "axoverlay_cleanup"));
}

TEST_F(OverlayManagerTest, SaysNothingWhenTheOverlayCannotBeDestroyed) {
    manager = std::make_unique<OverlayManager>();
    service.reset();
    service.fail("axoverlay_destroy_overlay");
    EXPECT_THAT(log_of([this] { manager.reset(); }), IsEmpty());
    EXPECT_THAT(service.journal(), ElementsAre("axoverlay_destroy_overlay 1", "axoverlay_cleanup"));
}

TEST_F(OverlayManagerTest, GoesOnWithoutASupportedBackend) {
    service.fail("axoverlay_is_backend_supported");
    EXPECT_THAT(log_of_construction(), ElementsAre("error|AXOVERLAY_CAIRO_IMAGE_BACKEND is not supported"));
    EXPECT_EQ(service.calls("axoverlay_redraw").size(), 1U);
    EXPECT_EQ(OverlayManager::m_OverlayID, 1);
}

TEST_F(OverlayManagerTest, GoesOnWhenTheServiceCannotBeInitialised) {
    service.fail("axoverlay_init", {.message = "no service"});
    EXPECT_THAT(log_of_construction(), ElementsAre("error|OverlayManager: Failed to initialize axoverlay: no service"));
    EXPECT_EQ(service.calls("axoverlay_redraw").size(), 1U);
    EXPECT_EQ(OverlayManager::m_OverlayID, 1);
}

TEST_F(OverlayManagerTest, TellsAFailureWithoutAReasonToo) {
    service.fail("axoverlay_init", {.with_record = false});
    EXPECT_THAT(log_of_construction(), ElementsAre("error|OverlayManager: Failed to initialize axoverlay: N/A"));
}

TEST_F(OverlayManagerTest, SaysNothingWhenTheLargestSizeIsUnknown) {
    service.fail("axoverlay_get_max_resolution_width");
    service.fail("axoverlay_get_max_resolution_height");
    EXPECT_THAT(log_of_construction(), IsEmpty());
    EXPECT_EQ(recording_axoverlay::overlays().at(1).data.width, 0);
    EXPECT_EQ(recording_axoverlay::overlays().at(1).data.height, 0);
}

TEST_F(OverlayManagerTest, HasTheIdentifier0WhenTheOverlayCannotBeCreated) {
    service.fail("axoverlay_create_overlay", {.message = "too many"});
    EXPECT_THAT(log_of_construction(), ElementsAre("error|createOverlay: Failed to create overlay: too many"));
    EXPECT_EQ(OverlayManager::m_OverlayID, 0);
    EXPECT_EQ(service.calls("axoverlay_redraw").size(), 1U);
}

TEST_F(OverlayManagerTest, TakesEverythingDownWhenTheFirstDrawFails) {
    service.fail("axoverlay_redraw", {.message = "no stream"});
    EXPECT_THAT(log_of_construction(),
                ElementsAre("error|OverlayManager: Failed to do initial draw of overlays: no stream"));
    EXPECT_THAT(service.journal(),
                ElementsAre("axoverlay_is_backend_supported 0", "axoverlay_init_axoverlay_settings", "axoverlay_init",
                            "axoverlay_get_max_resolution_width 1", "axoverlay_get_max_resolution_height 1",
                            "axoverlay_init_overlay_data", "axoverlay_create_overlay", "axoverlay_redraw",
                            "axoverlay_destroy_overlay 1", "axoverlay_cleanup"));
}

TEST_F(OverlayManagerTest, LogsEveryStepOfAServiceThatIsGone) {
    for (const char* call : {"axoverlay_is_backend_supported", "axoverlay_init", "axoverlay_get_max_resolution_width",
                             "axoverlay_get_max_resolution_height", "axoverlay_create_overlay", "axoverlay_redraw",
                             "axoverlay_destroy_overlay"})
        service.fail(call, {.message = "gone"});
    EXPECT_THAT(log_of_construction(),
                ElementsAre("error|AXOVERLAY_CAIRO_IMAGE_BACKEND is not supported",
                            "error|OverlayManager: Failed to initialize axoverlay: gone",
                            "error|createOverlay: Failed to create overlay: gone",
                            "error|OverlayManager: Failed to do initial draw of overlays: gone"));
    EXPECT_EQ(OverlayManager::m_OverlayID, 0);
}

TEST_F(OverlayManagerTest, CreatesAnOverlayOfTheGivenSize) {
    EXPECT_EQ(OverlayManager::createOverlay(123, 45), 1);
    EXPECT_EQ(recording_axoverlay::overlays().at(1).data.width, 123);
    EXPECT_EQ(recording_axoverlay::overlays().at(1).data.height, 45);
}

TEST_F(OverlayManagerTest, RedrawsForNewFindings) {
    manager = std::make_unique<OverlayManager>();
    service.reset();
    EXPECT_THAT(log_of([this] { EXPECT_TRUE(manager->renderFindings()); }), IsEmpty());
    EXPECT_THAT(service.journal(), ElementsAre("axoverlay_redraw"));
}

TEST_F(OverlayManagerTest, LogsEachRedrawThatFails) {
    manager = std::make_unique<OverlayManager>();
    service.fail("axoverlay_redraw", {.message = "no overlay"});
    for (int i = 0; i < 2; ++i)
        EXPECT_THAT(log_of([this] { EXPECT_FALSE(manager->renderFindings()); }),
                    ElementsAre("error|renderFindings: Failed to redraw overlay: no overlay"));
}

TEST_F(OverlayManagerTest, MakesTheOverlayAsLargeAsTheRotatedStream) {
    const struct {
        int rotation;
        int width;
        int height;
    } table[] = {{0, 1920, 1080}, {90, 1080, 1920}, {180, 1920, 1080}, {270, 1080, 1920}, {45, 1920, 1080}};
    for (const auto& [rotation, width, height] : table) {
        axoverlay_stream_data stream{3, 1, 1920, 1080, rotation, FALSE, AXOVERLAY_STREAM_H264};
        axoverlay_position_type position = AXOVERLAY_CUSTOM_NORMALIZED;
        gfloat x = 0.25F;
        gfloat y = -0.5F;
        gint overlay_width = 1;
        gint overlay_height = 2;
        OverlayManager::adjustmentCallback(1, &stream, &position, &x, &y, &overlay_width, &overlay_height,
                                           &g_OverlayInfo);
        EXPECT_EQ(overlay_width, width) << rotation;
        EXPECT_EQ(overlay_height, height) << rotation;
        EXPECT_EQ(position, AXOVERLAY_CUSTOM_NORMALIZED);
        EXPECT_EQ(x, 0.25F);
        EXPECT_EQ(y, -0.5F);
    }
}

TEST_F(OverlayManagerTest, OffersTheOverlayToEveryStream) {
    EXPECT_EQ(OverlayManager::selectStreamCallback(1, 800, 450, 0, FALSE, AXOVERLAY_STREAM_JPEG), TRUE);
    EXPECT_EQ(OverlayManager::selectStreamCallback(2, 1, 0, 270, TRUE, AXOVERLAY_STREAM_OTHER), TRUE);
}
