#pragma once

#include <glib.h>

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/** How a call fails. */
struct call_failure {
    std::string message = "the double refuses";
    int code = 1;
    bool with_record = true; // false: the error record is left alone
    int after = 0;           // matching calls that still succeed
    int times = -1;          // matching calls that fail then; -1 for all
};

/**
 * What every double keeps: a journal of the calls in their order, the failures and the deeds that a test has asked for,
 * and the number of live objects of each kind.
 *
 * A call is one line: the function's name and the arguments that matter, separated by blanks, as "larodSetChip 12".
 * Any thread may call any operation.
 */
class call_recorder {
  public:
    /** Forgets journal, failures, deeds and misuses. The counts of live objects stay: they must be 0 already. */
    void reset();

    /** Writes the line and says whether this call is to fail. */
    std::optional<call_failure> call(const std::string& line);
    /** The same for a library that reports through GLib; true when the call is to fail, `error` then being set. */
    bool fails(const std::string& line, GError** error);

    /**
     * Lets calls fail whose line is `call` or begins with it and a blank: "larodSetTensorFd" for all tensors,
     * "ax_parameter_get MainLoopTime" for one parameter. What was asked for last comes first.
     */
    void fail(const std::string& call, const call_failure& how = {});
    /** Takes back every failure asked for with this text. */
    void succeed(const std::string& call);

    /** Does `what` in every such call, after the line has been written; empty for nothing. Matches as above. */
    void during(const std::string& call, std::function<void()> what);

    std::vector<std::string> journal() const;
    /** The journal's lines that are `call` or begin with it and a blank. */
    std::vector<std::string> calls(const std::string& call) const;

    void born(const std::string& kind);
    void died(const std::string& kind);
    int live(const std::string& kind) const;
    /** Every kind with live objects, as "2 VdoMap, 1 VdoStream"; empty when nothing is alive. */
    std::string leaks() const;

    /** A caller's mistake, such as an object that is released twice. */
    void misuse(const std::string& what);
    std::vector<std::string> misuses() const;

  private:
    struct failing_call {
        std::string call;
        call_failure how;
    };

    std::function<void()> deed_of(const std::string& line) const;

    mutable std::mutex m_mutex;
    std::vector<std::string> m_journal;
    std::vector<failing_call> m_failing;
    std::map<std::string, std::function<void()>> m_deeds;
    std::map<std::string, int> m_live;
    std::vector<std::string> m_misuses;
};

/** Fills a caller's error record, which may be missing. */
void set_error(GError** error, int code, const std::string& message);

/** One blank between the parts. */
template <typename... Parts>
std::string call_line(const std::string& name, const Parts&... parts);

namespace call_line_parts {
std::string text(const std::string& part);
std::string text(const char* part);
template <typename Number>
std::string text(Number number) {
    return std::to_string(number);
}
} // namespace call_line_parts

template <typename... Parts>
std::string call_line(const std::string& name, const Parts&... parts) {
    std::string line = name;
    ((line += " " + call_line_parts::text(parts)), ...);
    return line;
}
