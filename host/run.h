#pragma once

#include "host/run_options.h"

namespace console {

/** The options, with what run_checks.h says of them unless help is asked for. Throws Refusal. */
RunOptions checked_options(int argc, char** argv);

/** `./run` once packages, model and programs are there: reads the options, and then runs the application, a replay, or
    the inference service until it ends or is asked to. Gives the exit status. Throws Refusal, Ending, or what the
    standard library throws. */
int run(int argc, char** argv);

} // namespace console
