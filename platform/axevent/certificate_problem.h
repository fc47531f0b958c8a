#pragma once

#include "platform/axevent/mqtt_settings.h"

#include <openssl/x509.h>

#include <string>

namespace host_events {

/** What is wrong with the broker's certificate, in words. REQUIRES: X509_verify_cert refused it. */
std::string certificate_problem(X509_STORE_CTX* store, const MqttSettings& settings);

} // namespace host_events
