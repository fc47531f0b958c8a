#pragma once

#include "host/environment.h"
#include "host/signals.h"

#include <sys/types.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

namespace console {

/** A program, and how it is to run. */
struct Program {
    std::vector<std::string> command; ///< a path, or a name that PATH leads to, and the arguments
    Environment environment;
    std::string folder; ///< where it runs; empty: here
    int out = STDOUT_FILENO;
    int err = STDERR_FILENO;
    int kept = -1; ///< a descriptor that it has beside these
    /** In a session of its own, with nothing to read: a Ctrl-C reaches this command alone. Some kernels share the
       processors among sessions first, and niceness counts within one only. */
    bool is_apart = false;
    std::optional<int> niceness; ///< below 0 only for those who may; for others it changes nothing
};

/** Starts it and gives its process id. It gets SIGTERM when this process ends, however that ends. Where it cannot be
   run it says so on its standard error and ends with status 127. Throws Refusal when no process can be made. */
pid_t start(const Program& program);

/** The status of a process of this one once it has ended, as a shell counts: its own, or 128 and a signal's number. */
std::optional<int> status_of_ended(pid_t process);

/** Runs it to its end and gives its status. Throws Ending when the end of this command is asked for meanwhile: then the
    program is ended first. */
int run_to_end(const Program& program, Signals& signals);

/** What it prints, without line ends at its end. Throws Ending when it fails, and as run_to_end does. */
std::string output_of(Program program, Signals& signals);

/** This process has a session of its own from now on, and nothing to read. */
void set_apart();

/** This process gives way, or does not, as `niceness` says; its session too. */
void set_niceness(int niceness);

/** This process gets SIGTERM when `parent` ends, which made it; it ends now when that has happened already. */
void end_with_parent(pid_t parent);

/** Makes a child of this process; 0 in the child. Throws Refusal when there cannot be one. */
pid_t make_child();

/** In a child: becomes the program. */
[[noreturn]] void become(const Program& program) noexcept;

} // namespace console
