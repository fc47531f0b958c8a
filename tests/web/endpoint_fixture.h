#pragma once

#include "app/app_main.h"
#include "tests/doubles/core_fixture.h"
#include "tests/web/running_service.h"

#include <axsdk/axparameter.h>

#include <memory>

/** An application that runs, with known words of its state, and a place for the service that tells them. */
class EndpointFixture : public core_fixture {
  protected:
    EndpointFixture() {
        g_ConfigParams = {};
        g_StatusCode = 200;
        g_ExecutionTime = 37;
        g_IsPortrait = false;
        g_StreamWidth = 1920;
        g_StreamHeight = 1080;
        g_ParameterController.init_controller("korvex_orvel");
    }
    ~EndpointFixture() override {
        service.reset();
        ax_parameter_free(g_ParameterController.m_Parameter);
        g_ParameterController = {};
        g_ConfigParams = {};
        g_IsPortrait = false;
    }

    std::unique_ptr<running_service> service;
};
