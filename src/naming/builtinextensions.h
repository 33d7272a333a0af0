#pragma once

#include <QString>
#include <QStringList>

#include "naming/patternfilemetadata.h"

namespace Nomly {

// The extensions the program handles without remote configuration: lowercased,
// without dots. Remote configuration may extend these later; the naming engine
// always classifies by the built-in lists so that a name never depends on the
// network.
struct BuiltInExtensions
{
    static const QStringList &image();
    static const QStringList &design();
    static const QStringList &document();
    static const QStringList &video();
    static const QStringList &audio();
    // Containers that hold a video or sound alone (WebM). They are listed with
    // audio; a file of one that carries a video stream is a video.
    static const QStringList &audioOrVideo();

    // "design", "image", "video", "audio", "document" or "file", tested in
    // that order against the lowercased extension.
    static QString kindForExtension(const QString &extension);
    // The same for a file whose facts were read, so that an audio-or-video
    // container with a video stream (a video codec) is a video.
    static QString kindForFile(const PatternFileMetadata &metadata);
};

} // namespace Nomly
