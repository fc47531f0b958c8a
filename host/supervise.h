#pragma once

#include "host/child.h"
#include "host/signals.h"

#include <chrono>

namespace console {

/** Runs a program to its end and gives its status. Asked to end, this command asks the program once, by SIGTERM; one
   that has not ended after `patience` is killed, and a sentence says so. */
int supervise(const Program& program, Signals& signals, std::chrono::milliseconds patience = std::chrono::seconds(5));

/** The same for a program behind a private view of the file system: the command is bwrap's, and the program is asked
    itself, once bwrap has told its process id. */
int supervise_behind_view(Program bwrap, Signals& signals,
                          std::chrono::milliseconds patience = std::chrono::seconds(5));

} // namespace console
