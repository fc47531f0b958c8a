#include "tests/platform/vdostream/test_video.h"

#include "platform/common/ffmpeg.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace test_video {
namespace {

void require(bool met, const std::string& what) {
    if (!met)
        throw std::runtime_error("test video: " + what);
}

struct MuxerCloser {
    void operator()(AVFormatContext* format) const {
        avio_closep(&format->pb);
        avformat_free_context(format);
    }
};

void fill(AVFrame& frame, int index) {
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x)
            frame.data[0][y * frame.linesize[0] + x] = luma_at(index, x, y);
    }
    for (int plane = 1; plane < 3; ++plane) {
        for (int y = 0; y < (frame.height + 1) / 2; ++y) {
            for (int x = 0; x < (frame.width + 1) / 2; ++x)
                frame.data[plane][y * frame.linesize[plane] + x] = static_cast<std::uint8_t>(64 * plane + 20);
        }
    }
}

} // namespace

std::uint8_t luma_at(int index, int x, int y) {
    return static_cast<std::uint8_t>(20 + index * 10 + x + y / 2);
}

void write_video(const video_file& wanted) {
    AVFormatContext* format = nullptr;
    require(avformat_alloc_output_context2(&format, nullptr, nullptr, wanted.path.c_str()) >= 0, "no muxer");
    const std::unique_ptr<AVFormatContext, MuxerCloser> muxer(format);
    const AVCodec* encoder = avcodec_find_encoder_by_name(wanted.codec.c_str());
    require(encoder != nullptr, "no encoder");
    const platform::CodecHandle codec(avcodec_alloc_context3(encoder));
    codec->width = wanted.width;
    codec->height = wanted.height;
    codec->pix_fmt = wanted.codec == "mjpeg" ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P;
    codec->time_base = {1, wanted.fps};
    codec->framerate = {wanted.fps, 1};
    require(avcodec_open2(codec.get(), encoder, nullptr) >= 0, "encoder does not open");
    AVStream* stream = avformat_new_stream(format, nullptr);
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = codec->framerate;
    require(avcodec_parameters_from_context(stream->codecpar, codec.get()) >= 0, "no parameters");
    if (wanted.matrix) {
        std::uint8_t* matrix = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, sizeof *wanted.matrix);
        require(matrix != nullptr, "no matrix");
        std::memcpy(matrix, wanted.matrix->data(), sizeof *wanted.matrix);
    }
    require(avio_open(&format->pb, wanted.path.c_str(), AVIO_FLAG_WRITE) >= 0, "no file");
    require(avformat_write_header(format, nullptr) >= 0, "no header");
    const platform::FrameHandle frame(av_frame_alloc());
    frame->format = codec->pix_fmt;
    frame->width = wanted.width;
    frame->height = wanted.height;
    require(av_frame_get_buffer(frame.get(), 0) >= 0, "no frame");
    const platform::PacketHandle packet(av_packet_alloc());
    for (int index = 0; index <= wanted.frames; ++index) {
        if (index < wanted.frames) {
            require(av_frame_make_writable(frame.get()) >= 0, "frame not writable");
            fill(*frame, index);
            frame->pts = index;
        }
        require(avcodec_send_frame(codec.get(), index < wanted.frames ? frame.get() : nullptr) >= 0, "not encoded");
        while (avcodec_receive_packet(codec.get(), packet.get()) >= 0) {
            av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
            require(av_interleaved_write_frame(format, packet.get()) >= 0, "not written");
        }
    }
    require(av_write_trailer(format) >= 0, "no trailer");
}

std::vector<char> read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::string& path, const std::vector<char>& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

VdoStream* new_stream(const std::map<std::string, guint32>& settings, std::string* message) {
    VdoMap* map = vdo_map_new();
    for (const auto& [name, value] : settings)
        vdo_map_set_uint32(map, name.c_str(), value);
    GError* error = nullptr;
    VdoStream* stream = vdo_stream_new(map, nullptr, &error);
    g_object_unref(map);
    const std::string text = take_message(error);
    if (message != nullptr)
        *message = text;
    return stream;
}

std::string take_message(GError*& error) {
    const std::string message = error == nullptr ? "" : error->message;
    g_clear_error(&error);
    return message;
}

} // namespace test_video
