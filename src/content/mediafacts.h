#pragma once

#include <QString>

#include "naming/patternfilemetadata.h"

namespace Nomly {

// Reads an audio or video file's properties into the media fields: duration,
// displayed pixel size (a rotated clip reports its upright size), frame rate,
// video and audio codecs, bitrate and recording date, and from its tags (the
// file's own, else the container's) the artist, track title, album, label,
// genre, key, tempo and release year. Probing is bounded in bytes and time, so
// a damaged or hostile file cannot hang it; what cannot be read stays as it
// was.
void readMediaFacts(const QString &path, const QString &datePattern, PatternFileMetadata &metadata);

// Whether the file holds a video stream (a cover picture is none), with the
// same bounds.
bool carriesVideo(const QString &path);

namespace MediaText {

QString duration(double seconds); // "1h02m09s", "1m24s", "9s"
QString bitrate(double bitsPerSecond); // "8.4Mbps", "320Kbps", "900bps"
QString frameRate(double framesPerSecond); // "29.97fps", "30fps"

} // namespace MediaText

} // namespace Nomly
