#include "host/stay_care.h"

#include "base/blocked_signals.h"
#include "host/stay_store.h"
#include "platform/axoverlay/priority.h"
#include "platform/common/report.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <utility>

namespace console {
namespace {

constexpr std::size_t most_pictures = 64;
constexpr std::chrono::seconds between_looks{5};
constexpr double between_tidyings = 600.0; // seconds
/** Of the limit: what may be written before somebody looks whether it is too much. */
constexpr std::uint64_t unswept_parts = 20;

double unix_now() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

} // namespace

StayCare::StayCare(const StayFolder& folder, const StayLimits& limits, Camera camera)
    : m_folder(folder), m_limits(limits), m_camera(std::move(camera)) {
    std::error_code ignored; // then no picture can be written, which is said when one cannot
    std::filesystem::create_directories(folder.stills(), ignored);
    std::filesystem::create_directories(folder.clips(), ignored);
    const blocked_signals blocked;
    m_thread = std::thread([this] { run(); });
}

StayCare::~StayCare() {
    {
        const std::lock_guard lock(m_lock);
        m_ending = true;
    }
    m_changed.notify_all();
    m_camera.stop();
    m_thread.join();
}

void StayCare::picture(std::int64_t id, int level, const host_overlay::StillView& view) {
    const std::lock_guard lock(m_lock);
    if (m_wanted.size() < most_pictures) {
        m_wanted.push_back({id, level, view});
        m_changed.notify_all();
    }
}

std::vector<std::int64_t> StayCare::take_over() {
    const std::lock_guard lock(m_lock);
    return std::exchange(m_over, {});
}

void StayCare::run() {
    host_overlay::give_way_to_analysis();
    while (true) {
        tidy();
        std::unique_lock lock(m_lock);
        m_changed.wait_for(lock, between_looks, [this] { return m_ending || !m_wanted.empty(); });
        if (m_ending)
            return;
        const std::deque<Picture> wanted = next_pictures();
        lock.unlock();
        if (!wanted.empty())
            take(wanted);
        settle_stays(m_folder.database());
    }
}

/** Those that one picture serves. The lock is held. */
std::deque<StayCare::Picture> StayCare::next_pictures() {
    std::deque<Picture> others;
    std::deque<Picture> next;
    for (const Picture& picture : m_wanted) {
        const bool fits = next.empty() || picture.view == next.front().view;
        (fits ? next : others).push_back(picture);
    }
    m_wanted = std::move(others);
    return next;
}

void StayCare::take(const std::deque<Picture>& wanted) {
    try {
        const std::string file = m_camera.take(wanted.front().view);
        const bool written = std::ranges::all_of(
            wanted, [&](const Picture& picture) { return write(m_folder.still(picture.id, picture.level), file); });
        if (written && m_failing)
            platform::report("stays", "pictures are kept again");
        m_failing = !written;
    } catch (const std::exception&) {
        // No pass, or no video: there is nothing to be seen, and others say so.
    }
}

/** Whole or not at all: who asks for it meanwhile finds none. */
bool StayCare::write(const std::string& path, const std::string& file) {
    const std::string unfinished = path + ".new";
    std::ofstream out(unfinished, std::ios::binary);
    out << file;
    out.close();
    if (out && std::rename(unfinished.c_str(), path.c_str()) == 0) {
        count(file.size());
        return true;
    }
    const int reason = errno;
    std::remove(unfinished.c_str());
    if (!m_failing)
        platform::report("stays", "pictures cannot be kept in " + m_folder.stills() + ": " + std::strerror(reason));
    m_failing = true;
    return false;
}

void StayCare::tidy() {
    const double now = unix_now();
    // A clock that was set back does not put it off for long.
    const bool due = now >= m_next_tidying || now < m_next_tidying - between_tidyings;
    if (!due && m_written < m_limits.bytes / unswept_parts)
        return;
    m_next_tidying = now + between_tidyings;
    m_written = 0;
    try {
        std::vector<std::int64_t> over = sweep_stays(m_folder, m_limits, now, !m_swept);
        m_swept = true;
        const std::lock_guard lock(m_lock);
        m_over = std::move(over);
    } catch (const std::exception& problem) {
        platform::report("stays", problem.what());
    }
}

} // namespace console
