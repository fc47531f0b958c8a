#pragma once

#include "host/environment.h"

#include <string>
#include <vector>

namespace console {

/** What the command line of `./run` asks for, as it was typed; empty: nothing was said. host/help.txt tells what each
    option means. */
struct RunOptions {
    std::string source = "scene";
    std::string source_file;
    std::string settings_file;
    std::string aspect;
    std::string model;
    std::string state;
    std::string threads;
    std::string inference;
    std::string inference_service;
    std::string niceness;
    std::string listen;
    std::string name;
    std::string password_file;
    std::string certificate;
    std::string mqtt;
    std::string mqtt_user;
    std::string mqtt_password_file;
    std::string mqtt_ca;
    std::string mqtt_prefix;
    std::string keep_days;
    std::string keep_mb;
    std::string stays;
    std::string webhook;
    std::string webhook_ca;
    std::string record;
    std::string stream;
    std::string replay;
    std::string seconds;
    std::string json;
    std::vector<std::string> settings; ///< NAME=VALUE
    bool accepts_eula = false;
    bool keeps_clips = false;
    bool overwrites = false;
    bool wants_help = false;
};

/** One row of the table of options. */
struct Option {
    const char* name;               ///< without its "--"
    std::string RunOptions::*value; ///< where the last one's value is kept
    std::string pattern;            ///< what a value has to match; empty: any will do
    std::string meaning;            ///< the beginning of the sentence about a value that does not
    const char* variable;           ///< the variable by which the programs hear of it; nullptr: none
};

/** All options with one value. --set, which may come again and again, --accept-eula, --clips, --overwrite and --help
 * are beside them. */
const std::vector<Option>& option_table();

/** Throws Refusal with a sentence about an unknown word, a missing value, or a value that is none. */
RunOptions parse_run_options(int argc, char** argv);

/** `environment` with the variables by which the programs hear of the options. */
Environment with_options(Environment environment, const RunOptions& options);

} // namespace console
