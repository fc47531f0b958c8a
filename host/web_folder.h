#pragma once

#include "host/passwords.h"
#include "host/places.h"

#include <optional>
#include <string>

namespace console {

/** What the web server needs, in one folder with the application's socket and the streams': pages, answers to refused
    requests, a place for answers that wait, users. Started by root the server goes on as www-data, with that folder as
    the root of all that it sees: then the pages are copied there, else they are links. All of it goes with this object.
 */
class WebFolder {
  public:
    /** Throws Refusal, or what std::filesystem throws, when it cannot be made. */
    WebFolder(const std::string& path, const Places& places, const std::optional<PasswordFile>& passwords);
    ~WebFolder();
    WebFolder(const WebFolder&) = delete;
    WebFolder& operator=(const WebFolder&) = delete;

    const std::string& path() const { return m_path; }
    const std::string& user() const { return m_user; } ///< as whom the server goes on; empty: as this user

  private:
    void show(const std::string& source, const std::string& name) const;
    void give_to_user(const std::string& name) const;
    void open_to_user() const;
    void remove() const;

    const std::string m_path;
    const std::string m_user;
};

} // namespace console
