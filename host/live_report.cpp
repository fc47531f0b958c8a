#include "host/live_report.h"

#include "base/run_state.h"
#include "host/pass_json.h"
#include "platform/axevent/host_events.h"
#include "platform/axoverlay/host_answers.h"
#include "platform/axparameter/host_parameters.h"
#include "platform/vdostream/host_video.h"
#include "scene/finding.h"

#include <glib.h>

namespace console {
namespace {

std::string iso_time(std::time_t time) {
    g_autoptr(GDateTime) moment = g_date_time_new_from_unix_local(time);
    g_autofree gchar* text = g_date_time_format(moment, "%Y-%m-%dT%H:%M:%S%:z");
    return text;
}

host_events::Problem event_of(const Problem& problem, bool begins) {
    return {problem.kind, problem.name, begins, begins ? problem.text : ""};
}

} // namespace

void LiveReport::after_pass() {
    const double now = static_cast<double>(g_get_real_time()) / G_USEC_PER_SEC;
    tell_of_problems(now);
    tell_listeners(now);
}

void LiveReport::tell_of_problems(double now) {
    if (!m_sensors_are_there) {
        for (const Problem& kind : ProblemWatch::kinds())
            host_events::tell_problem(event_of(kind, false), false);
        m_sensors_are_there = true;
    }
    const Condition condition{g_StatusCode, host_video::statistics().lost_since, host_parameters::failing_since()};
    tell_of_video(condition.lost_since);
    for (const ProblemNews& news : m_problems.look(condition, now)) {
        host_events::tell_problem(event_of(news.problem, news.begins));
        m_say(iso_time(static_cast<std::time_t>(now)) + " " +
              (news.begins ? news.problem.text : news.problem.name + ": over") + ".");
    }
}

void LiveReport::tell_of_video(std::time_t lost_since) {
    const std::string video = lost_since == 0 ? "ok" : "lost since " + iso_time(lost_since);
    if (video != m_video) {
        m_video = video;
        host_overlay::set_header("Korvex-Video", video);
    }
}

void LiveReport::tell_listeners(double now) const {
    if (!host_overlay::has_listeners())
        return;
    LiveRecord record{now, g_StreamWidth, g_StreamHeight, g_StatusCode, {}, m_problems.standing()};
    for (const one_find& find : g_findings)
        record.findings.push_back({find, explain(find)});
    host_overlay::tell_listeners(json_of_live_pass(record));
}

} // namespace console
