#include "platform/axoverlay/clip_ring.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>

namespace host_overlay {
namespace {

double seconds_of(const AVPacket& packet) {
    return static_cast<double>(packet.pts) * av_q2d(H264Encoder::time_base);
}

bool is_key(const AVPacket& packet) {
    return (packet.flags & AV_PKT_FLAG_KEY) != 0;
}

platform::PacketHandle copy_of(const AVPacket* packet) {
    platform::PacketHandle copy(av_packet_clone(packet)); // which shares the bytes
    if (copy == nullptr)
        throw std::runtime_error("out of memory");
    return copy;
}

/** What is being written has another name until it is whole. */
std::string unfinished(const std::string& path) {
    return path + ".new";
}

} // namespace

ClipRing::ClipRing(const H264Encoder& encoder, Written written, Failed failed)
    : m_encoder(encoder), m_written(std::move(written)), m_failed(std::move(failed)) {}

void ClipRing::save(const std::string& path, double moment) {
    Clip clip{path, moment + after, 0, nullptr};
    auto first = m_packets.begin();
    for (auto each = m_packets.begin(); each != m_packets.end(); ++each) {
        if (is_key(**each) && seconds_of(**each) <= moment - before)
            first = each;
    }
    for (auto each = first; each != m_packets.end(); ++each)
        write(clip, each->get());
    m_clips.push_back(std::move(clip));
}

void ClipRing::add(const AVPacket* packet) {
    if (m_packets.empty() && !is_key(*packet))
        return;
    m_packets.push_back(copy_of(packet));
    m_bytes += static_cast<std::size_t>(packet->size);
    for (Clip& clip : m_clips) {
        write(clip, packet);
        if (seconds_of(*packet) >= clip.end)
            complete(clip);
    }
    std::erase_if(m_clips, [](const Clip& clip) { return clip.path.empty(); });
    forget_old();
}

void ClipRing::finish() {
    for (Clip& clip : m_clips)
        complete(clip);
    m_clips.clear();
}

/** A clip that fails is over. */
void ClipRing::write(Clip& clip, const AVPacket* packet) {
    if (clip.path.empty())
        return;
    try {
        if (clip.file == nullptr) {
            clip.file = std::make_unique<Mp4Writer>(unfinished(clip.path), m_encoder);
            clip.shift = packet->pts;
        }
        const platform::PacketHandle own = copy_of(packet);
        own->pts -= clip.shift;
        own->dts -= clip.shift;
        clip.file->write(own.get());
    } catch (const std::exception& failure) {
        m_failed(failure.what());
        std::remove(unfinished(clip.path).c_str());
        clip.path.clear();
    }
}

void ClipRing::complete(Clip& clip) {
    if (clip.path.empty() || clip.file == nullptr)
        return;
    const std::string made = unfinished(clip.path);
    try {
        clip.file->finish();
        struct stat status {};
        if (stat(made.c_str(), &status) != 0 || std::rename(made.c_str(), clip.path.c_str()) != 0)
            throw std::runtime_error("cannot write " + clip.path + ": " + std::strerror(errno));
        m_written(clip.path, static_cast<std::uint64_t>(status.st_size));
    } catch (const std::exception& failure) {
        m_failed(failure.what());
        std::remove(made.c_str());
    }
    clip.path.clear();
}

/** Whole groups only: what follows a key picture is nothing without it. */
void ClipRing::forget_old() {
    const double needed_from = seconds_of(*m_packets.back()) - before;
    while (true) {
        const auto next = std::find_if(m_packets.begin() + 1, m_packets.end(),
                                       [](const platform::PacketHandle& packet) { return is_key(*packet); });
        if (next == m_packets.end() || (seconds_of(**next) > needed_from && m_bytes <= most_bytes))
            return;
        for (auto each = m_packets.begin(); each != next; ++each)
            m_bytes -= static_cast<std::size_t>((*each)->size);
        m_packets.erase(m_packets.begin(), next);
    }
}

} // namespace host_overlay
