#include "platform/axoverlay/h264_encoder.h"

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

/** Pictures between two that a player can jump to; a few seconds at any rate that a camera has. */
constexpr int key_interval = 50;

template <typename Pointer>
Pointer* checked(Pointer* pointer, const std::string& what) {
    if (pointer == nullptr)
        throw std::runtime_error(what);
    return pointer;
}

} // namespace

int checked(int result, const std::string& what) {
    if (result < 0)
        throw std::runtime_error(what + ": " + platform::ffmpeg_reason(result));
    return result;
}

H264Encoder::H264Encoder(int width, int height)
    : m_frame(checked(av_frame_alloc(), "out of memory")), m_packet(checked(av_packet_alloc(), "out of memory")) {
    const AVCodec* codec =
        checked(avcodec_find_encoder_by_name("libx264"), "this FFmpeg has no H.264 encoder (libx264)");
    m_encoder.reset(checked(avcodec_alloc_context3(codec), "out of memory"));
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
    // One thread: it shares the machine with the inference, and its bytes must not depend on the core count.
    m_encoder->thread_count = 1;
    m_encoder->log_level_offset = AV_LOG_INFO - AV_LOG_ERROR; // its statistics are nobody's business, its errors are
    m_encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    checked(av_opt_set(m_encoder->priv_data, "preset", "veryfast", 0), "the H.264 encoder refuses its preset");
    checked(av_opt_set(m_encoder->priv_data, "crf", "21", 0), "the H.264 encoder refuses its quality");
    const blocked_signals blocked;
    checked(avcodec_open2(m_encoder.get(), codec, nullptr), "the H.264 encoder does not start");
    m_frame->format = AV_PIX_FMT_NV12;
    m_frame->width = width;
    m_frame->height = height;
}

void H264Encoder::add(const Nv12Picture& picture, double seconds, const PacketTaker& take) {
    if (m_last < 0)
        m_begin = seconds;
    const long long time = std::llround((seconds - m_begin) * time_base.den);
    if (time <= m_last)
        return;
    // The encoder only reads, and has taken what it wants when it returns.
    auto* bytes = const_cast<std::uint8_t*>(picture.luma());
    checked(av_image_fill_arrays(m_frame->data, m_frame->linesize, bytes, AV_PIX_FMT_NV12, picture.width,
                                 picture.height, 1),
            "cannot encode the picture");
    m_frame->pts = time;
    m_gap = m_last < 0 ? m_gap : time - m_last;
    encode(m_frame.get(), take);
    m_last = time;
}

void H264Encoder::encode(AVFrame* frame, const PacketTaker& take) {
    checked(avcodec_send_frame(m_encoder.get(), frame), "cannot encode the picture");
    int result = 0;
    while ((result = avcodec_receive_packet(m_encoder.get(), m_packet.get())) == 0) {
        m_packet->stream_index = 0;
        m_packet->duration = m_gap; // counts for the last picture only, which would not be shown without
        take(m_packet.get());
        av_packet_unref(m_packet.get());
    }
    if (result != AVERROR(EAGAIN) && result != AVERROR_EOF)
        checked(result, "cannot encode the picture");
}

} // namespace host_overlay
