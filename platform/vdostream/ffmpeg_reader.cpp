#include "platform/vdostream/ffmpeg_reader.h"

#include "platform/vdostream/error.h"

extern "C" {
#include <libavdevice/avdevice.h>
}

#include <cmath>
#include <cstdint>
#include <cstring>
#include <thread>
#include <utility>

namespace vdostream {
namespace {

constexpr std::chrono::seconds answer_limit{5};
/** FFmpeg looks at a camera's first pictures for so long; well below the limit, which would cut the camera off. */
constexpr std::int64_t longest_look_us = 2'000'000;
/** A step of the stream's own clock beyond this is a defect of the stream, not a pause. */
constexpr double longest_pause_seconds = 10.0;
constexpr double assumed_fps = 25.0;
/** Four times what a stream can show. A few bytes of a broken file may ask for gigabytes. */
constexpr std::int64_t most_pixels = std::int64_t{8192} * 8192;

double frames_a_second(AVFormatContext* format, AVStream* stream) {
    const double fps = av_q2d(av_guess_frame_rate(format, stream, nullptr));
    return std::isfinite(fps) && fps > 0.0 && fps <= 1000.0 ? fps : assumed_fps;
}

Orientation upright_in(const std::uint8_t* matrix, std::size_t size) {
    std::int32_t numbers[9];
    if (matrix == nullptr || size < sizeof numbers)
        return {};
    std::memcpy(numbers, matrix, sizeof numbers);
    return orientation_of(numbers);
}

Orientation upright_of(const AVStream* stream) {
    std::size_t size = 0;
    const std::uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    return upright_in(matrix, size);
}

void prepare_ffmpeg() {
    static const bool prepared = [] {
        av_log_set_level(AV_LOG_FATAL);
        avdevice_register_all();
        avformat_network_init();
        return true;
    }();
    static_cast<void>(prepared);
}

} // namespace

FfmpegReader::FfmpegReader(std::string address, Access way) : m_address(std::move(address)), m_access(way) {
    prepare_ffmpeg();
}

void FfmpegReader::open() {
    close();
    try {
        open_input();
        open_decoder();
    } catch (const Failure&) {
        close();
        throw;
    }
}

void FfmpegReader::close() {
    m_packet.reset();
    m_codec.reset();
    m_format.reset();
}

void FfmpegReader::open_input() {
    AVFormatContext* format = avformat_alloc_context();
    need(format != nullptr, Code::no_source, "needs more memory than there is");
    format->interrupt_callback = {&FfmpegReader::give_up, this};
    AVDictionary* options = nullptr;
    const AVInputFormat* demuxer = nullptr;
    std::string url = m_address;
    if (m_access == Access::file) {
        // A playlist is a video file too, but it shall not make the host fetch things from elsewhere.
        url = "file:" + m_address;
        av_dict_set(&options, "protocol_whitelist", "file", 0);
    } else if (m_access == Access::rtsp) {
        av_dict_set(&options, "rtsp_transport", "tcp", 0);
        // An audio track that is silent would be waited for.
        av_dict_set(&options, "allowed_media_types", "video", 0);
        format->max_analyze_duration = longest_look_us;
    } else {
        demuxer = av_find_input_format("video4linux2");
        format->flags |= AVFMT_FLAG_NONBLOCK;
    }
    m_deadline = std::chrono::steady_clock::now() + answer_limit;
    int code = avformat_open_input(&format, url.c_str(), demuxer, &options);
    av_dict_free(&options);
    if (code < 0)
        fail("cannot be opened", code);
    m_format.reset(format);
    m_deadline = std::chrono::steady_clock::now() + answer_limit;
    code = avformat_find_stream_info(format, nullptr);
    m_stream_index = code < 0 ? code : av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (m_stream_index < 0)
        fail("has no video", m_stream_index);
}

void FfmpegReader::open_decoder() {
    AVStream* stream = m_format->streams[m_stream_index];
    const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    if (decoder == nullptr)
        throw Failure(Code::no_source, "uses a codec that cannot be decoded, " +
                                           std::string(avcodec_get_name(stream->codecpar->codec_id)));
    m_codec.reset(avcodec_alloc_context3(decoder));
    m_packet.reset(av_packet_alloc());
    need(m_codec != nullptr && m_packet != nullptr, Code::no_source, "needs more memory than there is");
    int code = avcodec_parameters_to_context(m_codec.get(), stream->codecpar);
    if (code >= 0) {
        m_codec->thread_count = 1;
        m_codec->max_pixels = most_pixels;
        m_codec->pkt_timebase = stream->time_base;
        code = avcodec_open2(m_codec.get(), decoder, nullptr);
    }
    if (code < 0)
        fail("cannot be decoded", code);
    m_upright = upright_of(stream);
    m_properties = {stream->codecpar->width, stream->codecpar->height, frames_a_second(m_format.get(), stream)};
    if (m_upright.lies_on_its_side())
        std::swap(m_properties.width, m_properties.height);
    m_first_read = false;
    m_draining = false;
}

std::shared_ptr<Picture> FfmpegReader::read() {
    m_deadline = std::chrono::steady_clock::now() + answer_limit;
    platform::FrameHandle frame(av_frame_alloc());
    while (frame != nullptr) {
        const int code = avcodec_receive_frame(m_codec.get(), frame.get());
        if (code == AVERROR_EOF)
            return nullptr;
        if (code >= 0 && frame->width > 0 && frame->height > 0 && frame->width < 32768 && frame->height < 32768) {
            const double seconds = media_time(*frame);
            const Orientation upright = orientation_for(*frame);
            auto next = std::make_shared<FfmpegPicture>(std::move(frame), upright, m_converter);
            next->seconds = seconds;
            return next;
        }
        if (code == AVERROR(EAGAIN) && !feed())
            return nullptr;
        // Any other code is a picture that could not be decoded: the one after it may be.
        if (cancelled())
            break;
    }
    throw Failure(Code::no_source, "was given up");
}

bool FfmpegReader::feed() {
    const int code = av_read_frame(m_format.get(), m_packet.get());
    if (code == AVERROR(EAGAIN)) {
        need(give_up(this) == 0, Code::no_source, "sends no pictures");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return true;
    }
    if (code < 0) {
        if (is_live() || code == AVERROR_EXIT)
            fail("was lost", code);
        // The end, or a file that is cut short: what the decoder still holds comes first.
        if (std::exchange(m_draining, true))
            return false;
        avcodec_send_packet(m_codec.get(), nullptr);
        return true;
    }
    if (m_packet->stream_index == m_stream_index)
        avcodec_send_packet(m_codec.get(), m_packet.get());
    av_packet_unref(m_packet.get());
    return true;
}

double FfmpegReader::media_time(const AVFrame& frame) {
    const double interval = 1.0 / m_properties.fps;
    const bool stamped = frame.best_effort_timestamp != AV_NOPTS_VALUE;
    const double stamp = stamped ? static_cast<double>(frame.best_effort_timestamp) *
                                       av_q2d(m_format->streams[m_stream_index]->time_base)
                                 : 0.0;
    if (!std::exchange(m_first_read, true)) {
        m_offset = -stamp;
        m_last_time = 0.0;
        return m_last_time;
    }
    const double expected = m_last_time + interval;
    double time = stamp + m_offset;
    if (!stamped || !(time > m_last_time) || time > m_last_time + longest_pause_seconds) {
        time = expected;
        m_offset = stamped ? expected - stamp : m_offset;
    }
    m_last_time = time;
    return time;
}

Orientation FfmpegReader::orientation_for(const AVFrame& frame) const {
    const AVFrameSideData* own = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
    return own == nullptr ? m_upright : upright_in(own->data, own->size);
}

void FfmpegReader::fail(const std::string& what, int code) const {
    const bool late = code == AVERROR_EXIT && !cancelled();
    throw Failure(Code::no_source, what + " (" +
                                       (late ? "no answer for " + std::to_string(answer_limit.count()) + " s"
                                             : platform::ffmpeg_reason(code)) +
                                       ")");
}

int FfmpegReader::give_up(void* self) {
    const auto* reader = static_cast<const FfmpegReader*>(self);
    const bool late = reader->is_live() && std::chrono::steady_clock::now() >= reader->m_deadline;
    return reader->cancelled() || late ? 1 : 0;
}

} // namespace vdostream
