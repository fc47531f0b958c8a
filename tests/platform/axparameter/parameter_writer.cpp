// parameter_writer NAME...: sets 1, 2, 3, ... to each of the names in turn, for ever, and prints "NAME VALUE" after
// each set that returned true. It ends with status 1 and the reason when one fails, and when nobody reads its output
// any more.

#include <axsdk/axparameter.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace {

int give_up(const GError* error) {
    std::fprintf(stderr, "parameter_writer: %s\n", error->message);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    g_autoptr(GError) error = nullptr;
    AXParameter* const parameter = ax_parameter_new("korvex_orvel", &error);
    if (parameter == nullptr)
        return give_up(error);
    for (unsigned value = 1;; ++value) {
        for (int i = 1; i < argc; ++i) {
            if (ax_parameter_set(parameter, argv[i], std::to_string(value).c_str(), TRUE, &error) == FALSE)
                return give_up(error);
            const std::string line = std::string(argv[i]) + " " + std::to_string(value) + "\n";
            if (write(STDOUT_FILENO, line.data(), line.size()) < 0)
                return 0;
        }
    }
}
