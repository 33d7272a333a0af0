#pragma once

#include <QString>

namespace Nomly {

// The spoken text of an SRT or WebVTT file: sequence numbers, timings,
// markup tags and the WebVTT header, note, style and region lines dropped.
QString cleanedSubtitleCues(const QString &text);

// The spoken text of an ASS or SSA file: of each "Dialogue:" line its last
// field, as many fields in as the events' "Format:" line names (ten when it
// names none), with "{...}" override blocks gone, "\N" and "\n" as line
// breaks and "\h" as a blank. Normalised.
QString styledSubtitleText(const QString &text);

} // namespace Nomly
