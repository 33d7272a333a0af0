#pragma once

#include <QList>
#include <QString>
#include <stop_token>

#include "content/videoframesamples.h"

namespace Nomly {

// Takes a few stills spread over a video, on this machine: one at a time and
// in order, each the frame shown within 0.35 s of its position, scaled
// straight to the target edge (never enlarged), turned upright and encoded as
// JPEG. A frame that fails is skipped. When no frame comes out, a file whose
// header names another kind of movie than its extension is read again under
// that extension, and then the desktop's thumbnail cache is asked. The whole
// call is bounded in time and in packets read, so that a damaged or hostile
// file cannot hold it; nothing it creates outlives it.
class VideoFrameSampler final
{
public:
    // How long one call may take, all attempts together.
    static constexpr int TimeLimitMs = 20'000;
    // How far before or after its position a frame may lie.
    static constexpr double ToleranceSeconds = 0.35;

    VideoFrameSampler() = delete;

    // The shares of the duration at which `count` frames are taken; at most
    // five, none for a count below one.
    static QList<double> fractions(int count);
    // The positions in seconds of `count` frames of a video that long.
    static QList<double> timestamps(double durationSeconds, int count);

    // `target` is the long edge in pixels, `quality` the JPEG factor from 0
    // to 1.
    static VideoFrameSamples sample(
        const QString &path, int count, int target, double quality, std::stop_token stop = {});
};

} // namespace Nomly
