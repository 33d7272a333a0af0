#pragma once

#include <QString>

namespace Nomly {

// The spoken text of an SRT or WebVTT file: sequence numbers, timings,
// markup tags and the WebVTT header, note, style and region lines dropped.
QString cleanedSubtitleCues(const QString &text);

} // namespace Nomly
