#include "platform/axparameter/outage.h"

#include <cstdio>

namespace host_parameters {

void complain(const std::string& sentence) {
    std::fprintf(stderr, "korvex axparameter: %s.\n", sentence.c_str());
}

void Outage::failed(const std::string& reason, bool while_writing) {
    if (!failing_ || while_writing_ != while_writing) {
        complain(reason);
    }
    failing_ = true;
    while_writing_ = while_writing;
}

void Outage::works(bool wrote) {
    failing_ = failing_ && while_writing_ && !wrote;
}

void Outage::given_up() const {
    if (failing_) {
        complain("the camera works with these settings but could not store them, and has to be started again once they "
                 "can be stored");
    }
}

} // namespace host_parameters
