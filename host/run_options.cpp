#include "host/run_options.h"

#include "host/refusal.h"

#include <glib.h>

namespace console {
namespace {

bool matches(const std::string& text, const std::string& pattern) {
    const auto options = static_cast<GRegexCompileFlags>(G_REGEX_RAW | G_REGEX_DOLLAR_ENDONLY | G_REGEX_DOTALL);
    return g_regex_match_simple(pattern.c_str(), text.c_str(), options, static_cast<GRegexMatchFlags>(0)) != FALSE;
}

[[noreturn]] void refuse_value(const std::string& meaning, const std::string& value) {
    throw Refusal(meaning + ", not \"" + value + "\".");
}

void check_values(const RunOptions& options) {
    for (const Option& option : option_table()) {
        const std::string& value = options.*option.value;
        if (!option.pattern.empty() && !value.empty() && !matches(value, option.pattern))
            refuse_value(option.meaning, value);
    }
    for (const std::string& setting : options.settings)
        if (!matches(setting, "^.+="))
            refuse_value("--set takes NAME=VALUE", setting);
}

std::string needs_value(const std::string& option) {
    return option + " needs a value; ./run --help says which.";
}

gboolean keep(const gchar* name, const gchar* value, gpointer data, GError** error) {
    auto& kept = *static_cast<RunOptions*>(data);
    const std::string option = name;
    if (*value == '\0') {
        g_set_error_literal(error, G_OPTION_ERROR, G_OPTION_ERROR_FAILED, needs_value(option).c_str());
        return FALSE;
    }
    if (option == "--set")
        kept.settings.emplace_back(value);
    for (const Option& row : option_table())
        if (option == std::string("--") + row.name)
            kept.*row.value = value;
    return TRUE;
}

gboolean keep_agreement(const gchar* /*name*/, const gchar* /*value*/, gpointer data, GError** /*error*/) {
    static_cast<RunOptions*>(data)->accepts_eula = true;
    return TRUE;
}

gboolean keep_clips(const gchar* /*name*/, const gchar* /*value*/, gpointer data, GError** /*error*/) {
    static_cast<RunOptions*>(data)->keeps_clips = true;
    return TRUE;
}

gboolean keep_overwriting(const gchar* /*name*/, const gchar* /*value*/, gpointer data, GError** /*error*/) {
    static_cast<RunOptions*>(data)->overwrites = true;
    return TRUE;
}

gboolean keep_help(const gchar* /*name*/, const gchar* /*value*/, gpointer data, GError** /*error*/) {
    static_cast<RunOptions*>(data)->wants_help = true;
    return TRUE;
}

GOptionEntry entry(const char* name, gchar letter, int flags, GOptionArgFunc function) {
    return {name, letter, flags, G_OPTION_ARG_CALLBACK, reinterpret_cast<gpointer>(function), nullptr, nullptr};
}

/** Ends with an empty row. */
std::vector<GOptionEntry> entries() {
    std::vector<GOptionEntry> all;
    for (const Option& option : option_table())
        all.push_back(entry(option.name, 0, G_OPTION_FLAG_FILENAME, keep));
    all.push_back(entry("set", 0, G_OPTION_FLAG_FILENAME, keep));
    all.push_back(entry("accept-eula", 0, G_OPTION_FLAG_NO_ARG, keep_agreement));
    all.push_back(entry("clips", 0, G_OPTION_FLAG_NO_ARG, keep_clips));
    all.push_back(entry("overwrite", 0, G_OPTION_FLAG_NO_ARG, keep_overwriting));
    all.push_back(entry("help", 'h', G_OPTION_FLAG_NO_ARG, keep_help));
    all.push_back({});
    return all;
}

} // namespace

const std::vector<Option>& option_table() {
    // From 1 to 65535.
    static const std::string number =
        "(?!0+$)([0-5]?[0-9]{1,4}|6[0-4][0-9]{3}|65[0-4][0-9]{2}|655[0-2][0-9]|6553[0-5])";
    static const std::string port = number + "$";
    static const std::string one_name =
        "([A-Za-z0-9_.-]+|\\[[0-9A-Fa-f:.]+\\])"
        "(:(6553[0-5]|655[0-2][0-9]|65[0-4][0-9]{2}|6[0-4][0-9]{3}|[1-5][0-9]{4}|[1-9][0-9]{0,3}))?";
    static const std::vector<Option> table = {
        {"source", &RunOptions::source, "", "", "KORVEX_VDO_SOURCE"},
        {"source-file", &RunOptions::source_file, "", "", "KORVEX_VDO_SOURCE_FILE"},
        {"settings", &RunOptions::settings_file, "", "", nullptr},
        {"aspect", &RunOptions::aspect, "^(fit|crop|stretch)$", "--aspect is fit, crop or stretch",
         "KORVEX_VDO_ASPECT"},
        {"model", &RunOptions::model, "", "", nullptr},
        {"state", &RunOptions::state, "", "", nullptr},
        {"threads", &RunOptions::threads, "^([1-9]|[1-5][0-9]|6[0-4])$", "--threads is a number from 1 to 64",
         "KORVEX_LAROD_THREADS"},
        {"inference", &RunOptions::inference, "", "", "KORVEX_INFERENCE"},
        {"inference-service", &RunOptions::inference_service, "", "", nullptr},
        {"niceness", &RunOptions::niceness, "^(-(1?[0-9]|20)|1?[0-9])$", "--niceness is a number from -20 to 19",
         nullptr},
        {"listen", &RunOptions::listen, "^(localhost|[0-9]+(\\.[0-9]+){3}|\\[[0-9A-Fa-f:.]+\\]):" + port,
         "--listen takes ADDR:PORT with a numeric address, like 127.0.0.1:8080, 0.0.0.0:8080 or [::1]:8080", nullptr},
        {"name", &RunOptions::name, "^" + one_name + "(," + one_name + ")*$",
         "--name takes HOST or HOST:PORT, as it stands in a browser's address, or several with commas between",
         nullptr},
        {"password-file", &RunOptions::password_file, "", "", nullptr},
        {"certificate", &RunOptions::certificate, "", "", nullptr},
        {"mqtt", &RunOptions::mqtt, "^([^:]+|\\[[0-9a-fA-F:.]+\\]):" + port,
         "--mqtt is HOST:PORT, like 127.0.0.1:1883 or [::1]:1883", "KORVEX_MQTT"},
        {"mqtt-user", &RunOptions::mqtt_user, "", "", "KORVEX_MQTT_USER"},
        {"mqtt-password-file", &RunOptions::mqtt_password_file, "", "", "KORVEX_MQTT_PASSWORD_FILE"},
        {"mqtt-ca", &RunOptions::mqtt_ca, "", "", "KORVEX_MQTT_CA_FILE"},
        {"mqtt-prefix", &RunOptions::mqtt_prefix, "^(?!/)[^+#]*(?<!/)$",
         "--mqtt-prefix is the beginning of a topic, without + and # and with no / at either end",
         "KORVEX_MQTT_PREFIX"},
        {"keep-days", &RunOptions::keep_days, "^[1-9][0-9]{0,3}$", "--keep-days is a number from 1 to 9999",
         "KORVEX_STAYS_DAYS"},
        {"keep-mb", &RunOptions::keep_mb, "^[1-9][0-9]{0,6}$", "--keep-mb is a number from 1 to 9999999",
         "KORVEX_STAYS_MB"},
        {"stays", &RunOptions::stays, "", "", nullptr},
        {"webhook", &RunOptions::webhook,
         "^https?://([^/?#@\\s]+@)?([^/?#@:\\[\\]\\s]+|\\[[0-9A-Fa-f:.]+\\])(:" + number + ")?([/?][^#\\s]*)?$",
         "--webhook is an address like https://example.org/alerts", "KORVEX_WEBHOOK"},
        {"webhook-ca", &RunOptions::webhook_ca, "", "", "KORVEX_WEBHOOK_CA"},
        {"record", &RunOptions::record, "", "", nullptr},
        {"stream", &RunOptions::stream, "^[1-9][0-9]*x[1-9][0-9]*$", "--stream is a size like 1280x720", nullptr},
        {"replay", &RunOptions::replay, "", "", nullptr},
        {"seconds", &RunOptions::seconds, "^[0-9]+(\\.[0-9]+)?$", "--seconds is a number", nullptr},
        {"json", &RunOptions::json, "", "", nullptr},
    };
    return table;
}

RunOptions parse_run_options(int argc, char** argv) {
    RunOptions options;
    g_autoptr(GOptionContext) context = g_option_context_new(nullptr);
    GOptionGroup* group =
        g_option_group_new(nullptr, nullptr, nullptr, &options, nullptr); // the context's own from here on
    g_option_group_add_entries(group, entries().data());
    g_option_context_set_main_group(context, group);
    g_option_context_set_help_enabled(context, FALSE);
    // They are left in place, so that the sentence can show them as they were typed.
    g_option_context_set_ignore_unknown_options(context, TRUE);
    const std::string last = argv[argc - 1];
    g_autoptr(GError) error = nullptr;
    if (g_option_context_parse(context, &argc, &argv, &error) == FALSE) {
        // What keep() has refused is a sentence of its own; else the last word is an option without its value.
        const bool is_ours = g_error_matches(error, G_OPTION_ERROR, G_OPTION_ERROR_FAILED) != FALSE;
        throw Refusal(is_ours ? error->message : needs_value(last));
    }
    if (argc > 1)
        throw Refusal("\"" + std::string(argv[1]) + "\" is no option; ./run --help lists them.");
    if (!options.wants_help)
        check_values(options);
    return options;
}

Environment with_options(Environment environment, const RunOptions& options) {
    for (const Option& option : option_table()) {
        const std::string& value = options.*option.value;
        if (option.variable != nullptr && !value.empty())
            environment[option.variable] = value;
    }
    if (options.keeps_clips)
        environment["KORVEX_CLIPS"] = "1";
    environment.erase(options.source_file.empty() ? "KORVEX_VDO_SOURCE_FILE" : "KORVEX_VDO_SOURCE");
    return environment;
}

} // namespace console
