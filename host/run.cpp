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
#include <sstream>

namespace console {
namespace {

namespace fs = std::filesystem;

constexpr int usual_niceness = -5;
constexpr const char* landscape_model = "detect_960_540.tflite";
constexpr const char* portrait_model = "detect_540_960.tflite";
constexpr const char* rotation = "root.Image.I0.Appearance.Rotation";

/** What a live run and a replay have in common, once the state folder is there. */
class Run {
  public:
    Run(const RunOptions& options, const Places& places, const std::string& state, Signals& signals)
        : m_options(options), m_places(places), m_state(state), m_signals(signals),
          m_environment(with_options(own_environment(), options)) {
        m_environment["KORVEX_AXPARAMETER_STORE"] = state + "/parameters.sqlite";
        m_environment["KORVEX_AXPARAMETER_MANIFEST"] = places.manifest;
        m_environment["KORVEX_STAYS"] = state;
        m_environment["KORVEX_AXEVENT_JOURNAL"] = state + "/events.jsonl";
        // The application ends with this command, whatever stands between the two.
        m_environment["KORVEX_STARTER"] = std::to_string(getpid());
        if (!places.inference_library.empty())
            m_environment.emplace("KORVEX_LAROD_LIBRARY", places.inference_library);
    }

    Environment& environment() { return m_environment; }

    /** Changes what is to be changed, and finds out whether the store, the model and the video can be used. */
    void prepare() {
        std::vector<std::string> wishes = m_options.settings;
        if (m_options.accepts_eula)
            wishes.push_back("EulaAccepted=true");
        if (m_options.settings_file.empty())
            set(wishes);
        else
            set_from_file(wishes);
        install_model();
        check_video();
    }

    /** Its value in the store. */
    std::string parameter(const std::string& name) { return output_of(program({m_places.parameter, name}), m_signals); }

    /** A program that records what is to be recorded. */
    Program recorder(std::vector<std::string> command) const {
        if (!m_options.record.empty())
            command.insert(command.end(), {"--record", m_options.record});
        if (!m_options.stream.empty())
            command.insert(command.end(), {"--stream", m_options.stream});
        return program(std::move(command));
    }

  private:
    Program program(std::vector<std::string> command) const {
        Program program;
        program.command = std::move(command);
        program.environment = m_environment;
        return program;
    }

    void need(const std::vector<std::string>& command) {
        if (run_to_end(program(command), m_signals) != 0)
            throw Ending{1};
    }

    void set(const std::vector<std::string>& wishes) {
        std::vector<std::string> command = {m_places.parameter};
        command.insert(command.end(), wishes.begin(), wishes.end());
        need(command);
    }

    /** What the file holds depends on the period, which may be among the wishes; and they win over the file. */
    void set_from_file(const std::vector<std::string>& wishes) {
        for (const std::string& wish : wishes) {
            if (wish.starts_with("MainLoopTime="))
                set({wish});
        }
        std::istringstream lines(output_of(
            program({m_places.settings, m_options.settings_file, parameter("MainLoopTime"), parameter(rotation)}),
            m_signals));
        std::vector<std::string> all;
        for (std::string line; std::getline(lines, line);)
            all.push_back(line);
        all.insert(all.end(), wishes.begin(), wishes.end());
        set(all);
    }

    /** Another model serves both of the names under which the application looks: it opens the one that suits the
        picture's rotation, and the model must be of that shape. A file that has rotted, the default one as well, would
        detect nonsense. */
    void install_model() {
        const bool is_own = !m_options.model.empty() && m_options.model != "fast";
        const std::string folder = m_places.models + (m_options.model == "fast" ? "/fast/" : "/");
        for (const char* name : {landscape_model, portrait_model}) {
            const fs::path link = fs::path(m_state) / "package" / name;
            fs::remove(link);
            fs::create_symlink(is_own ? m_options.model : folder + name, link);
        }
        const std::string degrees = parameter(rotation);
        const bool is_portrait = degrees == "90" || degrees == "270";
        const char* name = is_portrait ? portrait_model : landscape_model;
        std::vector<std::string> command = {m_places.check_model, is_own ? m_options.model : folder + name};
        if (is_portrait)
            command.push_back("--portrait");
        need(command);
    }

    /** A broken file would only show as a failed set-up, pass after pass. A camera may come later. */
    void check_video() {
        const std::string& source = m_options.source;
        const bool is_camera = source.starts_with("/dev/") && !fs::is_regular_file(source);
        if (!m_options.source_file.empty() || !(is_network_address(source) || is_camera))
            need({m_places.check_video});
    }

    const RunOptions& m_options;
    const Places& m_places;
    const std::string m_state;
    Signals& m_signals;
    Environment m_environment;
};

/** Without the password that an address may carry, before the host or among what follows it. */
std::string shown(const std::string& source) {
    if (!is_network_address(source))
        return source;
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
    if (!options.seconds.empty())
        command.insert(command.end(), {"--seconds", options.seconds});
    Program replay = run.recorder(command);
    platform::Descriptor lines;
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
    if (!fs::is_directory(options.state, ignored))
        throw Refusal("there is no state folder \"" + options.state + "\"; --state says where the stays are kept.");
    Program stays;
    stays.command = {places.stays, full_path(options.state), options.stays};
    stays.environment = own_environment();
    platform::Descriptor lines;
    if (!options.json.empty()) {
        lines = open_output(options.json, users_mask);
        stays.out = lines.get();
        stays.command.push_back("--json");
    }
    become(stays);
}

} // namespace

RunOptions checked_options(int argc, char** argv) {
    RunOptions options = parse_run_options(argc, argv);
    return options.wants_help ? options : checked(options);
}

int run(int argc, char** argv) {
    RunOptions options = checked_options(argc, argv);
    if (options.wants_help) {
        std::fputs(help_text, stdout);
        return 0;
    }
    const Places places = own_places();
    if (options.state.empty())
        options.state = places.state;
    if (!options.inference_service.empty())
        become_inference_service(options, places);
    const mode_t users_mask = umask(077);
    if (!options.stays.empty())
        show_stays(options, places, users_mask);
    Signals signals;
    return options.replay.empty() ? run_live(options, places, users_mask, signals)
                                  : run_replay(options, places, users_mask, signals);
}

} // namespace console
