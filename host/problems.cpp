#include "host/problems.h"

#include <array>

namespace console {
namespace {

/** A pass that the status counts as failed, or as late. */
bool fails(int status) {
    return status == 400 || status == 401;
}

struct Kind {
    const char* kind;
    const char* name;
    bool has_time;   // whether the text tells since when
    double patience; // seconds until it is told
    double rest;     // seconds without it until it is over
    /** Whether it is there; `since` may be set to a better time than that of the look. */
    bool (*is_there)(const Condition& condition, std::time_t& since);
};

bool is_lost(const Condition& condition, std::time_t& since) {
    since = condition.lost_since;
    return since != 0;
}

bool is_unkept(const Condition& condition, std::time_t& since) {
    since = condition.unkept_since;
    return since != 0;
}

constexpr std::array<Kind, 5> kinds_of_problems = {{
    {"video", "No video", true, 0.0, 0.0, is_lost},
    {"agreement", "The end-user agreement is not accepted", false, 0.0, 0.0,
     [](const Condition& condition, std::time_t&) { return condition.status == 408; }},
    {"inference", "No inference", true, 2.0, 5.0,
     [](const Condition& condition, std::time_t&) { return fails(condition.status); }},
    {"late", "The analysis is late", true, 2.0, 5.0,
     [](const Condition& condition, std::time_t&) { return condition.status == 600; }},
    {"store", "Settings cannot be kept", true, 0.0, 0.0, is_unkept},
}};

/** "08:35", on the machine's clock. */
std::string time_of_day(std::time_t time) {
    std::tm local{};
    localtime_r(&time, &local);
    std::array<char, 8> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%H:%M", &local)};
}

Problem problem_of(const Kind& kind, std::time_t since) {
    Problem problem{kind.kind, kind.name, since, kind.name};
    if (kind.has_time)
        problem.text += " since " + time_of_day(since);
    return problem;
}

} // namespace

std::vector<ProblemNews> ProblemWatch::look(const Condition& condition, double now) {
    m_watched.resize(kinds_of_problems.size());
    std::vector<ProblemNews> news;
    for (std::size_t i = 0; i < m_watched.size(); ++i) {
        const Kind& kind = kinds_of_problems[i];
        Watched& watched = m_watched[i];
        std::time_t since = 0;
        if (kind.is_there(condition, since)) {
            watched.first_seen = watched.first_seen == 0.0 ? now : watched.first_seen;
            watched.last_seen = now;
            if (!watched.told && now - watched.first_seen >= kind.patience) {
                watched.told = problem_of(kind, since != 0 ? since : static_cast<std::time_t>(watched.first_seen));
                news.push_back({*watched.told, true});
            }
        } else if (watched.first_seen != 0.0 && now - watched.last_seen >= kind.rest) {
            if (watched.told)
                news.push_back({*watched.told, false});
            watched = {};
        }
    }
    return news;
}

std::vector<Problem> ProblemWatch::standing() const {
    std::vector<Problem> all;
    for (const Watched& watched : m_watched)
        if (watched.told)
            all.push_back(*watched.told);
    return all;
}

std::vector<Problem> ProblemWatch::kinds() {
    std::vector<Problem> all;
    all.reserve(kinds_of_problems.size());
    for (const Kind& kind : kinds_of_problems)
        all.push_back({kind.kind, kind.name, 0, ""});
    return all;
}

} // namespace console
