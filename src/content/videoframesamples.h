#pragma once

#include <QList>
#include <optional>

#include "content/videoframepreview.h"

namespace Nomly {

// The stills taken from one video and the length it states; both empty when
// nothing could be taken.
struct VideoFrameSamples
{
    QList<VideoFramePreview> frames;
    std::optional<double> durationSeconds;

    bool operator==(const VideoFrameSamples &) const = default;
};

} // namespace Nomly
