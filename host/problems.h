#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace console {

/** What keeps a camera from seeing, or from telling what it sees. */
struct Problem {
    std::string kind;      // "video", "agreement", "inference", "late" or "store"
    std::string name;      // "No video"
    std::time_t since = 0; // as people see it: the last picture, the first pass without inference
    std::string text;      // "No video since 08:35"
};

/** What one look at the application and its libraries finds. */
struct Condition {
    int status = 0;               // the application's
    std::time_t lost_since = 0;   // the time of the last picture while there is none; else 0
    std::time_t unkept_since = 0; // since when settings cannot be kept; else 0
};

/** What has changed. */
struct ProblemNews {
    Problem problem;
    bool begins = false;
};

/**
 * Makes problems of what is found after each pass. The analysis may miss a pass or two, as when its network's service
 * comes back: such a problem counts once it has stood for two seconds, and is over when it has not been seen for five.
 * Not locked: one thread.
 */
class ProblemWatch {
  public:
    /** `now` in seconds since the epoch. */
    std::vector<ProblemNews> look(const Condition& condition, double now);

    /** Those that stand. */
    std::vector<Problem> standing() const;

    /** One of each kind, in a fixed order, for who makes a place for each. */
    static std::vector<Problem> kinds();

  private:
    struct Watched {
        double first_seen = 0.0; // 0: it is not there
        double last_seen = 0.0;
        std::optional<Problem> told;
    };

    std::vector<Watched> m_watched; // in the order of the kinds
};

} // namespace console
