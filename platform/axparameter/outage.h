#pragma once

#include <string>

namespace host_parameters {

/**
 * What is said on stderr of a store that cannot be opened or written, since the application's log has no room for the
 * reason: one sentence when it begins, not one for each call. Belongs to whoever serialises the calls.
 *
 *     fine --failed: said--> failing --works, and for an outage of writing: a write works--> fine
 */
class Outage {
  public:
    /** `while_writing`: the store is open, and may be read. */
    void failed(const std::string& reason, bool while_writing);
    void works(bool wrote);
    /** The application will not write again. Said when that came of a failure. */
    void given_up() const;

  private:
    bool m_failing = false;
    bool m_while_writing = false;
};

} // namespace host_parameters
