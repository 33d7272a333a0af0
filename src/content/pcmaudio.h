#pragma once

#include <QDeadlineTimer>
#include <QString>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <vector>

#include "platform/result.h"

namespace Nomly {

// Sound as one channel of 16-bit samples at one rate: what the speech
// recogniser, the sound classifier and the fingerprints read.
struct PCMAudio
{
    std::vector<int16_t> samples;
    int sampleRate = 0;
    // Where in the file the first sample lies.
    double startSeconds = 0;
    // The length of the whole file, when its container states it.
    std::optional<double> fileDurationSeconds;

    double durationSeconds() const { return sampleRate > 0 ? double(samples.size()) / sampleRate : 0; }

    bool operator==(const PCMAudio &) const = default;
};

// Which share of the sound to decode: from `startSeconds`, at most
// `lengthSeconds` (the rest of the file when none).
struct AudioWindow
{
    double startSeconds = 0;
    std::optional<double> lengthSeconds;
};

// Decodes the main sound stream of any file FFmpeg reads (a video's sound
// track too) into one channel at `sampleRate`, only the window asked for,
// and stops with a failure when the deadline passes or the stop is asked
// for. A file without sound, or one that cannot be read, fails with the
// reason.
Result<PCMAudio> decodeAudio(
    const QString &path, AudioWindow window, int sampleRate, QDeadlineTimer deadline, std::stop_token stop = {});

// Writes the samples as a RIFF WAVE file, created new: an existing file is
// not replaced, and a failed write leaves no file behind.
Result<> writeWave(const PCMAudio &audio, const QString &path);

} // namespace Nomly
