#include "platform/axoverlay/broadcast.h"

#include "base/blocked_signals.h"
#include "platform/axoverlay/jpeg_encoder.h"
#include "platform/axoverlay/priority.h"
#include "platform/axoverlay/service.h"

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

namespace host_overlay {
namespace {

using Clock = std::chrono::steady_clock;

/** Viewers wait so long for the first overlay of a stream that has just been opened, where none was drawn of late. */
constexpr std::chrono::seconds overlay_patience{1};
/** Where overlays are drawn, the next one comes sooner than this. */
constexpr std::chrono::seconds pass_patience{5};
/** Nobody has watched for so long: who asks for one picture after the other must not pay for fresh memory each time. */
constexpr std::chrono::milliseconds abandoned{500};

std::shared_ptr<EncodedPicture> as_part(std::span<const std::uint8_t> jpeg) {
    const std::string head =
        "--picture\r\nContent-Type: image/jpeg\r\nContent-Length: " + std::to_string(jpeg.size()) + "\r\n\r\n";
    auto encoded = std::make_shared<EncodedPicture>();
    encoded->part.reserve(head.size() + jpeg.size() + 2);
    encoded->part.insert(encoded->part.end(), head.begin(), head.end());
    encoded->part.insert(encoded->part.end(), jpeg.begin(), jpeg.end());
    encoded->part.insert(encoded->part.end(), {'\r', '\n'});
    encoded->jpeg_begin = head.size();
    encoded->jpeg_size = jpeg.size();
    return encoded;
}

} // namespace

void Broadcasts::join(const Geometry& geometry, const std::shared_ptr<Viewer>& viewer) {
    reap();
    const annotated_lock lock(m_lock);
    if (m_stopping) {
        viewer->end();
        return;
    }
    if (const auto open = m_open.find(geometry); open != m_open.end()) {
        open->second->viewers.push_back(viewer);
        return;
    }
    make_room();
    auto broadcast = std::make_unique<Broadcast>();
    broadcast->geometry = geometry;
    broadcast->video.emplace(geometry, AXOVERLAY_STREAM_JPEG);
    broadcast->viewers.push_back(viewer);
    {
        const blocked_signals blocked;
        broadcast->thread = std::thread([this, raw = broadcast.get()] { run(*raw); });
    }
    m_open[geometry] = broadcast.get();
    m_changed.notify_all();
    m_all.push_back(std::move(broadcast));
}

void Broadcasts::make_room() {
    if (m_open.size() >= most_geometries) {
        std::erase_if(m_open, [](const auto& entry) {
            Broadcast& broadcast = *entry.second;
            const bool left = std::ranges::all_of(broadcast.viewers, [](const auto& viewer) { return viewer->done(); });
            if (left)
                broadcast.video->stop();
            return left;
        });
    }
    // Those that are ending hold their memory until they have; who comes and goes quickly must not pile them up.
    if (m_open.size() >= most_geometries || m_all.size() >= 2 * most_geometries)
        throw std::runtime_error("The camera is shown in at most " + std::to_string(most_geometries) +
                                 " sizes and orientations at once, and viewers watch as many others already.");
}

void Broadcasts::stop() {
    std::vector<std::unique_ptr<Broadcast>> ending;
    {
        const annotated_lock lock(m_lock);
        m_stopping = true;
        m_changed.notify_all();
        for (const auto& [geometry, broadcast] : m_open) {
            broadcast->video->stop();
            for (const auto& viewer : broadcast->viewers)
                viewer->end();
        }
        ending = std::move(m_all);
        m_all.clear();
    }
    for (const auto& broadcast : ending)
        broadcast->thread.join();
}

void Broadcasts::run(Broadcast& broadcast) {
    give_way_to_all();
    std::string why;
    try {
        broadcast.video->start();
        show(broadcast);
    } catch (const std::exception& failure) {
        why = failure.what();
    }
    close(broadcast, why);
    broadcast.video.reset();
    give_back_memory();
    const annotated_lock lock(m_lock);
    broadcast.finished = true;
}

void Broadcasts::give_back_memory() {
    annotated_lock lock(m_lock);
    if (m_changed.wait_for(lock, abandoned, [this]() REQUIRES(m_lock) { return m_stopping || !m_open.empty(); }))
        return;
    lock.unlock();
    // Freed pictures lie in this thread's part of the heap, which the allocator would keep for the next one.
    malloc_trim(0);
}

void Broadcasts::show(Broadcast& broadcast) {
    JpegEncoder encoder(m_quality);
    const Clock::time_point patience_ends = Clock::now() + overlay_patience;
    bool watched = true;
    while (watched) {
        std::string why;
        if (broadcast.video->next(why)) {
            const auto picture = as_part(encoder.encode(broadcast.video->picture()));
            picture->complete = broadcast.video->overlay_settled() ||
                                (Clock::now() >= patience_ends && !Service::instance().draws(pass_patience));
            watched = tell_viewers(broadcast, [&](Viewer& viewer) { viewer.deliver(picture); });
        } else {
            watched = tell_viewers(broadcast, [&](Viewer& viewer) { viewer.fail(why); });
            std::this_thread::sleep_for(failure_pause);
        }
    }
}

/** False when nobody watches any more; from then on nobody can join either. */
bool Broadcasts::tell_viewers(Broadcast& broadcast, const std::function<void(Viewer&)>& tell) {
    const annotated_lock lock(m_lock);
    for (const auto& viewer : broadcast.viewers)
        tell(*viewer);
    std::erase_if(broadcast.viewers, [](const auto& viewer) { return viewer->done(); });
    if (m_stopping || broadcast.viewers.empty()) {
        forget(broadcast);
        return false;
    }
    return true;
}

/** Not by its geometry: the next broadcast of the same one may be there already. */
void Broadcasts::forget(const Broadcast& broadcast) {
    std::erase_if(m_open, [&](const auto& entry) { return entry.second == &broadcast; });
}

void Broadcasts::close(Broadcast& broadcast, const std::string& why) {
    const annotated_lock lock(m_lock);
    for (const auto& viewer : broadcast.viewers) {
        if (!why.empty())
            viewer->fail(why);
        viewer->end();
    }
    broadcast.viewers.clear();
    forget(broadcast);
}

void Broadcasts::reap() {
    std::vector<std::unique_ptr<Broadcast>> finished;
    {
        const annotated_lock lock(m_lock);
        const auto ended = std::partition(m_all.begin(), m_all.end(), [](const auto& b) { return !b->finished; });
        std::move(ended, m_all.end(), std::back_inserter(finished));
        m_all.erase(ended, m_all.end());
    }
    for (const auto& broadcast : finished)
        broadcast->thread.join();
}

} // namespace host_overlay
