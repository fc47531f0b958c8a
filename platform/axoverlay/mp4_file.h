#pragma once

#include "platform/axoverlay/nv12_picture.h"

#include <memory>
#include <string>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;

namespace host_overlay {

/**
 * An H.264 video in an MP4 file, written picture by picture in fragments of half a second, so that what has been
 * written is playable whatever becomes of the process or the disk. Equal pictures and times give equal bytes. Failures
 * are std::runtime_error with the system's or FFmpeg's reason. One thread at a time.
 */
class Mp4File {
  public:
    Mp4File(const std::string& path, int width, int height);
    /** Leaves the file as it is when finish() was not called. */
    ~Mp4File();
    Mp4File(const Mp4File&) = delete;
    Mp4File& operator=(const Mp4File&) = delete;

    /** Adds a picture shown from `seconds` on; one that is not later than the one before is left out. */
    void add(const Nv12Picture& picture, double seconds);
    /** Writes what the encoder still holds, and an index by which players jump faster. Nothing can be added afterwards.
     */
    void finish();

  private:
    struct Releaser {
        void operator()(AVCodecContext* encoder) const;
        void operator()(AVFormatContext* file) const;
        void operator()(AVFrame* frame) const;
        void operator()(AVPacket* packet) const;
    };

    void open_encoder(int width, int height);
    void open_file(const std::string& path);
    void encode(AVFrame* frame);
    void write(AVPacket* packet);

    std::unique_ptr<AVFormatContext, Releaser> m_file;
    std::unique_ptr<AVCodecContext, Releaser> m_encoder;
    std::unique_ptr<AVFrame, Releaser> m_frame;
    std::unique_ptr<AVPacket, Releaser> m_packet;
    double m_begin = 0.0;   ///< seconds of the first picture
    long long m_last = -1;  ///< time stamp of the last picture, in the encoder's time base
    long long m_gap = 3600; ///< between the last two pictures, likewise; 1/25 s to begin with
};

} // namespace host_overlay
