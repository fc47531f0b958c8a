#pragma once

#include "host/child.h"
#include "host/signals.h"

#include <string>

namespace console {

/** Runs the program in a state folder, where it finds a camera's fixed paths: `state`/package, and `state`/html, where
    the pages' sockets are. They exist for the program alone, in a private view of the file system that bubblewrap
   makes. Where that cannot be made, root gets the real paths until the end, and a sentence says so; others are refused.
   Gives the program's status, and asks it to end when this command is asked to (supervise.h). */
int run_in_camera(Program program, const std::string& state, Signals& signals);

} // namespace console
