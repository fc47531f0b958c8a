#pragma once

namespace console {

/** Binds this process to the one whose id is in KORVEX_STARTER, whatever stands between the two: when that ends, or has
    ended already, this one gets SIGTERM, and if it is still there 5 s later its end is made, with status 143. The end
   of the parent, when that is another one, is a SIGTERM too. Nothing happens when KORVEX_STARTER is unset or empty.

    To be called once, from the main thread, before there are others. Throws std::runtime_error when KORVEX_STARTER is
   no process id. Where the system has no way to watch a process, a line on stderr says so and nothing else happens. */
void end_with_starter();

} // namespace console
