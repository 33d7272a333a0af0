#pragma once

#include <QDeadlineTimer>
#include <QImage>
#include <QString>
#include <optional>
#include <stop_token>

#include "content/ffmpegpointers_p.h"
#include "content/mediainput.h"
#include "platform/result.h"

namespace Nomly {

// A picture decoded from a video and the position it is shown at.
struct DecodedVideoFrame
{
    QImage image;
    double seconds = 0;
};

// The video stream of one file, opened for stills at chosen positions. Each
// still is scaled while it is converted, so a large frame is never held at
// full size as a picture, and comes out upright. Reading stops when the
// deadline passes or the stop is asked for, and after a bounded number of
// packets per still.
class VideoFrameReader final
{
public:
    static constexpr int MaxPacketsPerFrame = 6000;
    // The failure code of a file that opens but holds no video stream.
    static constexpr int NoVideoTrack = 1;

    // A failure says why the file gives no video to read.
    static Result<VideoFrameReader> open(const QString &path, QDeadlineTimer deadline, std::stop_token stop = {});

    VideoFrameReader(VideoFrameReader &&) noexcept = default;
    VideoFrameReader &operator=(VideoFrameReader &&) noexcept = default;
    ~VideoFrameReader() = default;

    // The video's length: the container's, else the video stream's; none
    // when neither states a finite, positive one.
    std::optional<double> durationSeconds() const;

    // The frame shown at `seconds` from the start of the timeline: the
    // first frame within `toleranceSeconds` of it, else the one on screen at
    // that moment. Its long edge is at most `target` pixels.
    Result<DecodedVideoFrame> frameAt(double seconds, double toleranceSeconds, int target);

    bool interrupted() const { return m_input.interrupted(); }

private:
    // Where a decoding pass after a seek ended up.
    enum class Landing
    {
        Near, // a frame within the tolerance, or the one on screen then
        Late, // only frames after the window: the seek went too far
        Nothing, // no frame decoded before the end
        Stopped, // out of time or packets
    };

    explicit VideoFrameReader(MediaInput input);

    Result<DecodedVideoFrame> decodedNear(double seconds, double toleranceSeconds, int target, Landing &landing);

    Result<QImage> converted(const AVFrame *frame, int target);
    double secondsOf(const AVFrame *frame, double fallback) const;

    MediaInput m_input;
    int m_stream = -1;
    int m_rotation = 0;
    double m_originSeconds = 0;
    bool m_drained = false;
    CodecContextPointer m_decoder;
    ScalerPointer m_scaler;
    PacketPointer m_packet;
    FramePointer m_frame;
    FramePointer m_earlier;
};

} // namespace Nomly
