#include "tests/doubles/call_recorder.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

bool matches(const std::string& line, const std::string& call) {
    return line.starts_with(call) && (line.size() == call.size() || line[call.size()] == ' ');
}

} // namespace

void call_recorder::reset() {
    const std::scoped_lock lock(m_mutex);
    m_journal.clear();
    m_failing.clear();
    m_deeds.clear();
    m_misuses.clear();
}

std::function<void()> call_recorder::deed_of(const std::string& line) const {
    const std::scoped_lock lock(m_mutex);
    const auto found =
        std::find_if(m_deeds.begin(), m_deeds.end(), [&line](const auto& each) { return matches(line, each.first); });
    return found != m_deeds.end() ? found->second : nullptr;
}

void call_recorder::during(const std::string& call, std::function<void()> what) {
    const std::scoped_lock lock(m_mutex);
    m_deeds[call] = std::move(what);
}

std::optional<call_failure> call_recorder::call(const std::string& line) {
    {
        const std::scoped_lock lock(m_mutex);
        m_journal.push_back(line);
    }
    if (const auto deed = deed_of(line)) // without the lock: it may call, or never come back
        deed();
    const std::scoped_lock lock(m_mutex);
    for (auto each = m_failing.rbegin(); each != m_failing.rend(); ++each) {
        if (!matches(line, each->call))
            continue;
        if (each->how.after > 0) {
            --each->how.after;
            continue;
        }
        if (each->how.times == 0)
            continue;
        if (each->how.times > 0)
            --each->how.times;
        return each->how;
    }
    return std::nullopt;
}

bool call_recorder::fails(const std::string& line, GError** error) {
    const auto refusal = call(line);
    if (refusal && refusal->with_record)
        set_error(error, refusal->code, refusal->message);
    return refusal.has_value();
}

void call_recorder::fail(const std::string& call, const call_failure& how) {
    const std::scoped_lock lock(m_mutex);
    m_failing.push_back({call, how});
}

void call_recorder::succeed(const std::string& call) {
    const std::scoped_lock lock(m_mutex);
    std::erase_if(m_failing, [&call](const failing_call& each) { return each.call == call; });
}

std::vector<std::string> call_recorder::journal() const {
    const std::scoped_lock lock(m_mutex);
    return m_journal;
}

std::vector<std::string> call_recorder::calls(const std::string& call) const {
    const std::scoped_lock lock(m_mutex);
    std::vector<std::string> found;
    std::copy_if(m_journal.begin(), m_journal.end(), std::back_inserter(found),
                 [&call](const std::string& line) { return matches(line, call); });
    return found;
}

void call_recorder::born(const std::string& kind) {
    const std::scoped_lock lock(m_mutex);
    ++m_live[kind];
}

void call_recorder::died(const std::string& kind) {
    const std::scoped_lock lock(m_mutex);
    --m_live[kind];
}

int call_recorder::live(const std::string& kind) const {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_live.find(kind);
    return found != m_live.end() ? found->second : 0;
}

std::string call_recorder::leaks() const {
    const std::scoped_lock lock(m_mutex);
    std::string all;
    for (const auto& [kind, count] : m_live)
        if (count != 0)
            all += (all.empty() ? "" : ", ") + std::to_string(count) + " " + kind;
    return all;
}

void call_recorder::misuse(const std::string& what) {
    const std::scoped_lock lock(m_mutex);
    m_misuses.push_back(what);
}

std::vector<std::string> call_recorder::misuses() const {
    const std::scoped_lock lock(m_mutex);
    return m_misuses;
}

void set_error(GError** error, int code, const std::string& message) {
    g_set_error_literal(error, g_quark_from_static_string("korvex-double"), code, message.c_str());
}

std::string call_line_parts::text(const std::string& part) {
    return part;
}

std::string call_line_parts::text(const char* part) {
    return part != nullptr ? part : "(null)";
}
