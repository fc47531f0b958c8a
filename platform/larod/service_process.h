#pragma once

#include "platform/common/descriptor.h"

#include <sys/types.h>

#include <string>

namespace korvex::larod {

using platform::Descriptor;

/** The inference service of this application alone: a child process, ended with the object at the latest. */
class ServiceProcess {
  public:
    ServiceProcess() = default;
    ~ServiceProcess() { end(); }
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    /** Starts it; gives the socket that it serves, or none with what is wrong in `why`. REQUIRES: none runs. */
    Descriptor start(std::string& why);
    /** Ends it at once, whatever it does. */
    void end();

  private:
    pid_t m_process = -1;
};

} // namespace korvex::larod
