#include "platform/axparameter/outage.h"

#include "platform/axparameter/failure.h"

namespace host_parameters {

void Outage::failed(const std::string& reason, bool while_writing) {
    if (!m_failing || m_while_writing != while_writing)
        complain(reason);
    m_failing = true;
    m_while_writing = while_writing;
}

void Outage::works(bool wrote) {
    m_failing = m_failing && m_while_writing && !wrote;
}

void Outage::given_up() const {
    if (m_failing)
        complain("the camera works with these settings but could not store them, and has to be started again once they "
                 "can be stored");
}

} // namespace host_parameters
