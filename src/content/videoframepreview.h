#pragma once

#include <QByteArray>

namespace Nomly {

// One still of a video as the AI sees it.
struct VideoFramePreview
{
    // JPEG bytes.
    QByteArray data;
    // Where in the video the frame lies, from the start of its timeline.
    double timestampSeconds = 0;

    bool operator==(const VideoFramePreview &) const = default;
};

} // namespace Nomly
