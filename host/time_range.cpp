#include "host/time_range.h"

#include "platform/axevent/timestamp.h"
#include "platform/common/handle.h"

#include <cmath>
#include <regex>
#include <stdexcept>

namespace console {
namespace {

using Moment = platform::Handle<GDateTime, g_date_time_unref>;
using Zone = platform::Handle<GTimeZone, g_time_zone_unref>;

Moment local(double seconds) {
    const auto whole = std::floor(seconds);
    const Moment start(g_date_time_new_from_unix_local(static_cast<gint64>(whole)));
    // No date that GLib knows: the beginning of time says at least that it is none.
    if (start == nullptr)
        return Moment(g_date_time_new_from_unix_local(0));
    return Moment(g_date_time_add(start.get(), std::llround((seconds - whole) * G_USEC_PER_SEC)));
}

double seconds_of(const Moment& moment) {
    return static_cast<double>(g_date_time_to_unix(moment.get())) +
           static_cast<double>(g_date_time_get_microsecond(moment.get())) / G_USEC_PER_SEC;
}

/** The midnight with which the day begins that is so many days after today's. */
double midnight(int days) {
    const Moment now(g_date_time_new_now_local());
    const Moment day(g_date_time_add_days(now.get(), days));
    const Moment start(g_date_time_new_local(g_date_time_get_year(day.get()), g_date_time_get_month(day.get()),
                                             g_date_time_get_day_of_month(day.get()), 0, 0, 0.0));
    return seconds_of(start);
}

bool is_date(const std::string& text) {
    return std::regex_match(text, std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2}"));
}

std::string shown(const std::string& text) {
    constexpr size_t enough = 60;
    return "\"" + text.substr(0, enough) + "\"";
}

double needed(const std::string& text) {
    const std::optional<double> moment = parse_moment(text);
    if (!moment) {
        throw std::runtime_error(shown(text) + " is no time; it is to be a date like 2026-11-22, or a time like "
                                               "2026-11-22T08:35 with or without a zone such as +01:00.");
    }
    return *moment;
}

} // namespace

std::optional<double> parse_moment(const std::string& text) {
    // In a query a plus that was not escaped arrives as a blank.
    static const std::regex form("([0-9]{4}-[0-9]{2}-[0-9]{2})"
                                 "(T([0-9]{2}:[0-9]{2})(:[0-9]{2}([.,][0-9]{1,9})?)?(Z|[+ -][0-9]{2}:?[0-9]{2})?)?");
    constexpr size_t longest = 40;
    std::smatch parts;
    if (text.size() > longest || !std::regex_match(text, parts, form))
        return std::nullopt;
    const std::string time = parts[3].matched ? parts[3].str() : "00:00";
    const std::string second = parts[4].matched ? parts[4].str() : ":00";
    std::string zone = parts[6].str();
    if (zone.starts_with(' '))
        zone.front() = '+';
    const Zone here(g_time_zone_new_local());
    const Moment moment(
        g_date_time_new_from_iso8601((parts[1].str() + "T" + time + second + zone).c_str(), here.get()));
    return moment != nullptr ? std::optional(seconds_of(moment)) : std::nullopt;
}

TimeRange range_between(const std::string& from, const std::string& to) {
    TimeRange range;
    range.from = from.empty() ? midnight(0) : needed(from);
    range.to = to.empty() ? midnight(1) : needed(to);
    if (range.to <= range.from) {
        throw std::runtime_error("The time is to begin before it ends: " + iso_text(range.from) + " is not before " +
                                 iso_text(range.to) + ".");
    }
    return range;
}

TimeRange parse_range(const std::string& text) {
    const size_t dots = text.find("..");
    if (dots != std::string::npos)
        return range_between(text.substr(0, dots), text.substr(dots + 2));
    if (!is_date(text)) {
        throw std::runtime_error(shown(text) + " is no range of time; it is to be FROM..TO, like "
                                               "2026-11-22..2026-11-23, or one date.");
    }
    const double begin = needed(text);
    const Moment day = local(begin);
    const Moment next(g_date_time_add_days(day.get(), 1));
    return {begin, seconds_of(next)};
}

std::string iso_text(double moment) {
    return host_events::iso_time(local(moment).get());
}

std::string plain_text(double moment) {
    g_autofree gchar* text = g_date_time_format(local(moment).get(), "%Y-%m-%d %H:%M:%S");
    return text;
}

} // namespace console
