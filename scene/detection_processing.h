#pragma once

#include "detection/common_structs.h"
#include "scene/finding.h"

#include <sys/time.h>

#include <map>

/**
 * Turns the detections of a pass into findings, and findings into alerts. The four operations run once a pass, in this
 * order, on the main thread; nothing of it is reported. What it works on is process-wide.
 *
 * What an object goes through while it is tracked, its centroid in the area, its box not wholly excluded and its class
 * wanted (any pass without one of these takes it back to the left and its time is lost):
 *
 *   not_in_AOI -> briefly -> lengthily -> more_lengthily -> most_lengthily
 *              entering   1st         2nd              3rd threshold of seconds reached
 */
class DetectionProcessing {
  public:
    /** Takes over what the detector found in this pass. */
    static void get_detections();

    /** Tracks the detections; every tracked object becomes a finding, `in_AOI1_briefly` or `not_in_AOI`. */
    static void monitor_AOI();

    /** Gives the findings in the area their seconds and footings. */
    static void examine_and_update_findings();

    /**
     * Starts at most one alert, the highest for which enough objects have stayed long enough, and stops those for which
     * too few have. An alert stays only while every lower one is enabled: a higher one may be started and stopped again
     * in one pass. While a higher level qualifies, a lower one that is not active is not started; both deliberate.
     */
    static void manage_events();
};

/** This pass's detections. Main thread only. */
extern t_detection_list g_detections;

/**
 * When each object was first seen in the area, by its id. Main thread only. An object that the tracker forgets keeps
 * its entry until a pass finds nobody in the area and empties the map; ids do not come back.
 */
extern std::map<int, timeval> g_Id2Time;
