#include "tests/platform/vdostream/rtsp_camera.h"

#include "platform/common/ffmpeg.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace test_video {
namespace {

constexpr int largest_packet = 1400;

void require(bool met, const char* what) {
    if (!met)
        throw std::runtime_error(std::string("RTSP camera: ") + what);
}

struct MuxerCloser {
    void operator()(AVFormatContext* format) const {
        av_freep(&format->pb->buffer);
        avio_context_free(&format->pb);
        avformat_free_context(format);
    }
};

/** The rest of the line after `start`; empty when no line begins so. */
std::string line_after(const std::string& text, const std::string& start) {
    const auto begin = text.find("\r\n" + start);
    if (begin == std::string::npos)
        return "";
    const auto value = begin + 2 + start.size();
    return text.substr(value, text.find("\r\n", value) - value);
}

} // namespace

RtspCamera::RtspCamera(int pictures) : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    encode(pictures);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* any = reinterpret_cast<sockaddr*>(&address);
    require(bind(m_listener, any, size) == 0 && listen(m_listener, 4) == 0 && getsockname(m_listener, any, &size) == 0,
            "no port");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

RtspCamera::~RtspCamera() {
    shutdown(m_listener, SHUT_RDWR);
    m_thread.join();
    close(m_listener);
}

std::vector<std::string> RtspCamera::wanted_tracks() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_wanted;
}

void RtspCamera::encode(int pictures) {
    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
    const platform::CodecHandle codec(avcodec_alloc_context3(encoder));
    codec->width = 64;
    codec->height = 48;
    codec->pix_fmt = AV_PIX_FMT_YUV420P;
    codec->time_base = {1, 25};
    codec->gop_size = 1;
    codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    require(avcodec_open2(codec.get(), encoder, nullptr) >= 0, "no encoder");

    AVFormatContext* format = nullptr;
    require(avformat_alloc_output_context2(&format, nullptr, "rtp", nullptr) >= 0, "no packets");
    auto* buffer = static_cast<unsigned char*>(av_malloc(largest_packet));
    const auto take = [](void* self, std::uint8_t* bytes, int size) {
        constexpr std::uint8_t first_rtcp = 200;
        const auto channel = static_cast<std::uint8_t>(bytes[1] >= first_rtcp ? 1 : 0);
        packet wrapped = {'$', channel, static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)};
        wrapped.insert(wrapped.end(), bytes, bytes + size);
        static_cast<RtspCamera*>(self)->m_packets.push_back(std::move(wrapped));
        return size;
    };
    format->pb = avio_alloc_context(buffer, largest_packet, 1, this, nullptr, take, nullptr);
    format->pb->max_packet_size = largest_packet;
    const std::unique_ptr<AVFormatContext, MuxerCloser> muxer(format);
    AVStream* stream = avformat_new_stream(format, nullptr);
    require(avcodec_parameters_from_context(stream->codecpar, codec.get()) >= 0, "no parameters");
    require(avformat_write_header(format, nullptr) >= 0, "no header");
    char description[2048] = {};
    require(av_sdp_create(&format, 1, description, sizeof description) >= 0, "no description");
    m_description = std::string(description) + "a=control:video\r\n" +
                    "m=audio 0 RTP/AVP 97\r\na=rtpmap:97 MPEG4-GENERIC/16000/1\r\na=control:audio\r\n";

    const platform::FrameHandle frame(av_frame_alloc());
    frame->format = codec->pix_fmt;
    frame->width = codec->width;
    frame->height = codec->height;
    require(av_frame_get_buffer(frame.get(), 0) >= 0, "no frame");
    for (int plane = 0; plane < 3; ++plane)
        std::fill_n(frame->data[plane], frame->linesize[plane] * codec->height / (plane == 0 ? 1 : 2),
                    std::uint8_t{128});
    const platform::PacketHandle encoded(av_packet_alloc());
    for (int index = 0; index < pictures; ++index) {
        frame->pts = index;
        require(avcodec_send_frame(codec.get(), frame.get()) >= 0, "not encoded");
        while (avcodec_receive_packet(codec.get(), encoded.get()) >= 0) {
            av_packet_rescale_ts(encoded.get(), codec->time_base, stream->time_base);
            require(av_write_frame(format, encoded.get()) >= 0, "not written");
        }
    }
    require(av_write_trailer(format) >= 0, "no end");
}

void RtspCamera::serve() {
    for (int client = 0; (client = accept(m_listener, nullptr, nullptr)) >= 0; close(client))
        answer_client(client);
}

void RtspCamera::answer_client(int client) {
    std::string received;
    char bytes[4096];
    for (ssize_t count = 0; (count = recv(client, bytes, sizeof bytes, 0)) > 0;) {
        received.append(bytes, static_cast<std::size_t>(count));
        for (auto end = received.find("\r\n\r\n"); end != std::string::npos; end = received.find("\r\n\r\n")) {
            if (!answer(client, received.substr(0, end + 2)))
                return;
            received.erase(0, end + 4);
        }
    }
}

bool RtspCamera::answer(int client, const std::string& request) {
    std::string reply = "RTSP/1.0 200 OK\r\nSession: 1\r\nCSeq:" + line_after(request, "CSeq:") + "\r\n";
    std::string body;
    if (request.starts_with("DESCRIBE")) {
        body = m_description;
        reply += "Content-Type: application/sdp\r\nContent-Base: " + url() + "/\r\n";
    } else if (request.starts_with("SETUP")) {
        const bool video = request.substr(0, request.find("\r\n")).find("/video ") != std::string::npos;
        reply += std::string("Transport: RTP/AVP/TCP;unicast;interleaved=") + (video ? "0-1" : "2-3") + "\r\n";
        const std::lock_guard<std::mutex> guard(m_lock);
        m_wanted.emplace_back(video ? "video" : "audio");
    }
    const bool plays = request.starts_with("PLAY");
    if (plays && m_packets.empty())
        return false;
    reply += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    for (std::size_t i = 0; plays && i < m_packets.size(); ++i)
        reply.append(m_packets[i].begin(), m_packets[i].end());
    return send(client, reply.data(), reply.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(reply.size()) && !plays;
}

} // namespace test_video
