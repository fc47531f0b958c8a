#include "platform/vdostream/ffmpeg_picture.h"

#include <libyuv.h>

#include <cmath>
#include <numbers>

namespace vdostream {
namespace {

int round_up_to_even(int size) {
    return size + size % 2;
}

/** Bytes of a converted row. FFmpeg's vector code writes whole blocks, in a narrow picture beyond the row's end. */
int row_size(int width) {
    constexpr int block = 32;
    return (width + block - 1) / block * block;
}

bool is_limited_range(const AVFrame& frame) {
    return frame.color_range != AVCOL_RANGE_JPEG;
}

/** The pixel's shape in numbers small enough for the arithmetic of `convert`; 1 : 1 when it is not said. */
AVRational pixel_shape(const AVFrame& frame) {
    AVRational shape = {1, 1};
    if (frame.sample_aspect_ratio.num > 0 && frame.sample_aspect_ratio.den > 0)
        av_reduce(&shape.num, &shape.den, frame.sample_aspect_ratio.num, frame.sample_aspect_ratio.den, 1024);
    return shape.num > 0 && shape.den > 0 ? shape : AVRational{1, 1};
}

} // namespace

bool Nv12Converter::convert(const AVFrame& frame, std::vector<std::uint8_t>& pixels) {
    const int stride = row_size(frame.width);
    const auto luma_size = static_cast<std::size_t>(stride) * static_cast<std::size_t>(round_up_to_even(frame.height));
    pixels.resize(luma_size * 3 / 2);
    std::uint8_t* chroma = pixels.data() + luma_size;
    if (frame.format == AV_PIX_FMT_YUV420P && is_limited_range(frame))
        return libyuv::I420ToNV12(frame.data[0], frame.linesize[0], frame.data[1], frame.linesize[1], frame.data[2],
                                  frame.linesize[2], pixels.data(), stride, chroma, stride, frame.width,
                                  frame.height) == 0;
    std::uint8_t* const planes[4] = {pixels.data(), chroma, nullptr, nullptr};
    const int strides[4] = {stride, stride, 0, 0};
    return scale(frame, planes, strides);
}

bool Nv12Converter::scale(const AVFrame& frame, std::uint8_t* const planes[], const int strides[]) {
    const annotated_lock guard(m_lock);
    m_scaler.reset(sws_getCachedContext(m_scaler.release(), frame.width, frame.height,
                                        static_cast<AVPixelFormat>(frame.format), frame.width, frame.height,
                                        AV_PIX_FMT_NV12, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (m_scaler == nullptr)
        return false;
    // A camera's JPEG pictures use the full range of values; the frames handed out use the limited one.
    const int* table = sws_getCoefficients(SWS_CS_DEFAULT);
    sws_setColorspaceDetails(m_scaler.get(), table, is_limited_range(frame) ? 0 : 1, table, 0, 0, 1 << 16, 1 << 16);
    return sws_scale(m_scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) > 0;
}

Orientation orientation_of(const std::int32_t matrix[9]) {
    // A point goes from (x, y) to (a x + c y, b x + d y), with y downwards.
    const double a = matrix[0];
    const double b = matrix[1];
    const double c = matrix[3];
    const double d = matrix[4];
    const double area = a * d - b * c;
    if (area == 0.0)
        return {};
    const auto quarters = std::lround(std::atan2(b, a) / std::numbers::pi * 2.0);
    return {area < 0.0, static_cast<int>((quarters + 4) % 4) * 90};
}

bool FfmpegPicture::native(Nv12View& view) {
    const AVRational shape = pixel_shape(*m_frame);
    view = {nullptr, 0, nullptr, 0, m_frame->width, m_frame->height, shape.num, shape.den, m_upright};
    if (m_frame->format == AV_PIX_FMT_NV12 && is_limited_range(*m_frame)) {
        view.luma = m_frame->data[0];
        view.luma_stride = m_frame->linesize[0];
        view.chroma = m_frame->data[1];
        view.chroma_stride = m_frame->linesize[1];
        return true;
    }
    if (m_pixels.empty() && !m_converter->convert(*m_frame, m_pixels)) {
        m_pixels.clear();
        return false;
    }
    const int stride = row_size(m_frame->width);
    view.luma = m_pixels.data();
    view.luma_stride = stride;
    view.chroma = m_pixels.data() + std::ptrdiff_t{stride} * round_up_to_even(m_frame->height);
    view.chroma_stride = stride;
    return true;
}

} // namespace vdostream
