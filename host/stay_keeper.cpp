#include "host/stay_keeper.h"

#include "platform/common/report.h"

#include <algorithm>

namespace console {
namespace {

/** What is known of a stay that a kill cuts short is at most so old. */
constexpr double seconds_between_writes = 5.0;
/** Rows in one look: a fraction of a millisecond. */
constexpr size_t forgotten_at_once = 50;

/** On the date's clock. */
Stay dated(Stay stay, double offset) {
    stay.entered += offset;
    stay.left += offset;
    for (double& moment : stay.reached)
        moment += moment < 0.0 ? 0.0 : offset;
    return stay;
}

} // namespace

StayKeeper::StayKeeper(const StayFolder& folder, Clocks clocks, Rise risen)
    : m_clocks(std::move(clocks)), m_risen(std::move(risen)), m_store(folder.database()),
      m_ended(m_store.close_left_open()) {
    if (!m_ended.empty()) {
        platform::report("stays", std::to_string(m_ended.size()) +
                                      " stays had not ended when the camera was cut off; they end at the time at which "
                                      "they were last written down");
    }
}

void StayKeeper::look(const t_findings_list& findings) {
    const double now = m_clocks.steady();
    end(m_watch.pass(findings, now));
    std::vector<StayRecord> changed;
    std::vector<std::pair<StayRecord, int>> rises;
    for (const auto& [object, stay] : m_watch.going_on()) {
        const auto [place, is_new] = m_open.try_emplace(object);
        Open& open = place->second;
        if (is_new) {
            open.record.id = m_store.new_id();
            open.record.is_there = true;
            open.date_offset = m_clocks.date() - now;
        }
        const int level_before = open.record.stay.level;
        open.record.stay = dated(stay, open.date_offset);
        if (is_new || stay.level > level_before || now - open.written >= seconds_between_writes) {
            open.written = now;
            changed.push_back(open.record);
        }
        for (int level = level_before + 1; level <= stay.level; ++level)
            rises.emplace_back(open.record, level);
    }
    m_store.write(changed);
    for (const auto& [record, level] : rises)
        m_risen(record, level);
    forget_some();
}

void StayKeeper::finish() {
    end(m_watch.end());
}

void StayKeeper::end(const std::vector<Stay>& ended) {
    std::vector<StayRecord> records;
    for (const Stay& stay : ended) {
        auto open = m_open.extract(stay.object);
        StayRecord& record = open.mapped().record;
        record.stay = dated(stay, open.mapped().date_offset);
        record.is_there = false;
        records.push_back(record);
    }
    m_store.write(records);
    m_ended.insert(m_ended.end(), records.begin(), records.end());
}

void StayKeeper::forget_some() {
    const size_t some = std::min(m_doomed.size(), forgotten_at_once);
    const auto first = m_doomed.end() - static_cast<std::ptrdiff_t>(some);
    m_store.remove({first, m_doomed.end()});
    m_doomed.erase(first, m_doomed.end());
}

const StayRecord* StayKeeper::latest_at(int level) const {
    const StayRecord* latest = nullptr;
    const auto reached = [level](const StayRecord& record) {
        return record.stay.reached.at(static_cast<size_t>(level) - 1);
    };
    for (const auto& [object, open] : m_open)
        if (open.record.stay.level >= level && (latest == nullptr || reached(open.record) > reached(*latest)))
            latest = &open.record;
    return latest;
}

} // namespace console
