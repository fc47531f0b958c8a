#pragma once

#include "platform/common/handle.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <string>

namespace platform {

/** A file that is read. */
using InputHandle = Handle<AVFormatContext, avformat_close_input>;

inline void free_output(AVFormatContext* file) {
    avio_closep(&file->pb);
    avformat_free_context(file);
}
/** A file that is written. */
using OutputHandle = Handle<AVFormatContext, free_output>;

using CodecHandle = Handle<AVCodecContext, avcodec_free_context>;
using PacketHandle = Handle<AVPacket, av_packet_free>;
using FrameHandle = Handle<AVFrame, av_frame_free>;

inline std::string ffmpeg_reason(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

} // namespace platform
