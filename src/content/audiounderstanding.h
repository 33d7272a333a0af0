#pragma once

#include <QList>
#include <QString>
#include <optional>
#include <stop_token>

#include "content/audiosoundanalysislabel.h"
#include "content/recognizedmediaitem.h"
#include "content/songrecognizer.h"

namespace Nomly {

// What this machine itself can say about a sound file, each step bounded in
// time: whether it is worth listening for speech, which sound labels it
// shows, which song it is. Each answer is the text that tells the model
// which signal to trust and what not to invent; none when the step found
// nothing, failed or ran out of time (then it says so in the log). No step
// changes the file.
namespace AudioUnderstanding {

// Whether the file may hold spoken words worth a transcript: its name
// speaks of a meeting, a memo, a call and the like, or it runs for eight
// minutes or more.
bool shouldProbeForSpeech(const QString &filename, std::optional<double> durationSeconds);

// The labels of the first 24 seconds (fewer when the file is shorter),
// found within 3.5 seconds; none when that fails or takes longer.
QList<AudioSoundAnalysisLabel> speechProbeLabels(const QString &path,
                                                 std::optional<double> durationSeconds,
                                                 std::stop_token stop = {});

// The text of the track the recogniser finds in the sound, within 8
// seconds. `sourceLabel` names the sound for the model ("audio file",
// "video audio track").
std::optional<QString> songRecognitionText(const QString &path,
                                           const QString &sourceLabel,
                                           const SongRecognizer &recognizer,
                                           std::stop_token stop = {});

// The text that hands a recognised track to the model.
QString recognizedTrackText(const RecognizedMediaItem &item, const QString &sourceLabel);

// The labels of the whole sound (its first ten minutes), found within 8
// seconds.
QList<AudioSoundAnalysisLabel> soundLabels(const QString &path, std::stop_token stop = {});

// The labels of the whole sound as the text that describes a sound without
// words; none when speech was heard or nothing clear was.
std::optional<QString> soundClassificationText(const QString &path, std::stop_token stop = {});

} // namespace AudioUnderstanding

} // namespace Nomly
