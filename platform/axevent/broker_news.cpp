#include "platform/axevent/broker_news.h"

#include "platform/axevent/complain.h"

namespace host_events {

BrokerNews::BrokerNews(const MqttSettings& settings)
    : m_broker("the broker " + settings.host + ":" + std::to_string(settings.port)) {}

void BrokerNews::away(const std::string& problem, bool distrusted) {
    // What the network says of an absence changes from try to try and means nothing new.
    if (!m_said.insert(distrusted ? problem : "").second) {
        return;
    }
    complain(distrusted ? m_broker + " is not trusted: " + problem + "; changes wait until it is"
                        : m_broker + " is away (" + problem + "); changes wait for it");
}

void BrokerNews::back(std::size_t waiting_changes) {
    if (!m_said.empty()) {
        complain("the broker is there again; " + std::to_string(waiting_changes) + " changes waited");
    }
    m_said.clear();
}

} // namespace host_events
