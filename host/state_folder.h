#pragma once

#include "platform/common/descriptor.h"

#include <string>

namespace console {

/** The folder with the settings, the log and the sockets. What is in it is for nobody else's eyes: it is made, or
   closed, so that no other user can enter it. This process then makes its files for nobody else either (umask 077).

    A folder is refused, and stays as it is, that belongs to another user, that is a home or for everybody, that others
    can read and that holds other things than a state, or into which others have written. */
class StateFolder {
  public:
    /** Makes it where it is missing, with html/, package/ and localdata/ in it, and keeps it to this process while this
        object lives. Throws Refusal. */
    explicit StateFolder(const std::string& path);

    const std::string& path() const { return m_path; } ///< absolute, without links

  private:
    std::string m_path;
    platform::Descriptor m_lock;
};

/** A state folder for one replay inside of another one, which it neither sees nor changes; it goes with this object. */
class PassingFolder {
  public:
    /** Throws Refusal, as StateFolder does. */
    explicit PassingFolder(const std::string& outer);
    ~PassingFolder();
    PassingFolder(const PassingFolder&) = delete;
    PassingFolder& operator=(const PassingFolder&) = delete;

    const std::string& path() const { return m_path; }

  private:
    std::string m_path;
};

} // namespace console
