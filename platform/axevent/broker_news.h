#pragma once

#include "platform/axevent/mqtt_settings.h"

#include <cstddef>
#include <set>
#include <string>

namespace host_events {

/** What is said on stderr of the broker's coming and going: each thing once an outage. One thread. */
class BrokerNews {
  public:
    explicit BrokerNews(const MqttSettings& settings);

    /** `distrusted`: the broker is there, but its certificate is not what it should be. */
    void away(const std::string& problem, bool distrusted);
    void back(std::size_t waiting_changes);

  private:
    const std::string m_broker;
    std::set<std::string> m_said;
};

} // namespace host_events
