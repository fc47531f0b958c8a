#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>

namespace {

/** cairo and fontconfig keep fonts for the whole process; given back at its end, they are no leaks. */
class font_caches : public testing::Environment {
  public:
    void TearDown() override {
        cairo_debug_reset_static_data();
        FcFini();
    }
};

const testing::Environment* const g_font_caches = testing::AddGlobalTestEnvironment(new font_caches);

} // namespace
