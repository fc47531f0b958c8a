#include "platform/axoverlay/mp4_writer.h"

#include <stdexcept>

namespace host_overlay {
namespace {

/** Of a fragment. With what the encoder looks ahead, a process that is killed loses less than a second. */
constexpr auto fragment_microseconds = "500000";

} // namespace

Mp4Writer::Mp4Writer(const std::string& path, const H264Encoder& encoder) {
    AVFormatContext* file = nullptr;
    checked(avformat_alloc_output_context2(&file, nullptr, "mp4", path.c_str()), "cannot write MP4");
    m_file.reset(file);
    AVStream* stream = avformat_new_stream(m_file.get(), nullptr);
    if (stream == nullptr)
        throw std::runtime_error("out of memory");
    stream->time_base = H264Encoder::time_base;
    checked(avcodec_parameters_from_context(stream->codecpar, encoder.context()), "cannot write MP4");
    // No date and no version string in the file, so that equal videos are equal files.
    m_file->flags |= AVFMT_FLAG_BITEXACT;
    checked(avio_open(&m_file->pb, path.c_str(), AVIO_FLAG_WRITE), "cannot write " + path);
    // What is written goes to the file at once, and a full disk is noticed then.
    m_file->flags |= AVFMT_FLAG_FLUSH_PACKETS;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "empty_moov+default_base_moof", 0);
    av_dict_set(&options, "frag_duration", fragment_microseconds, 0);
    const int written = avformat_write_header(m_file.get(), &options);
    av_dict_free(&options);
    checked(written, "cannot write " + path);
}

void Mp4Writer::write(AVPacket* packet) {
    av_packet_rescale_ts(packet, H264Encoder::time_base, m_file->streams[0]->time_base);
    checked(av_interleaved_write_frame(m_file.get(), packet), "cannot write the video");
    checked(m_file->pb->error, "cannot write the video");
}

void Mp4Writer::finish() {
    checked(av_write_trailer(m_file.get()), "cannot write the video's index");
    checked(avio_closep(&m_file->pb), "cannot write the video");
}

} // namespace host_overlay
