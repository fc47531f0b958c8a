#pragma once

#include <glib.h>

#include <functional>

namespace console {

/** Calls `look` on the main loop's thread after each pass, in the loop's round that follows it. A pass is noticed by
   the application's timeout source having been armed again; nothing in the application knows of it. */
class PassWatch {
  public:
    explicit PassWatch(std::function<void()> look);
    PassWatch(const PassWatch&) = delete;
    PassWatch& operator=(const PassWatch&) = delete;
    ~PassWatch();

  private:
    GSource* m_source;
};

} // namespace console
