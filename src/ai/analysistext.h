#pragma once

#include <QString>
#include <optional>

#include "content/aianalyzeinput.h"

namespace Nomly {

// Text read on this machine from pictures of a file (embedded images,
// rendered pages, frames) added to the file's own text under a heading that
// tells the model where it came from. Extra text with fewer than 20
// non-whitespace characters is noise and left out; the result is cut at
// 15,000 characters.
std::optional<QString> mergedUnderHeading(const std::optional<QString> &base,
                                          const std::optional<QString> &extra,
                                          const QString &heading);

// What a model can go on when no frame of a video could be rendered.
std::optional<QString> videoFileMetadataText(const FileVideoAnalysisPayload &payload);

// What a model can go on for an audio file whose content stays unknown.
// `noLocalTranscript` is set on the local route, where nothing could be heard.
std::optional<QString> audioFallbackMetadataText(const FileAudioAnalysisPayload &payload, bool noLocalTranscript);

} // namespace Nomly
