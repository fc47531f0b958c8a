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
class rtsp_camera {
  public:
    explicit rtsp_camera(int pictures = 0);
    ~rtsp_camera();
    rtsp_camera(const rtsp_camera&) = delete;
    rtsp_camera& operator=(const rtsp_camera&) = delete;

    std::string url() const { return "rtsp://127.0.0.1:" + std::to_string(m_Port) + "/camera"; }
    /** The tracks that clients have asked for: "video", "audio". */
    std::vector<std::string> wanted_tracks() const;

  private:
    using packet = std::vector<std::uint8_t>;

    void encode(int pictures);
    void serve();
    void answer_client(int client);
    /** False when the client is to be hung up on. */
    bool answer(int client, const std::string& request);

    std::string m_Description;
    /** As they go over the connection, the RTSP channel's header in front. */
    std::vector<packet> m_Packets;
    int m_Listener = -1;
    int m_Port = 0;
    mutable std::mutex m_Lock;
    std::vector<std::string> m_Wanted;
    std::thread m_Thread;
};

} // namespace test_video
