#pragma once

#include <glib.h>

#include <string>

namespace host_events {

/** "2025-03-30T14:05:09.042+02:00": local to the time's own zone, milliseconds cut off. */
inline std::string iso_time(GDateTime* time) {
    g_autofree gchar* seconds = g_date_time_format(time, "%Y-%m-%dT%H:%M:%S");
    g_autofree gchar* zone = g_date_time_format(time, "%:z");
    g_autofree gchar* text = g_strdup_printf("%s.%03d%s", seconds, g_date_time_get_microsecond(time) / 1000, zone);
    return text;
}

inline std::string iso_now() {
    g_autoptr(GDateTime) now = g_date_time_new_now_local();
    return iso_time(now);
}

} // namespace host_events
