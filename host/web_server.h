#pragma once

#include "host/places.h"
#include "host/run_options.h"
#include "host/signals.h"
#include "host/web_folder.h"
#include "host/web_rules.h"

#include <sys/types.h>

#include <string>

namespace console {

/** lighttpd before the application, with the rules of web/lighttpd, until this object is destroyed or this process
   ends, however that ends. It gives way to the analysis, however much it has to do. What it says is in web_server.log
   of the state folder. */
class WebServer {
  public:
    /** Returns once it listens: where --listen says, else at the first free port from 8080 on. `environment` is its own
        beside the rules. Throws Refusal, and Ending when this command is asked to end meanwhile. */
    WebServer(const RunOptions& options, const Places& places, const std::string& state, Environment environment,
              Signals& signals);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    std::string address() const { return web_address(m_site); }

  private:
    bool listens_at(int port, Signals& signals);
    void stop();

    const std::string m_log;
    const Environment m_environment;
    WebSite m_site;
    const WebFolder m_folder;
    pid_t m_keeper = 0;
};

} // namespace console
