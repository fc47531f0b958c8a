#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test_video {

/**
 * An RTSP camera on loopback that offers a video and an audio track. It plays so many pictures of the video and hangs
 * up; without any it hangs up once it is to play.
 */
class RtspCamera {
  public:
    explicit RtspCamera(int pictures = 0);
    ~RtspCamera();
    RtspCamera(const RtspCamera&) = delete;
    RtspCamera& operator=(const RtspCamera&) = delete;

    std::string url() const { return "rtsp://127.0.0.1:" + std::to_string(m_port) + "/camera"; }
    /** The tracks that clients have asked for: "video", "audio". */
    std::vector<std::string> wanted_tracks() const;

  private:
    using packet = std::vector<std::uint8_t>;

    void encode(int pictures);
    void serve();
    void answer_client(int client);
    /** False when the client is to be hung up on. */
    bool answer(int client, const std::string& request);

    std::string m_description;
    /** As they go over the connection, the RTSP channel's header in front. */
    std::vector<packet> m_packets;
    int m_listener = -1;
    int m_port = 0;
    mutable std::mutex m_lock;
    std::vector<std::string> m_wanted;
    std::thread m_thread;
};

} // namespace test_video
