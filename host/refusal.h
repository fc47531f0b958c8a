#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>

namespace console {

/** A wrong use, or what cannot be done here: one sentence for the user, and exit status 1. */
class Refusal : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** The end with this exit status, and no word: whoever knows why has said it. */
struct Ending {
    int status = 0;
};

/** Exit status of a command that was asked to end before its program ran. */
constexpr int asked_status = 143;

/** Progress goes to stderr: stdout belongs to what the command was asked for. */
inline void say(const std::string& sentence) {
    std::fputs((sentence + "\n").c_str(), stderr);
}

} // namespace console
