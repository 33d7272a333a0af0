#pragma once

#include <QString>
#include <optional>
#include <stop_token>

#include "content/pcmaudio.h"

namespace Nomly {

class SongRecognizer;

// What a video's sound track tells a model: the file's own tags when it has
// them, else the song a short sample of the track was recognised as, else a
// text that says there is no reliable match and warns against naming
// performers from how they look. Never empty.
class VideoAudioContext final
{
public:
    static constexpr double MinSampleSeconds = 3.0;
    static constexpr double MaxSampleSeconds = 12.0;
    static constexpr int RecognitionSeconds = 8;

    VideoAudioContext() = delete;

    // The share of the sound track sampled for recognition: up to twelve
    // seconds from a third of the way in, where a song has usually begun;
    // none for a clip shorter than three seconds.
    static std::optional<AudioWindow> sampleWindow(double durationSeconds);

    static QString noRecognitionText(const QString &reason);

    static QString contextText(const QString &path, const SongRecognizer &recognizer, std::stop_token stop = {});
};

} // namespace Nomly
