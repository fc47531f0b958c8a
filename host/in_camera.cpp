#include "host/in_camera.h"

#include "host/files.h"
#include "host/output_file.h"
#include "host/private_view.h"
#include "host/refusal.h"
#include "host/supervise.h"

#include <sys/stat.h>

namespace console {
namespace {

constexpr mode_t nobody_else = 077;

std::vector<std::string> joined(std::vector<std::string> words, const std::vector<std::string>& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

/** Empty when bwrap can make such a view, else its complaint. */
std::string why_no_view(const std::vector<std::string>& bwrap, const std::string& state, Signals& signals) {
    const std::string complaints = state + "/view.log";
    const platform::Descriptor log = open_output(complaints, nobody_else);
    Program probe;
    probe.command = joined(bwrap, {"true"});
    probe.environment = own_environment();
    probe.err = log.get();
    if (run_to_end(probe, signals) == 0)
        return {};
    const std::string said = first_line(contents_of(complaints));
    return said.empty() ? "bwrap fails without a word" : said;
}

} // namespace

int run_in_camera(Program program, const std::string& state, Signals& signals) {
    const std::vector<Place> places = {{"/mnt/flash/usr/local/packages/korvex_orvel", state + "/package"},
                                       {"/usr/local/packages/korvex_orvel/html", state + "/html"}};
    program.is_apart = true;
    const std::vector<std::string> bwrap = joined({"bwrap"}, view_arguments(places));
    const std::string problem = why_no_view(bwrap, state, signals);
    if (problem.empty()) {
        program.command = joined(joined(bwrap, {"--chdir", state, "--die-with-parent"}), program.command);
        return supervise_behind_view(program, signals);
    }
    if (geteuid() != 0) {
        throw Refusal("this system lets an ordinary user make no private view of the file system (" + problem +
                      "); allow user namespaces or run it as root.");
    }
    say("No private view of the file system can be made here (" + problem +
        "); the real /mnt/flash and /usr/local/packages are used until the end.");
    const RealLinks links(places);
    program.folder = state;
    return supervise(program, signals);
}

} // namespace console
