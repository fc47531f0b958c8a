#pragma once

#include "platform/common/descriptor.h"

#include <string>

namespace korvex::larod {

using platform::Descriptor;

/**
 * A Unix socket that listens, in a folder that is this user's alone (made with mode 0700 when it is missing). The
 * file of a service that has died is replaced. Throws std::runtime_error with a sentence. The file is removed with the
 * object.
 */
class ListeningSocket {
  public:
    explicit ListeningSocket(const std::string& path);
    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    int get() const { return m_socket.get(); }

  private:
    const std::string m_path;
    Descriptor m_socket;
};

/** Connected to the service that listens at `path`; none with a sentence in `why`. Does not wait. */
Descriptor connect_to(const std::string& path, std::string& why);

} // namespace korvex::larod
