#include "scene/detection_processing.h"

#include "base/arithmetic.h"
#include "base/shared_field.h"
#include "config/config_params.h"
#include "detection/location_controller_larod.h"
#include "detection/object_class.h"
#include "output/event_manager.h"
#include "scene/area_of_interest.h"
#include "scene/clock.h"
#include "scene/tracker.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <utility>

namespace {

void publish(t_findings_list findings) {
    const std::lock_guard lock(g_FindingsMutex);
    g_findings.swap(findings); // the old list is released with the argument, after the lock
}

/** A box counts as excluded when all its corners are, each in whichever zone. */
bool is_wholly_excluded(const detection& box) {
    const int right = wrap_add(box.X, box.W);
    const int bottom = wrap_add(box.Y, box.H);
    return g_AreaofInterest.is_excluded({box.X, box.Y}) && g_AreaofInterest.is_excluded({right, box.Y}) &&
           g_AreaofInterest.is_excluded({box.X, bottom}) && g_AreaofInterest.is_excluded({right, bottom});
}

footings provisional_footing(const detection& box) {
    const bool in_area =
        g_AreaofInterest.is_detected(1, box.get_centroid()) && !is_wholly_excluded(box) && is_class_wanted(box.ClassId);
    return in_area ? in_AOI1_briefly : not_in_AOI;
}

/** The difference of the whole seconds of both times, cut to 32 bits; the microseconds play no part. */
int seconds_between(const timeval& start, const timeval& now) {
    return static_cast<int32_t>(static_cast<uint64_t>(now.tv_sec) - static_cast<uint64_t>(start.tv_sec));
}

footings footing_after(int seconds) {
    if (seconds < read_shared(g_ConfigParams.i_Alert1ThreshSeconds))
        return in_AOI1_briefly;
    if (seconds < read_shared(g_ConfigParams.i_Alert2ThreshSeconds))
        return in_AOI1_lengthily;
    if (seconds < read_shared(g_ConfigParams.i_Alert3ThreshSeconds))
        return in_AOI1_more_lengthily;
    return in_AOI1_most_lengthily;
}

void start(const char* alert) {
    if (g_EventManager != nullptr)
        g_EventManager->sendEventStarted(alert);
}

void stop(const char* alert) {
    if (g_EventManager != nullptr)
        g_EventManager->sendEventStopped(alert);
}

/** Stops all but the `kept` lowest alerts, the highest first. */
void stop_down_to(size_t kept) {
    for (size_t level = kAlertNames.size(); level > kept; --level)
        stop(kAlertNames[level - 1]);
}

} // namespace

void DetectionProcessing::get_detections() {
    g_detections = g_LocationController.get_detections();
}

void DetectionProcessing::monitor_AOI() {
    const t_objects_map& objects = g_Tracker.track_rectangles(g_detections);
    t_findings_list findings;
    findings.reserve(objects.size());
    for (const auto& [id, box] : objects)
        findings.push_back({box.get_centroid(), box, id, provisional_footing(box), 0, unknown});
    publish(std::move(findings));
}

void DetectionProcessing::examine_and_update_findings() {
    const timeval now = dwell_time(); // one reading a pass: objects that are seen together count together
    t_findings_list findings = g_findings;
    for (one_find& find : findings) {
        const auto known = g_Id2Time.find(find.id);
        if (find.footing == not_in_AOI) {
            if (known != g_Id2Time.end())
                g_Id2Time.erase(known);
        } else if (is_class_wanted(find.detect.ClassId)) {
            if (known == g_Id2Time.end()) {
                g_Id2Time.emplace(find.id, now);
            } else {
                find.seconds = seconds_between(known->second, now);
                find.footing = footing_after(find.seconds);
            }
        }
    }
    publish(std::move(findings));
}

void DetectionProcessing::manage_events() {
    const auto count_from = [](footings lowest) {
        return static_cast<int>(std::count_if(g_findings.begin(), g_findings.end(),
                                              [lowest](const one_find& find) { return find.footing >= lowest; }));
    };
    const int total = count_from(in_AOI1_briefly);
    const int ge2 = count_from(in_AOI1_lengthily);
    const int ge3 = count_from(in_AOI1_more_lengthily);
    const int most = count_from(in_AOI1_most_lengthily);
    const int min = read_shared(g_ConfigParams.i_MinNumberOfPeopleForTrigger);
    const bool first_enabled = read_shared(g_ConfigParams.b_Alert1);
    const bool second_enabled = read_shared(g_ConfigParams.b_Alert2);
    const bool third_enabled = read_shared(g_ConfigParams.b_Alert3);

    if (third_enabled && most >= min) {
        start(kThirdAlert);
    } else if (second_enabled && ge3 >= min) {
        start(kSecondAlert);
    } else if (first_enabled && ge2 >= min) {
        start(kFirstAlert);
    } else if (total == 0) {
        g_Id2Time.clear();
        for (const char* alert : kAlertNames)
            stop(alert);
        return;
    }

    if (ge2 < min)
        stop_down_to(0);
    else if (ge3 < min)
        stop_down_to(1);
    else if (most < min)
        stop_down_to(2);

    if (!first_enabled)
        stop_down_to(0);
    else if (!second_enabled)
        stop_down_to(1);
    else if (!third_enabled)
        stop_down_to(2);
}
