#pragma once

#include "host/stay_limits.h"
#include "host/webhook.h"

#include <optional>
#include <string>

namespace console {

/** What a live run is to remember, and whom to tell. */
struct StaySettings {
    std::string state; ///< the state folder
    StayLimits limits;
    bool clips = false; ///< a video of each alert
    std::optional<WebhookSettings> webhook;
    std::string pages; ///< their address, a slash at its end; empty when it is not known
};

/** From KORVEX_STAYS, the state folder, KORVEX_STAYS_DAYS, KORVEX_STAYS_MB, KORVEX_CLIPS ("1"), KORVEX_WEBHOOK,
   KORVEX_WEBHOOK_CA and KORVEX_MQTT_PAGES. Nothing when the first is not set. Throws std::runtime_error with what makes
   no sense. */
std::optional<StaySettings> stay_settings_from_environment();

} // namespace console
