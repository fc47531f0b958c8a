#pragma once

#include "tests/web/fastcgi_client.h"
#include "web/fastcgi_service.h"

#include <filesystem>
#include <string>
#include <thread>

/** A service of its own on a socket of its own, served by a thread until it is destroyed. */
class running_service {
  public:
    explicit running_service(const std::filesystem::path& socket, const client_times& times = {});
    ~running_service();
    running_service(const running_service&) = delete;
    running_service& operator=(const running_service&) = delete;

    const std::filesystem::path& socket() const { return m_path; }

    /** The answer to a complete request; a failed test when the request is not finished. */
    std::string ask(const fastcgi_client::parameters& parameters, const std::string& body = "") const;
    /** The same for REQUEST_METHOD GET and this REQUEST_URI. */
    std::string get(const std::string& uri) const;
    /** The same for POST with the body's length as CONTENT_LENGTH. */
    std::string post(const std::string& uri, const std::string& body) const;

  private:
    const std::filesystem::path m_path;
    fastcgi_service m_service;
    std::thread m_thread;
};
