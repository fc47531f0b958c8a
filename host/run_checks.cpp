#include "host/run_checks.h"

#include "host/files.h"
#include "host/listen_address.h"
#include "host/passwords.h"
#include "host/refusal.h"

#include <unistd.h>

#include <filesystem>

namespace console {
namespace {

namespace fs = std::filesystem;

constexpr const char* scene = "scene";
constexpr const char* seconds_of_scene = "90"; // which never ends by itself

void need(bool is_right, const std::string& sentence) {
    if (!is_right)
        throw Refusal(sentence);
}

void check_source_file(RunOptions& options) {
    const std::string& file = options.source_file;
    need(options.source == scene, "--source and --source-file name the video twice; leave one of them out.");
    need(is_readable_file(file), "the file \"" + file + "\" with the video's address cannot be read.");
    std::string address = first_line(contents_of(file));
    if (address.ends_with('\r'))
        address.pop_back();
    need(is_network_address(address) && !address.ends_with("://"),
         "the first line of \"" + file + "\" is to be an rtsp:// address.");
    options.source = address;
    options.source_file = full_path(file);
}

void check_replay(RunOptions& options) {
    const std::string& replay = options.replay;
    if (replay.empty()) {
        need(options.seconds.empty(), "--seconds belongs to --replay.");
        need(options.json.empty() || !options.stays.empty(), "--json belongs to --replay or --stays.");
        return;
    }
    need(options.stays.empty(), "--replay and --stays are two things; leave one of them out.");
    need(options.keep_days.empty() && options.keep_mb.empty() && !options.keeps_clips,
         "a replay keeps no stays; leave --keep-... and --clips out.");
    need(options.niceness.empty(), "a replay waits for nobody; leave --niceness out, or start it with nice.");
    need(options.listen.empty() && options.name.empty() && options.password_file.empty() && options.certificate.empty(),
         "a replay has no pages; leave --listen, --name, --password-file and --certificate out.");
    need(options.source == scene, "--replay names the video itself; leave --source and --source-file out.");
    need(!is_network_address(replay) && !replay.starts_with("/dev/video"),
         "--replay needs a video file or scene: " + replay + " has no time of its own.");
    options.source = replay;
    if (options.source == scene && options.seconds.empty())
        options.seconds = seconds_of_scene;
}

void check_source(RunOptions& options) {
    std::string& source = options.source;
    if (source == scene || is_network_address(source))
        return;
    std::error_code ignored;
    const fs::file_status status = fs::status(source, ignored);
    need(fs::exists(status),
         "there is no video \"" + source + "\"; --source takes scene, a file, an rtsp:// address or a camera.");
    need(euidaccess(source.c_str(), R_OK) == 0 && (fs::is_regular_file(status) || fs::is_character_file(status)),
         "the video \"" + source + "\" cannot be read.");
    source = full_path(source);
}

void check_inference(RunOptions& options) {
    if (!options.inference.empty()) {
        std::error_code ignored;
        need(fs::is_socket(options.inference, ignored), "no inference service listens at \"" + options.inference +
                                                            "\"; start it with ./run --inference-service SOCKET.");
        options.inference = full_path(options.inference);
    }
}

void check_model(RunOptions& options) {
    if (!options.model.empty() && options.model != "fast") {
        need(is_readable_file(options.model), "the model \"" + options.model + "\" is no file that can be read.");
        options.model = full_path(options.model);
    }
}

void check_web(RunOptions& options) {
    std::string& certificate = options.certificate;
    if (!certificate.empty()) {
        need(is_readable_file(certificate), "the certificate \"" + certificate + "\" is no file that can be read.");
        const std::string text = contents_of(certificate);
        need(text.find("PRIVATE KEY-----") != std::string::npos &&
                 text.find("-----BEGIN CERTIFICATE-----") != std::string::npos,
             "the certificate \"" + certificate + "\" is to hold a private key and a certificate, both in PEM form.");
        certificate = full_path(certificate);
    }
    if (!options.password_file.empty()) {
        read_passwords(options.password_file, !certificate.empty());
        return;
    }
    need(is_loopback(listen_address(options.listen).host),
         "--listen " + options.listen +
             " lets others reach the camera's picture and settings; give a --password-file with a line "
             "user:password.");
}

void check_mqtt(RunOptions& options) {
    std::string& password = options.mqtt_password_file;
    std::string& authority = options.mqtt_ca;
    if (options.mqtt.empty()) {
        need(options.mqtt_user.empty() && password.empty() && authority.empty() && options.mqtt_prefix.empty(),
             "the --mqtt-... options belong to --mqtt HOST:PORT.");
        return;
    }
    need(options.replay.empty(), "--mqtt is for what happens now, not for a replay.");
    if (!password.empty()) {
        need(!options.mqtt_user.empty(), "--mqtt-password-file needs --mqtt-user.");
        need(is_readable_file(password), "the password file \"" + password + "\" cannot be read.");
        password = full_path(password);
    }
    if (!authority.empty()) {
        need(is_readable_file(authority), "the certificate file \"" + authority + "\" cannot be read.");
        authority = full_path(authority);
    }
}

void check_webhook(RunOptions& options) {
    std::string& authority = options.webhook_ca;
    need(options.webhook.empty() || options.replay.empty(), "--webhook is for what happens now, not for a replay.");
    if (!authority.empty()) {
        need(options.webhook.starts_with("https://"), "--webhook-ca belongs to a --webhook of https.");
        need(is_readable_file(authority), "the certificate file \"" + authority + "\" cannot be read.");
        authority = full_path(authority);
    }
}

void check_record(RunOptions& options) {
    std::string& record = options.record;
    if (record.empty()) {
        need(options.stream.empty(), "--stream says what --record records.");
        need(!options.overwrites, "--overwrite lets --record replace a file.");
        return;
    }
    need(record.ends_with(".mp4"), "--record writes an MP4 file; \"" + record + "\" must end in .mp4.");
    const fs::path named = fs::path(record).parent_path();
    const fs::path folder = named.empty() ? "." : named;
    std::error_code ignored;
    need(fs::is_directory(folder, ignored), "there is no folder \"" + folder.string() + "\" for the recording.");
    need(options.overwrites || !fs::exists(record, ignored),
         "\"" + record + "\" is there already; give the recording another name, or --overwrite.");
    need(can_write(record), "\"" + record + "\" cannot be written.");
    record = full_path(record);
}

} // namespace

bool is_network_address(const std::string& source) {
    return source.starts_with("rtsp://") || source.starts_with("rtsps://");
}

RunOptions checked(RunOptions options) {
    if (!options.source_file.empty())
        check_source_file(options);
    check_replay(options);
    check_source(options);
    check_inference(options);
    if (!options.settings_file.empty()) {
        need(is_readable_file(options.settings_file),
             "the settings file \"" + options.settings_file + "\" cannot be read.");
        options.settings_file = full_path(options.settings_file);
    }
    check_model(options);
    check_web(options);
    check_mqtt(options);
    check_webhook(options);
    check_record(options);
    need(options.json.empty() || can_write(options.json), "\"" + options.json + "\" cannot be written.");
    return options;
}

} // namespace console
