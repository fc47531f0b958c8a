#include "platform/axparameter/outage.h"

#include "platform/axparameter/failure.h"

namespace host_parameters {

void Outage::failed(const std::string& reason, bool while_writing) {
    if (!failing_ || while_writing_ != while_writing)
        complain(reason);
    failing_ = true;
    while_writing_ = while_writing;
}

void Outage::works(bool wrote) {
    failing_ = failing_ && while_writing_ && !wrote;
}

void Outage::given_up() const {
    if (failing_)
        complain("the camera works with these settings but could not store them, and has to be started again once they "
                 "can be stored");
}

} // namespace host_parameters
