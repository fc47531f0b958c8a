#include "platform/axparameter/parameter_rules.h"

#include "platform/common/settings.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <optional>

namespace host_parameters {
namespace {

constexpr std::array<const char*, 3> alert_seconds = {"Alert1ThreshSeconds", "Alert2ThreshSeconds",
                                                      "Alert3ThreshSeconds"};

std::optional<double> whole_number(const std::string& text) {
    const auto value = platform::parse_number(text, 0, INT_MAX);
    return value ? std::optional(static_cast<double>(*value)) : std::nullopt;
}

std::optional<double> number(const std::string& text) {
    gchar* end = nullptr;
    const double value = g_ascii_strtod(text.c_str(), &end);
    const bool is_one = !text.empty() && !g_ascii_isspace(text[0]) && *end == '\0' && std::isfinite(value);
    return is_one ? std::optional<double>(value) : std::nullopt;
}

std::string in_words(double value) {
    g_autofree gchar* text = g_strdup_printf("%.10g", value);
    return text;
}

std::string range_of(const DeclaredParameter& declared, const std::string& least, const std::string& most) {
    return " from " + (declared.least ? in_words(*declared.least) : least) + " to " +
           (declared.most ? in_words(*declared.most) : most);
}

std::string wanted_number(const DeclaredParameter& declared, std::optional<double> value) {
    if (value && value >= declared.least.value_or(*value) && value <= declared.most.value_or(*value))
        return "";
    if (declared.kind == Kind::integer) {
        const std::string unit = declared.unit.empty() ? "" : ", in " + declared.unit;
        return "a whole number" + range_of(declared, "0", std::to_string(INT_MAX)) + unit;
    }
    return declared.least ? "a number" + range_of(declared, "", "") : "a number, for example 0.400000";
}

std::string wanted_stream(const std::string& text, const std::vector<std::string>& streams) {
    if (text == "0x0" || std::ranges::count(streams, text) > 0)
        return "";
    std::string wanted = "0x0 for none, or one of the camera's streams:";
    for (const std::string& stream : streams)
        wanted += " " + stream;
    return wanted;
}

} // namespace

std::string wanted_instead(const DeclaredParameter& declared, const std::string& text,
                           const std::vector<std::string>& streams) {
    // The camera turns its picture by right angles only; any other number would count as 0.
    const bool turns = text == "0" || text == "90" || text == "180" || text == "270";
    if (declared.name == rotation)
        return turns ? "" : "0, 90, 180 or 270";
    switch (declared.kind) {
    case Kind::integer:
        return wanted_number(declared, whole_number(text));
    case Kind::number:
        return wanted_number(declared, number(text));
    case Kind::boolean:
        return text == "true" || text == "false" ? "" : "true or false";
    case Kind::stream:
        return wanted_stream(text, streams);
    case Kind::text:
        break;
    }
    return "";
}

std::string wrong_order(const std::function<std::string(const std::string&)>& value_of) {
    for (std::size_t i = 1; i < alert_seconds.size(); ++i) {
        const std::string lower = value_of(alert_seconds.at(i - 1));
        const std::string upper = value_of(alert_seconds.at(i));
        if (whole_number(upper).value_or(0) <= whole_number(lower).value_or(0))
            return std::string(alert_seconds.at(i)) + " would be " + upper + " and " + alert_seconds.at(i - 1) + " " +
                   lower + ": each alert needs more seconds than the one below it.";
    }
    return "";
}

} // namespace host_parameters
