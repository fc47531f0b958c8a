#include "tests/platform/axoverlay/mp4_reader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace {

void take_pictures(AVCodecContext* decoder, AVFrame* frame, AVRational time_base, Mp4Content& content) {
    while (avcodec_receive_frame(decoder, frame) == 0) {
        content.seconds.push_back(static_cast<double>(frame->pts) * av_q2d(time_base));
        content.luma.push_back(frame->data[0][8 * frame->linesize[0] + 8]);
    }
}

} // namespace

Mp4Content read_mp4(const std::string& path) {
    Mp4Content content;
    AVFormatContext* file = nullptr;
    if (avformat_open_input(&file, path.c_str(), nullptr, nullptr) != 0)
        return content;
    avformat_find_stream_info(file, nullptr);
    const AVStream* stream = file->streams[0];
    content.codec = avcodec_get_name(stream->codecpar->codec_id);
    content.width = stream->codecpar->width;
    content.height = stream->codecpar->height;
    AVCodecContext* decoder = avcodec_alloc_context3(avcodec_find_decoder(stream->codecpar->codec_id));
    avcodec_parameters_to_context(decoder, stream->codecpar);
    avcodec_open2(decoder, nullptr, nullptr);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    while (av_read_frame(file, packet) == 0) {
        avcodec_send_packet(decoder, packet);
        av_packet_unref(packet);
        take_pictures(decoder, frame, stream->time_base, content);
    }
    avcodec_send_packet(decoder, nullptr);
    take_pictures(decoder, frame, stream->time_base, content);
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&decoder);
    avformat_close_input(&file);
    return content;
}
