#include "platform/axoverlay/mp4_file.h"

#include "base/blocked_signals.h"

#include <cmath>
#include <cstdint>
#include <stdexcept>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
}

namespace host_overlay {
namespace {

constexpr AVRational time_base{1, 90000};
/** Pictures between two that a player can jump to; a few seconds at any rate that a camera has. */
constexpr int key_interval = 50;
/** Of a fragment. With what the encoder looks ahead, a process that is killed loses less than a second. */
constexpr auto fragment_microseconds = "500000";

int check(int result, const std::string& what) {
    if (result < 0)
        throw std::runtime_error(what + ": " + platform::ffmpeg_reason(result));
    return result;
}

template <typename Pointer>
Pointer* check(Pointer* pointer, const std::string& what) {
    if (pointer == nullptr)
        throw std::runtime_error(what);
    return pointer;
}

const AVCodec* find_encoder() {
    const AVCodec* encoder = avcodec_find_encoder_by_name("libx264");
    return check(encoder, "this FFmpeg has no H.264 encoder (libx264)");
}

} // namespace

Mp4File::Mp4File(const std::string& path, int width, int height)
    : m_frame(check(av_frame_alloc(), "out of memory")), m_packet(check(av_packet_alloc(), "out of memory")) {
    AVFormatContext* file = nullptr;
    check(avformat_alloc_output_context2(&file, nullptr, "mp4", path.c_str()), "cannot write MP4");
    m_file.reset(file);
    open_encoder(width, height);
    open_file(path);
    m_frame->format = AV_PIX_FMT_NV12;
    m_frame->width = width;
    m_frame->height = height;
}

void Mp4File::open_encoder(int width, int height) {
    const AVCodec* codec = find_encoder();
    m_encoder.reset(check(avcodec_alloc_context3(codec), "out of memory"));
    m_encoder->width = width;
    m_encoder->height = height;
    m_encoder->pix_fmt = AV_PIX_FMT_NV12;
    m_encoder->time_base = time_base;
    m_encoder->gop_size = key_interval;
    m_encoder->max_b_frames = 0;
    m_encoder->color_range = AVCOL_RANGE_MPEG;
    m_encoder->colorspace = AVCOL_SPC_SMPTE170M;
    m_encoder->color_primaries = AVCOL_PRI_SMPTE170M;
    m_encoder->color_trc = AVCOL_TRC_SMPTE170M;
    // One thread: the recorder shares the machine with the inference, and its bytes must not depend on the core count.
    m_encoder->thread_count = 1;
    m_encoder->log_level_offset = AV_LOG_INFO - AV_LOG_ERROR; // its statistics are nobody's business, its errors are
    m_encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    check(av_opt_set(m_encoder->priv_data, "preset", "veryfast", 0), "the H.264 encoder refuses its preset");
    check(av_opt_set(m_encoder->priv_data, "crf", "21", 0), "the H.264 encoder refuses its quality");
    const blocked_signals blocked;
    check(avcodec_open2(m_encoder.get(), codec, nullptr), "the H.264 encoder does not start");
}

void Mp4File::open_file(const std::string& path) {
    AVStream* stream = check(avformat_new_stream(m_file.get(), nullptr), "out of memory");
    stream->time_base = time_base;
    check(avcodec_parameters_from_context(stream->codecpar, m_encoder.get()), "cannot write MP4");
    // No date and no version string in the file, so that equal videos are equal files.
    m_file->flags |= AVFMT_FLAG_BITEXACT;
    check(avio_open(&m_file->pb, path.c_str(), AVIO_FLAG_WRITE), "cannot write " + path);
    // What is written goes to the file at once, and a full disk is noticed then.
    m_file->flags |= AVFMT_FLAG_FLUSH_PACKETS;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "empty_moov+default_base_moof", 0);
    av_dict_set(&options, "frag_duration", fragment_microseconds, 0);
    const int written = avformat_write_header(m_file.get(), &options);
    av_dict_free(&options);
    check(written, "cannot write " + path);
}

void Mp4File::add(const Nv12Picture& picture, double seconds) {
    if (m_last < 0)
        m_begin = seconds;
    const long long time = std::llround((seconds - m_begin) * time_base.den);
    if (time <= m_last)
        return;
    // The encoder only reads, and has taken what it wants when it returns.
    auto* bytes = const_cast<std::uint8_t*>(picture.luma());
    check(av_image_fill_arrays(m_frame->data, m_frame->linesize, bytes, AV_PIX_FMT_NV12, picture.width, picture.height,
                               1),
          "cannot encode the picture");
    m_frame->pts = time;
    m_gap = m_last < 0 ? m_gap : time - m_last;
    encode(m_frame.get());
    m_last = time;
}

void Mp4File::encode(AVFrame* frame) {
    check(avcodec_send_frame(m_encoder.get(), frame), "cannot encode the picture");
    int result = 0;
    while ((result = avcodec_receive_packet(m_encoder.get(), m_packet.get())) == 0) {
        m_packet->stream_index = 0;
        m_packet->duration = m_gap; // counts for the last picture only, which would not be shown without
        av_packet_rescale_ts(m_packet.get(), time_base, m_file->streams[0]->time_base);
        write(m_packet.get());
    }
    if (result != AVERROR(EAGAIN) && result != AVERROR_EOF)
        check(result, "cannot encode the picture");
}

void Mp4File::write(AVPacket* packet) {
    check(av_interleaved_write_frame(m_file.get(), packet), "cannot write the video");
    check(m_file->pb->error, "cannot write the video");
}

void Mp4File::finish() {
    encode(nullptr);
    check(av_write_trailer(m_file.get()), "cannot write the video's index");
    check(avio_closep(&m_file->pb), "cannot write the video");
}

} // namespace host_overlay
