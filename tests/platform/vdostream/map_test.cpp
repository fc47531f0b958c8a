#include "vdo-map.h"

#include <gtest/gtest.h>

namespace {

TEST(MapTest, GivesBackWhatWasSetAndTheDefaultOtherwise) {
    VdoMap* map = vdo_map_new();
    vdo_map_set_uint32(map, "width", 1280);
    vdo_map_set_uint32(map, "width", 640);
    vdo_map_set_uint32(map, "all", 4294967295U);
    EXPECT_EQ(vdo_map_get_uint32(map, "width", 7), 640U);
    EXPECT_EQ(vdo_map_get_uint32(map, "all", 7), 4294967295U);
    EXPECT_EQ(vdo_map_get_uint32(map, "height", 7), 7U);
    g_object_unref(map);
}

TEST(MapTest, DumpsEveryKeyInOrder) {
    VdoMap* map = vdo_map_new();
    vdo_map_set_uint32(map, "width", 1280);
    vdo_map_set_uint32(map, "channel", 1);
    testing::internal::CaptureStdout();
    vdo_map_dump(map);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "channel: 1\nwidth: 1280\n");
    g_object_unref(map);
}

TEST(MapTest, ToleratesNothing) {
    vdo_map_set_uint32(nullptr, "width", 1);
    vdo_map_dump(nullptr);
    EXPECT_EQ(vdo_map_get_uint32(nullptr, "width", 3), 3U);
    VdoMap* map = vdo_map_new();
    vdo_map_set_uint32(map, nullptr, 1);
    EXPECT_EQ(vdo_map_get_uint32(map, nullptr, 3), 3U);
    g_object_unref(map);
}

TEST(MapTest, IsAnOrdinaryReferenceCountedObject) {
    VdoMap* map = vdo_map_new();
    vdo_map_set_uint32(map, "width", 5);
    g_object_ref(map);
    g_object_unref(map);
    EXPECT_EQ(vdo_map_get_uint32(map, "width", 0), 5U);
    g_object_unref(map);
}

} // namespace
