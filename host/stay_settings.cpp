#include "host/stay_settings.h"

#include "platform/common/settings.h"

#include <stdexcept>

namespace console {
namespace {

constexpr std::uint64_t most_days = 36500;
constexpr std::uint64_t most_megabytes = 100000000;
constexpr std::uint64_t bytes_of_megabyte = 1000000;

std::uint64_t number(const char* name, std::uint64_t otherwise, std::uint64_t most) {
    const std::string text = platform::environment(name);
    if (text.empty())
        return otherwise;
    const auto value = platform::parse_number(text, 1, most);
    if (!value) {
        throw std::runtime_error(std::string(name) + " is a number from 1 to " + std::to_string(most) + ", not \"" +
                                 text + "\"");
    }
    return *value;
}

} // namespace

std::optional<StaySettings> stay_settings_from_environment() {
    StaySettings settings;
    settings.state = platform::environment("KORVEX_STAYS");
    if (settings.state.empty())
        return std::nullopt;
    const StayLimits usual;
    settings.limits.days =
        static_cast<int>(number("KORVEX_STAYS_DAYS", static_cast<std::uint64_t>(usual.days), most_days));
    settings.limits.bytes =
        number("KORVEX_STAYS_MB", usual.bytes / bytes_of_megabyte, most_megabytes) * bytes_of_megabyte;
    settings.clips = platform::environment("KORVEX_CLIPS") == "1";
    const std::string hook = platform::environment("KORVEX_WEBHOOK");
    if (!hook.empty()) {
        if (!hook.starts_with("http://") && !hook.starts_with("https://"))
            throw std::runtime_error("KORVEX_WEBHOOK is an http:// or https:// address");
        settings.webhook = {hook, platform::environment("KORVEX_WEBHOOK_CA"), settings.state + "/webhook-queue"};
    }
    settings.pages = platform::environment("KORVEX_MQTT_PAGES");
    return settings;
}

} // namespace console
