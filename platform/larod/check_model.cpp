// Tells whether the application can use a model file: exit status 0, or 1 with a sentence on stderr.
//     korvex_check_model MODEL [--portrait]

#include "platform/larod/model_fit.h"

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int count, char** arguments) {
    const bool portrait = count == 3 && std::string(arguments[2]) == "--portrait";
    if (count != 2 && !portrait) {
        std::fputs("Usage: korvex_check_model MODEL [--portrait]\n", stderr);
        return 1;
    }
    setenv("KORVEX_LAROD_SECONDS", "60", 0); // nobody's pass waits, and the machine may have other things to do
    const std::string why =
        korvex::larod::why_model_does_not_fit(arguments[1], portrait ? 540 : 960, portrait ? 960 : 540);
    if (why.empty())
        return 0;
    std::fprintf(stderr, "%s: %s\n", arguments[1], why.c_str());
    return 1;
}
