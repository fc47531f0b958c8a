#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <memory>

/** Owning types for FFmpeg's objects. */
namespace vdostream {

struct ffmpeg_deleter {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

using format_handle = std::unique_ptr<AVFormatContext, ffmpeg_deleter>;
using codec_handle = std::unique_ptr<AVCodecContext, ffmpeg_deleter>;
using packet_handle = std::unique_ptr<AVPacket, ffmpeg_deleter>;
using frame_handle = std::unique_ptr<AVFrame, ffmpeg_deleter>;
using scaler_handle = std::unique_ptr<SwsContext, ffmpeg_deleter>;

} // namespace vdostream
