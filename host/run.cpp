#include "host/run.h"

#include "help_text.h"
#include "host/child.h"
#include "host/files.h"
#include "host/in_camera.h"
#include "host/output_file.h"
#include "host/places.h"
#include "host/refusal.h"
#include "host/run_checks.h"
#include "host/run_options.h"
#include "host/state_folder.h"
#include "host/web_server.h"

#include <sys/stat.h>

#include <filesystem>
#include <optional>

namespace console {
namespace {

namespace fs = std::filesystem;

constexpr int usual_niceness = -5;
constexpr const char* landscape_model = "detect_960_540.tflite";
constexpr const char* portrait_model = "detect_540_960.tflite";

/** What a live run and a replay have in common, once the state folder is there. */
class Run {
  public:
    Run(const RunOptions& options, const Places& places, const std::string& state, Signals& signals)
        : options_(options), places_(places), state_(state), signals_(signals),
          environment_(with_options(own_environment(), options)) {
        environment_["KORVEX_AXPARAMETER_STORE"] = state + "/parameters.sqlite";
        environment_["KORVEX_AXPARAMETER_MANIFEST"] = places.manifest;
        environment_["KORVEX_STAYS"] = state;
        environment_["KORVEX_AXEVENT_JOURNAL"] = state + "/events.jsonl";
        // The application ends with this command, whatever stands between the two.
        environment_["KORVEX_STARTER"] = std::to_string(getpid());
        if (!places.inference_library.empty()) {
            environment_.emplace("KORVEX_LAROD_LIBRARY", places.inference_library);
        }
    }

    Environment& environment() { return environment_; }

    /** Changes what is to be changed, and finds out whether the store, the model and the video can be used. */
    void prepare() {
        std::vector<std::string> command = {places_.parameter};
        command.insert(command.end(), options_.settings.begin(), options_.settings.end());
        if (options_.accepts_eula) {
            command.push_back("EulaAccepted=true");
        }
        need(command);
        install_model();
        check_video();
    }

    /** Its value in the store. */
    std::string parameter(const std::string& name) { return output_of(program({places_.parameter, name}), signals_); }

    /** A program that records what is to be recorded. */
    Program recorder(std::vector<std::string> command) const {
        if (!options_.record.empty()) {
            command.insert(command.end(), {"--record", options_.record});
        }
        if (!options_.stream.empty()) {
            command.insert(command.end(), {"--stream", options_.stream});
        }
        return program(std::move(command));
    }

  private:
    Program program(std::vector<std::string> command) const {
        Program program;
        program.command = std::move(command);
        program.environment = environment_;
        return program;
    }

    void need(const std::vector<std::string>& command) {
        if (run_to_end(program(command), signals_) != 0) {
            throw Ending{1};
        }
    }

    /** Another model serves both of the names under which the application looks: it opens the one that suits the
        picture's rotation, and the model must be of that shape. A file that has rotted, the default one as well, would
        detect nonsense. */
    void install_model() {
        const bool is_own = !options_.model.empty() && options_.model != "fast";
        const std::string folder = places_.models + (options_.model == "fast" ? "/fast/" : "/");
        for (const char* name : {landscape_model, portrait_model}) {
            const fs::path link = fs::path(state_) / "package" / name;
            fs::remove(link);
            fs::create_symlink(is_own ? options_.model : folder + name, link);
        }
        const std::string rotation = parameter("root.Image.I0.Appearance.Rotation");
        const bool is_portrait = rotation == "90" || rotation == "270";
        const char* name = is_portrait ? portrait_model : landscape_model;
        std::vector<std::string> command = {places_.check_model, is_own ? options_.model : folder + name};
        if (is_portrait) {
            command.push_back("--portrait");
        }
        need(command);
    }

    /** A broken file would only show as a failed set-up, pass after pass. A camera may come later. */
    void check_video() {
        const std::string& source = options_.source;
        const bool is_camera = source.starts_with("/dev/") && !fs::is_regular_file(source);
        if (!options_.source_file.empty() || !(is_network_address(source) || is_camera)) {
            need({places_.check_video});
        }
    }

