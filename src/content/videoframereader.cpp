#include "content/videoframereader.h"

#include <QTransform>
#include <QtEndian>
#include <algorithm>
#include <cmath>

extern "C" {
#include <libavformat/avformat.h>
}

#include "content/picturefit_p.h"

namespace Nomly {

namespace {

Failure failure(const char *message)
{
    return Failure { QString::fromLatin1(message) };
}

// How far before a position each seek for it starts.
constexpr double SeekLeads[] = { 0, 1, 4, 16 };

// The 32-bit layout QImage::Format_RGB32 keeps in memory.
constexpr AVPixelFormat ImagePixels = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? AV_PIX_FMT_BGRA : AV_PIX_FMT_ARGB;

} // namespace

VideoFrameReader::VideoFrameReader(MediaInput input)
    : m_input(std::move(input))
{}

Result<VideoFrameReader> VideoFrameReader::open(const QString &path, QDeadlineTimer deadline, std::stop_token stop)
{
    std::optional<MediaInput> input = MediaInput::open(path, deadline, std::move(stop));
    if (!input)
        return failure("the file cannot be opened as media");
    const int index = input->videoStream();
    if (index < 0)
        return Failure { QStringLiteral("no video track"), NoVideoTrack };
    VideoFrameReader reader(std::move(*input));
    reader.m_stream = index;
    reader.m_rotation = reader.m_input.videoRotation();
    AVFormatContext *format = reader.m_input.context();
    // Positions count from the start of the whole timeline, as the
    // container's duration does.
    if (format->start_time != AV_NOPTS_VALUE)
        reader.m_originSeconds = double(format->start_time) / AV_TIME_BASE;
    const AVCodecParameters *parameters = format->streams[index]->codecpar;
    const AVCodec *codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec)
        return failure("the video's codec is not supported");
    reader.m_decoder.reset(avcodec_alloc_context3(codec));
    if (!reader.m_decoder || avcodec_parameters_to_context(reader.m_decoder.get(), parameters) < 0)
        return failure("the video's codec is not supported");
    reader.m_decoder->thread_count = 0;
    if (avcodec_open2(reader.m_decoder.get(), codec, nullptr) < 0)
        return failure("the video's codec is not supported");
    reader.m_packet.reset(av_packet_alloc());
    reader.m_frame.reset(av_frame_alloc());
    reader.m_earlier.reset(av_frame_alloc());
    if (!reader.m_packet || !reader.m_frame || !reader.m_earlier)
        return failure("out of memory");
    return reader;
}

std::optional<double> VideoFrameReader::durationSeconds() const
{
    if (const auto whole = m_input.durationSeconds())
        return whole;
    const AVStream *stream = m_input.context()->streams[m_stream];
    if (stream->duration == AV_NOPTS_VALUE || stream->duration <= 0)
        return std::nullopt;
    const double seconds = double(stream->duration) * av_q2d(stream->time_base);
    return std::isfinite(seconds) && seconds > 0 ? std::optional(seconds) : std::nullopt;
}

double VideoFrameReader::secondsOf(const AVFrame *frame, double fallback) const
{
    if (frame->best_effort_timestamp == AV_NOPTS_VALUE)
        return fallback;
    const AVStream *stream = m_input.context()->streams[m_stream];
    const double seconds = double(frame->best_effort_timestamp) * av_q2d(stream->time_base) - m_originSeconds;
    return std::isfinite(seconds) ? seconds : fallback;
}

Result<DecodedVideoFrame> VideoFrameReader::frameAt(double seconds, double toleranceSeconds, int target)
{
    const double timeBase = av_q2d(m_input.context()->streams[m_stream]->time_base);
    if (!(timeBase > 0))
        return failure("the video states no time base");
    // Some containers (MPEG-TS) seek by estimate and may land past the key
    // frame the position needs, or after the last one; each retry starts
    // further back.
    Result<DecodedVideoFrame> late = failure("no frame could be decoded");
    for (const double lead : SeekLeads) {
        const double from = std::max(0.0, seconds - lead);
        // A stated duration can be absurd; the position stays in range.
        const auto position = int64_t(std::llround(std::clamp((from + m_originSeconds) / timeBase, -9e18, 9e18)));
        // A file that cannot seek is read on from where it is, as the
        // positions only grow.
        const bool sought = av_seek_frame(m_input.context(), m_stream, position, AVSEEK_FLAG_BACKWARD) >= 0;
        if (sought) {
            avcodec_flush_buffers(m_decoder.get());
            m_drained = false;
        }
        Landing landing = Landing::Nothing;
        Result<DecodedVideoFrame> frame = decodedNear(seconds, toleranceSeconds, target, landing);
        if (landing == Landing::Near || landing == Landing::Stopped)
            return frame;
        if (landing == Landing::Late)
            late = std::move(frame);
        if (!sought || from <= 0)
            break;
    }
    return late;
}

