#include "config/settings.h"

#include <gmock/gmock.h>
#include <json-glib/json-glib.h>

#include <set>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

std::vector<std::string> all_names(std::vector<std::string> (*names_of)(const setting&)) {
    std::vector<std::string> all;
    for (const setting& each : kSettings)
        for (const std::string& name : names_of(each))
            all.push_back(name);
    return all;
}

/** What the package declares to the store, but for what belongs to the camera. */
std::vector<std::string> declared_names() {
    g_autoptr(JsonParser) parser = json_parser_new();
    g_autoptr(GError) error = nullptr;
    EXPECT_TRUE(json_parser_load_from_file(parser, KORVEX_MANIFEST, &error));
    JsonArray* parameters =
        json_object_get_array_member(json_node_get_object(json_parser_get_root(parser)), "parameters");
    std::vector<std::string> names;
    for (guint i = 0; i < json_array_get_length(parameters); ++i)
        names.emplace_back(json_object_get_string_member(json_array_get_object_element(parameters, i), "name"));
    std::erase_if(names, [](const std::string& name) { return name.starts_with("root."); });
    return names;
}

TEST(SettingsTest, EachRowStandsWhereItsNameSays) {
    EXPECT_STREQ(setting_of(row::h_stream).stored, "HStream");
    EXPECT_STREQ(setting_of(row::area).stored, "Detection1");
    EXPECT_STREQ(setting_of(row::zone3_active).stored, "Exclusion3Active");
    EXPECT_STREQ(setting_of(row::boats).stored, "DetectBoats");
    EXPECT_STREQ(setting_of(row::eula).element, "Eula");
    for (size_t i = 1; i < kSettings.size(); ++i)
        EXPECT_NE(kSettings[i].field, kSettings[i - 1].field) << kSettings[i].stored;
}

TEST(SettingsTest, APolygonHasANameForEachCoordinate) {
    EXPECT_THAT(stored_names(setting_of(row::zone2)),
                ElementsAre("Exclusion20x", "Exclusion20y", "Exclusion21x", "Exclusion21y", "Exclusion22x",
                            "Exclusion22y", "Exclusion23x", "Exclusion23y"));
    EXPECT_THAT(element_names(setting_of(row::zone2)),
                ElementsAre("Exclusion2_0", "Exclusion2_1", "Exclusion2_2", "Exclusion2_3", "Exclusion2_4",
                            "Exclusion2_5", "Exclusion2_6", "Exclusion2_7"));
    EXPECT_EQ(stored_names(setting_of(row::area)).size(), 16U);
    EXPECT_THAT(stored_names(setting_of(row::sensitivity)), ElementsAre("Sensitivity"));
    EXPECT_THAT(element_names(setting_of(row::main_loop_time)), IsEmpty());
}

TEST(SettingsTest, NoTwoSettingsShareAName) {
    for (const auto names_of : {stored_names, element_names}) {
        const auto names = all_names(names_of);
        EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
    }
}

TEST(SettingsTest, ThePackageDeclaresAllOfThemAndNothingElse) {
    EXPECT_THAT(declared_names(), ElementsAreArray(all_names(stored_names)));
}

} // namespace