    const RunOptions& options_;
    const Places& places_;
    const std::string state_;
    Signals& signals_;
    Environment environment_;
};

/** Without the password that an address may carry, before the host or among what follows it. */
std::string shown(const std::string& source) {
    if (!is_network_address(source)) {
        return source;
    }
    const size_t at = source.rfind('@');
    const std::string address = at == std::string::npos ? source : source.substr(at + 1);
    return address.substr(0, address.find('?'));
}

int run_live(const RunOptions& options, const Places& places, mode_t users_mask, Signals& signals) {
    const StateFolder state(options.state);
    Run run(options, places, state.path(), signals);
    run.prepare();
    if (run.parameter("EulaAccepted") != "true") {
        say("The end-user agreement has not been accepted, so nothing is analysed (status 408). To accept it: on its "
            "pages, or ./run --accept-eula");
    }
    Environment for_server = run.environment();
    // It is not to know what only the application needs to: an address may hold a password.
    for_server.erase("KORVEX_VDO_SOURCE");
    for_server.erase("KORVEX_WEBHOOK");
    const WebServer server(options, places, state.path(), for_server, signals);
    // From the state folder, in which the application runs: a socket's path is limited to 107 bytes.
    run.environment()["KORVEX_OVERLAY_LISTEN"] = "unix:html/streams.socket";
    run.environment()["KORVEX_MQTT_PAGES"] = server.address();
    const RecordingFile recording(options.record, users_mask);
    say("Its pages are at " + server.address());
    say("Korvex Orvel watches " + shown(options.source) + "; settings and log are in " + state.path() +
        ". Ctrl-C ends it.");
    Program live = run.recorder({places.live});
    live.niceness = options.niceness.empty() ? usual_niceness : std::stoi(options.niceness);
    const int status = run_in_camera(live, state.path(), signals);
    // With status 0 it was asked to end by others, or nobody reads its lines any more.
    if (!signals.asked() && status != 0) {
        const std::string log = state.path() + "/localdata/OrvelLog.txt";
        say("The application ended by itself with status " + std::to_string(status) +
            (fs::exists(log) ? "; its log is " + log : std::string()) + ".");
    }
    return status;
}

/** With a state of its own: a replay neither sees nor changes what is kept. */
int run_replay(RunOptions options, const Places& places, mode_t users_mask, Signals& signals) {
    options.accepts_eula = true;
    const PassingFolder folder(options.state);
    const StateFolder state(folder.path());
    Run run(options, places, state.path(), signals);
    run.prepare();
    const RecordingFile recording(options.record, users_mask);
    run.environment().erase("KORVEX_MQTT"); // its alerts are nobody else's
    say("Replaying " + options.source + " in its own time.");
    std::vector<std::string> command = {places.replay};
    if (!options.seconds.empty()) {
        command.insert(command.end(), {"--seconds", options.seconds});
    }
    Program replay = run.recorder(command);
    Descriptor lines;
    if (!options.json.empty()) {
        lines = open_output(options.json, users_mask);
        replay.out = lines.get();
    }
    return run_in_camera(replay, state.path(), signals);
}

[[noreturn]] void become_inference_service(const RunOptions& options, const Places& places) {
    Program service;
    service.command = {places.inference_service, "--listen", full_path(options.inference_service)};
    service.environment = with_options(own_environment(), options);
    become(service);
}

/** What is kept, whether or not the camera runs; nothing is started for it and nothing made. */
[[noreturn]] void show_stays(const RunOptions& options, const Places& places, mode_t users_mask) {
    std::error_code ignored;
    if (!fs::is_directory(options.state, ignored)) {
        throw Refusal("there is no state folder \"" + options.state + "\"; --state says where the stays are kept.");
    }
    Program stays;
    stays.command = {places.stays, full_path(options.state), options.stays};
    stays.environment = own_environment();
    Descriptor lines;
    if (!options.json.empty()) {
        lines = open_output(options.json, users_mask);
        stays.out = lines.get();
        stays.command.push_back("--json");
    }
    become(stays);
}

} // namespace

int run(int argc, char** argv) {
    RunOptions options = parse_run_options(argc, argv);
    if (options.wants_help) {
        std::fputs(help_text, stdout);
        return 0;
    }
    options = checked(options);
    const Places places = own_places();
    if (options.state.empty()) {
        options.state = places.state;
    }
    if (!options.inference_service.empty()) {
        become_inference_service(options, places);
    }
    const mode_t users_mask = umask(077);
    if (!options.stays.empty()) {
        show_stays(options, places, users_mask);
    }
    Signals signals;
    return options.replay.empty() ? run_live(options, places, users_mask, signals)
                                  : run_replay(options, places, users_mask, signals);
}

} // namespace console
