#include "platform/axparameter/outage.h"

#include "platform/axparameter/failure.h"
#include "platform/axparameter/host_parameters.h"

#include <atomic>

namespace host_parameters {
namespace {

// Of the process: the application opens a store anew for each save, and each has an outage of its own.
std::atomic<std::time_t> failing_from{0};
std::atomic<bool> fails_while_writing{false};

} // namespace

std::time_t failing_since() {
    return failing_from;
}

void Outage::failed(const std::string& reason, bool while_writing) {
    if (!m_failing || m_while_writing != while_writing)
        complain(reason);
    std::time_t never = 0;
    failing_from.compare_exchange_strong(never, std::time(nullptr));
    fails_while_writing = while_writing;
    m_failing = true;
    m_while_writing = while_writing;
}

void Outage::works(bool wrote) {
    m_failing = m_failing && m_while_writing && !wrote;
    if (wrote || !fails_while_writing)
        failing_from = 0;
}

void Outage::given_up() const {
    if (m_failing)
        complain("the camera works with these settings but could not store them, and has to be started again once they "
                 "can be stored");
}

} // namespace host_parameters
