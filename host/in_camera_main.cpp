// korvex_in_camera FOLDER PROGRAM [ARGUMENT...]: runs a program in a state folder, where it finds a camera's fixed
// paths: FOLDER/package and FOLDER/html. For tests and benchmarks of the application's own functions.

#include "host/files.h"
#include "host/in_camera.h"
#include "host/refusal.h"

#include <exception>

int main(int argc, char** argv) {
    try {
        if (argc < 3)
            throw console::Refusal("it takes a state folder, a program and the program's arguments.");
        console::Signals signals;
        console::Program program;
        program.command.assign(argv + 2, argv + argc);
        program.command[0] = console::full_path(program.command[0]);
        program.environment = console::own_environment();
        return console::run_in_camera(program, console::full_path(argv[1]), signals);
    } catch (const console::Ending& ending) {
        return ending.status;
    } catch (const std::exception& problem) {
        console::say(std::string("in_camera: ") + problem.what());
        return 1;
    }
}
