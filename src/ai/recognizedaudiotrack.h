#pragma once

#include <QString>
#include <optional>

#include "ai/analyzerequest.h"
#include "ai/imageanalysis.h"

namespace Nomly {

// What the texts about a sound said of its track, read back from the text a
// request carried ("Title: ...", "Preferred filename title: ...").
struct RecognizedAudioTrackMetadata
{
    std::optional<QString> preferredFilenameTitle;
    std::optional<QString> preferredMusicVideoTitle;
    std::optional<QString> recognizedTrackTitle;
    std::optional<QString> trackTitle;
    std::optional<QString> artist;
    std::optional<QString> album;
    std::optional<QString> genre;
    std::optional<QString> releaseYear;

    bool isEmpty() const { return *this == RecognizedAudioTrackMetadata {}; }

    bool operator==(const RecognizedAudioTrackMetadata &) const = default;
};

// The track lines of a request's text; placeholders such as "unknown" or
// "n/a" count as absent.
RecognizedAudioTrackMetadata recognizedAudioTrackMetadata(const QString &text);

// A local model often names a song or a music video loosely: the track that
// the file's tags or a fingerprint named fills the music fields the model
// left empty, and its exact title replaces a title that only says "concert"
// or "music video". Only for sound and video requests, never on a
// regeneration, and never with a title the user rejected.
ImageAnalysis withRecognizedTrack(ImageAnalysis analysis, const AnalyzeRequest &request);

} // namespace Nomly
