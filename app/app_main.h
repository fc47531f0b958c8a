#pragma once

#include "base/logger.h"
#include "base/run_state.h"
#include "base/timer.h"
#include "config/config_params.h"
#include "config/parameter_controller.h"
#include "detection/location_controller_larod.h"
#include "output/event_manager.h"
#include "output/overlay_manager.h"
#include "scene/area_of_interest.h"
#include "scene/detection_processing.h"
#include "scene/finding.h"
#include "scene/tracker.h"
#include "web/fastcgi_service.h"

#include <glib.h>

#include <cstdint>
#include <memory>
#include <string>

/*
 * The application's spine: the process-wide objects, start-up, the analysis pass and the end.
 *
 * The objects are made before main in this order and destroyed in reverse, but for the log, which takes its last lines
 * then and is never destroyed:
 *
 *   g_app_name, g_ConfigParams, g_ParameterController, g_LocationController, g_AreaofInterest, g_Tracker, g_findings,
 *   g_detections, g_Id2Time, g_overlayManager, g_Logger, g_FastcgiService
 *
 * What is not declared here is declared beside its type, the run's status and times in base/run_state.h.
 */

/** Syslog identity, parameter group and package folder. */
extern std::string g_app_name;

/** Empty until start-up makes it. Main thread only. */
extern std::unique_ptr<OverlayManager> g_overlayManager;

/** Main thread only. The timeout source that drives the passes; 0 when there is none. */
extern unsigned int g_ThreadID;
extern GMainLoop* gp_Loop;
/** Seconds; read by nothing, what counts are the thresholds in the live settings. */
extern int32_t g_Alert1ThreshSecs;
extern int32_t g_Alert2ThreshSecs;
extern int32_t g_Alert3ThreshSecs;

/** What `main` does: start-up, main loop until SIGTERM, end. 0, or -1 when start-up fails. Main thread. */
int korvex_orvel_main();

// The steps of start-up, in their order.
void init_signals();
void init_parameter_controller();
/** Always 0: a detector that cannot be set up shows as status 400 on every pass. */
int init_ai();
void init_overlay_manager();
void init_event_manager();
/** `maxDisappeared`: the passes for which a lost object is remembered. */
void init_logic(int maxDisappeared);

/** The body of the web thread: serves the pages until the process ends. Null. */
void* webservices_thread_fcn(void*);

/** The main loop's timeout: one pass; always TRUE, so that it stays installed. */
gboolean thread_function(void*);

/** One analysis pass; 0 when it ran to its end, 1 when it stopped early. */
int do_one_analysis();

/**
 * Removes the timeout and quits the main loop; without a loop the process ends with status 1, at once but for the last
 * lines of the log. Runs on the main thread, while the loop waits.
 */
void handle_sigterm(int);

/** Logs the machine's memory. */
void logMemoryUsage(const std::string& caption);
