#include "tests/doubles/core_fixture.h"

#include "base/logger.h"
#include "tests/doubles/fake_axparameter.h"
#include "tests/doubles/recording_axevent.h"
#include "tests/doubles/recording_axoverlay.h"
#include "tests/doubles/recording_larod.h"
#include "tests/doubles/recording_vdo.h"

#include <glib.h>

#include <array>
#include <fstream>
#include <iterator>

namespace {

const std::array<call_recorder*, 5>& recorders() {
    static const std::array<call_recorder*, 5> all = {&recording_vdo::recorder(), &recording_larod::recorder(),
                                                      &fake_axparameter::recorder(), &recording_axevent::recorder(),
                                                      &recording_axoverlay::recorder()};
    return all;
}

} // namespace

core_fixture::core_fixture() : m_before(std::filesystem::current_path()) {
    std::filesystem::current_path(folder);
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL));
    recording_vdo::reset();
    recording_larod::reset();
    fake_axparameter::reset();
    recording_axevent::reset();
    recording_axoverlay::reset();
    forget_log();
}

core_fixture::~core_fixture() {
    for (const call_recorder* recorder : recorders()) {
        EXPECT_EQ(recorder->leaks(), "");
        EXPECT_EQ(recorder->misuses(), std::vector<std::string>());
    }
    forget_log();
    std::filesystem::current_path(m_before);
}

std::vector<std::string> log_lines() {
    std::vector<std::string> lines;
    for (const std::string& line : g_Logger.getLogLines()) {
        const size_t level = line.find('|', line.find('|') + 1); // the date and the application's name go
        lines.push_back(line.substr(level + 1));
    }
    for (const LogEntry& entry : g_Logger._logEntries)
        lines.push_back(entry._logLevel + "|" + entry._message);
    return lines;
}

void forget_log() {
    g_Logger.clear();
}

std::string contents_of(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}
