// korvex_run: what `./run` becomes once all that it needs is there, and what an installed package starts. host/help.txt
// tells its options. Exit status: the application's own; 1 after a sentence about what is wrong; 143 when it was asked
// to end before the application ran. With --only-check before the other words it only looks at them, and says what is
// wrong with them.

#include "host/refusal.h"
#include "host/run.h"

#include <exception>
#include <filesystem>
#include <string>

int main(int argc, char** argv) {
    try {
        if (argc > 1 && std::string(argv[1]) == "--only-check") {
            argv[1] = argv[0];
            console::checked_options(argc - 1, argv + 1);
            return 0;
        }
        return console::run(argc, argv);
    } catch (const console::Ending& ending) {
        return ending.status;
    } catch (const std::exception& problem) {
        // The name that was typed.
        console::say(std::filesystem::path(argv[0]).filename().string() + ": " + problem.what());
        return 1;
    }
}
