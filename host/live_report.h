#pragma once

#include "host/problems.h"

#include <functional>
#include <string>

namespace console {

/**
 * Tells what each pass of the live application finds: its problems to the journal, the broker and the console, whether
 * there is video to whoever asks for a picture, and all of it to the pages that listen. Main thread.
 */
class LiveReport {
  public:
    /** `say` gets a line for a person, without a newline. */
    explicit LiveReport(std::function<void(const std::string&)> say) : m_say(std::move(say)) {}

    void after_pass();

  private:
    void tell_of_problems(double now);
    void tell_of_video(std::time_t lost_since);
    void tell_listeners(double now) const;

    std::function<void(const std::string&)> m_say;
    ProblemWatch m_problems;
    bool m_sensors_are_there = false;
    std::string m_video;
};

} // namespace console
