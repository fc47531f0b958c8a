#pragma once

namespace console {

/** `./run` once packages, model and programs are there: reads the options, and then runs the application, a replay, or
    the inference service until it ends or is asked to. Gives the exit status. Throws Refusal, Ending, or what the
    standard library throws. */
int run(int argc, char** argv);

} // namespace console
