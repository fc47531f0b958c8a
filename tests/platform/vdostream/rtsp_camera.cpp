#include "tests/platform/vdostream/rtsp_camera.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace test_video {
namespace {

const std::string description = "v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\ns=camera\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\n"
                                "m=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\na=control:video\r\n"
                                "m=audio 0 RTP/AVP 97\r\na=rtpmap:97 MPEG4-GENERIC/16000/1\r\na=control:audio\r\n";

/** The rest of the line after `start`; empty when no line begins so. */
std::string line_after(const std::string& text, const std::string& start) {
    const auto begin = text.find("\r\n" + start);
    if (begin == std::string::npos) {
        return "";
    }
    const auto value = begin + 2 + start.size();
    return text.substr(value, text.find("\r\n", value) - value);
}

} // namespace

rtsp_camera::rtsp_camera() : m_Listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* any = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_Listener, any, size) != 0 || listen(m_Listener, 4) != 0 || getsockname(m_Listener, any, &size) != 0) {
        throw std::runtime_error("no port for the camera");
    }
    m_Port = ntohs(address.sin_port);
    m_Thread = std::thread([this] { serve(); });
}

rtsp_camera::~rtsp_camera() {
    shutdown(m_Listener, SHUT_RDWR);
    m_Thread.join();
    close(m_Listener);
}

std::vector<std::string> rtsp_camera::wanted_tracks() const {
    const std::lock_guard<std::mutex> guard(m_Lock);
    return m_Wanted;
}

void rtsp_camera::serve() {
    for (int client = 0; (client = accept(m_Listener, nullptr, nullptr)) >= 0; close(client)) {
        answer_client(client);
    }
}

void rtsp_camera::answer_client(int client) {
    std::string received;
    char bytes[4096];
    for (ssize_t count = 0; (count = recv(client, bytes, sizeof bytes, 0)) > 0;) {
        received.append(bytes, static_cast<std::size_t>(count));
        for (auto end = received.find("\r\n\r\n"); end != std::string::npos; end = received.find("\r\n\r\n")) {
            if (!answer(client, received.substr(0, end + 2))) {
                return;
            }
            received.erase(0, end + 4);
        }
    }
}

bool rtsp_camera::answer(int client, const std::string& request) {
    std::string reply = "RTSP/1.0 200 OK\r\nSession: 1\r\nCSeq:" + line_after(request, "CSeq:") + "\r\n";
    std::string body;
    if (request.starts_with("DESCRIBE")) {
        body = description;
        reply += "Content-Type: application/sdp\r\nContent-Base: " + url() + "/\r\n";
    } else if (request.starts_with("SETUP")) {
        const bool video = request.substr(0, request.find("\r\n")).find("/video ") != std::string::npos;
        reply += std::string("Transport: RTP/AVP/TCP;unicast;interleaved=") + (video ? "0-1" : "2-3") + "\r\n";
        const std::lock_guard<std::mutex> guard(m_Lock);
        m_Wanted.emplace_back(video ? "video" : "audio");
    } else if (request.starts_with("PLAY")) {
        return false;
    }
    reply += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    return send(client, reply.data(), reply.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(reply.size());
}

} // namespace test_video
