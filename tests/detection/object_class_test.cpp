#include "config/config_params.h"
#include "detection/location_controller_larod.h"
#include "detection/object_class.h"

#include <gtest/gtest.h>

#include <climits>
#include <set>
#include <string>

namespace {

TEST(ObjectClassTest, EachClassHasALabelAndASettingOfItsOwn) {
    std::set<std::string> labels;
    for (int id = 0; id < static_cast<int>(object_classes().size()); ++id) {
        const object_class& each = object_classes()[static_cast<size_t>(id)];
        EXPECT_TRUE(labels.insert(class_label(id)).second) << class_label(id);
        EXPECT_EQ(class_label(id), each.label);
        EXPECT_EQ(location_controller_larod::ClassIDToLabel(id), each.label);
        for (const bool wanted : {true, false}) {
            g_ConfigParams.*each.wanted = wanted;
            EXPECT_EQ(is_class_wanted(id), wanted) << id;
            EXPECT_EQ(location_controller_larod::is_object_a_trigger(id), wanted) << id;
        }
    }
    EXPECT_EQ(labels.size(), 9U);
}

TEST(ObjectClassTest, NoOtherIndexIsAClass) {
    for (const int id : {-1, 9, INT_MIN, INT_MAX}) {
        EXPECT_EQ(class_label(id), "Unknown");
        EXPECT_FALSE(is_class_wanted(id));
    }
}

} // namespace
