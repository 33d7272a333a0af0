#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <stop_token>

#include "content/aianalyzeinput.h"

namespace Nomly {

class SongRecognizer;

// Where the text about a sound came from, strongest first.
enum class AudioEvidenceSource
{
    None,
    EmbeddedMetadata,
    SongRecognition,
    SoundClassification,
    LocalTranscript,
};

// What the machine itself could say about a sound file, and whether the
// sound itself may go to the provider instead.
struct AudioEvidence
{
    AudioEvidenceSource source = AudioEvidenceSource::None;
    std::optional<QString> text;
    // The file's bytes go out: nothing here named the sound, the route allows
    // it and the file is small enough.
    bool upload = false;
    std::optional<double> durationSeconds;

    bool operator==(const AudioEvidence &) const = default;
};

// The route's part in the decision.
struct AudioEvidenceRoute
{
    bool local = false;
    bool byokEnabled = false;
    bool byokUsable = false;
    // For a transcript made here: the request's language, then the system's.
    QString language;
    QStringList preferredLanguages;
    QString localeName;

    bool operator==(const AudioEvidenceRoute &) const = default;
};

// The sources tried in their order of evidence: the file's own tags; on a
// route that may upload, a short probe for speech (speech is left to the
// provider's transcription); a song match; sound labels; on the local route
// a transcript made here. The first that speaks ends the search, and none
// of them sends anything. Each step is bounded in time; a step that fails
// counts as silent. Runs on the calling thread.
AudioEvidence gatherAudioEvidence(const FileAudioAnalysisPayload &payload,
                                  const AudioEvidenceRoute &route,
                                  const SongRecognizer &recognizer,
                                  std::stop_token stop = {});

// The largest file whose sound goes to the provider.
inline constexpr qint64 AudioUploadMaxBytes = 18 * 1024 * 1024;

} // namespace Nomly