Result<DecodedVideoFrame> VideoFrameReader::decodedNear(double seconds,
                                                        double toleranceSeconds,
                                                        int target,
                                                        Landing &landing)
{
    av_frame_unref(m_earlier.get());
    bool haveEarlier = false;
    const auto finished = [&](const AVFrame *frame, Landing where) -> Result<DecodedVideoFrame> {
        landing = where;
        const double shown = secondsOf(frame, seconds);
        Result<QImage> image = converted(frame, target);
        av_frame_unref(m_frame.get());
        if (!image)
            return image.failure();
        return DecodedVideoFrame { std::move(image).value(), shown };
    };
    const auto stopped = [&](const char *why) -> Result<DecodedVideoFrame> {
        landing = Landing::Stopped;
        return failure(why);
    };

    for (int packets = 0;;) {
        while (avcodec_receive_frame(m_decoder.get(), m_frame.get()) >= 0) {
            const double shown = secondsOf(m_frame.get(), seconds);
            if (shown < seconds) {
                av_frame_unref(m_earlier.get());
                av_frame_move_ref(m_earlier.get(), m_frame.get());
                haveEarlier = true;
                continue;
            }
            // Of the frames either side of the position, the nearer one
            // within the tolerance: the one a viewer sees there.
            const double before = haveEarlier ? seconds - secondsOf(m_earlier.get(), seconds) : toleranceSeconds + 1;
            if (before <= toleranceSeconds && before <= shown - seconds)
                return finished(m_earlier.get(), Landing::Near);
            if (shown <= seconds + toleranceSeconds)
                return finished(m_frame.get(), Landing::Near);
            // Past the window with an earlier frame in hand: that one is on
            // screen at the position.
            return haveEarlier ? finished(m_earlier.get(), Landing::Near) : finished(m_frame.get(), Landing::Late);
        }
        if (m_drained)
            break;
        if (m_input.interrupted())
            return stopped("reading the video took too long");
        if (++packets > MaxPacketsPerFrame)
            return stopped("no frame near the position within the packets read");
        if (av_read_frame(m_input.context(), m_packet.get()) < 0) {
            // The end: what the decoder still holds comes out.
            avcodec_send_packet(m_decoder.get(), nullptr);
            m_drained = true;
            continue;
        }
        // A damaged packet is passed over; the next key frame recovers.
        if (m_packet->stream_index == m_stream)
            avcodec_send_packet(m_decoder.get(), m_packet.get());
        av_packet_unref(m_packet.get());
    }
    // The video ended before the position: its last frame stays on screen.
    if (haveEarlier)
        return finished(m_earlier.get(), Landing::Near);
    landing = Landing::Nothing;
    return failure("no frame could be decoded");
}

Result<QImage> VideoFrameReader::converted(const AVFrame *frame, int target)
{
    if (frame->width < 1 || frame->height < 1)
        return failure("the frame has no size");
    AVRational aspect = av_guess_sample_aspect_ratio(
        m_input.context(), m_input.context()->streams[m_stream], const_cast<AVFrame *>(frame));
    const double pixelAspect = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1.0;
    const QSize displayed(std::max(1, int(std::lround(frame->width * pixelAspect))), frame->height);
    const QSize size = fittedSize(displayed, QSize(target, target));
    QImage image(size, QImage::Format_RGB32);
    if (image.isNull())
        return failure("out of memory");
    m_scaler.reset(sws_getCachedContext(m_scaler.release(),
                                        frame->width,
                                        frame->height,
                                        AVPixelFormat(frame->format),
                                        size.width(),
                                        size.height(),
                                        ImagePixels,
                                        SWS_BICUBIC,
                                        nullptr,
                                        nullptr,
                                        nullptr));
    if (!m_scaler)
        return failure("the frame's pixel format cannot be converted");
    uint8_t *planes[4] = { image.bits(), nullptr, nullptr, nullptr };
    const int strides[4] = { int(image.bytesPerLine()), 0, 0, 0 };
    if (sws_scale(m_scaler.get(), frame->data, frame->linesize, 0, frame->height, planes, strides) != size.height())
        return failure("the frame could not be converted");
    if (m_rotation != 0)
        image = image.transformed(QTransform().rotate(m_rotation));
    return image;
}

} // namespace Nomly
