#pragma once

#include "app/app_main.h"
#include "config/parameter_io.h"
#include "output/overlay_info.h"
#include "tests/config/posted_document.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/fake_axparameter.h"
#include "tests/doubles/recording_vdo.h"

#include <string>
#include <vector>

/** The document over a stream of 1920x1080 and 10 passes a second, with a store that is open. */
class ParameterDocumentTest : public core_fixture {
  protected:
    ParameterDocumentTest() {
        g_StreamWidth = 1920;
        g_StreamHeight = 1080;
        recording_vdo::offer({{{1920, 1080}, {640, 480}}});
        g_ParameterController.init_controller("korvex_orvel");
        reset_settings();
    }
    ~ParameterDocumentTest() override {
        ax_parameter_free(g_ParameterController.m_Parameter);
        g_ParameterController = {};
        g_ConfigParams = {};
    }

    /** Settings and components as they are told apart from what a document brings. */
    static void reset_settings() {
        g_ConfigParams = {};
        g_ConfigParams.i_MainLoopTime = 100;
        g_Tracker.set_max_disappeared(-5);
        g_LocationController.set_sensitivity(0.25F);
        g_AreaofInterest = {};
        SetOverlayStreamResolution(1, 2);
        SetAnonymizedStreamResolution(3, 4);
        fake_axparameter::recorder().reset();
        forget_log();
    }

    static std::vector<std::string> saved() { return fake_axparameter::recorder().calls("ax_parameter_set"); }

    static int post(const posted_document& document) { return parameter_io::set_post_parameters(document.text()); }

    /** What an element says in the document that is given out. */
    static std::string given(const std::string& name) {
        const std::string document = parameter_io::get_parameters();
        const std::string opening = "<" + name + ">";
        const size_t begin = document.find(opening) + opening.size();
        return document.substr(begin, document.find("</" + name + ">") - begin);
    }
};
