#pragma once

#include <QString>
#include <QStringList>

namespace Nomly::Test {

// Recordings made at test time by espeak-ng, sox and ffmpeg. Each function
// writes `path` (its extension picks the container: wav, mp3, m4a, ogg,
// opus, flac, webm, mkv, mp4, avi, ...) and returns what went wrong, empty
// on success.

// Why these recordings cannot be made here (a program is missing); empty
// when they can.
QString recordingToolsMissing();

// The sentence spoken by espeak-ng, then encoded for the container.
// `ffmpegArguments` go to the encoder ("-metadata", "title=..."), before
// the output file.
QString writeSpeech(const QString &path, const QString &sentence, const QStringList &ffmpegArguments = {});

// Digital silence of the given length.
QString writeSilence(const QString &path, double seconds);

// A steady sine tone.
QString writeTone(const QString &path, double seconds, int frequency = 440);

// The sentence spoken over a steady tone at a quarter of full scale.
QString writeSpeechOverTone(const QString &path, const QString &sentence, int frequency = 440);

// Runs ffmpeg quietly with `-y` and the arguments; empty on success, else
// its error output.
QString runFFmpeg(const QStringList &arguments);

// The sentence spoken by espeak-ng in its Klatt voice at 150 words a minute,
// which the English pocketsphinx model recognises far better than the
// default voice; encoded as `writeSpeech` does.
QString writeClearSpeech(const QString &path, const QString &sentence, const QStringList &ffmpegArguments = {});

} // namespace Nomly::Test

namespace Nomly::Test {

// A tune of plucked notes, one every half second, drawn from a scale by
// `seed`: two seeds give two different tunes, one seed always the same.
QString writeMelody(const QString &path, double seconds, int seed = 1);

// The sentence spoken by espeak-ng in the given voice ("en", "en-us+f3").
QString writeSpeechInVoice(const QString &path, const QString &sentence, const QString &voice);

// Noise of the given colour ("whitenoise", "pinknoise").
QString writeNoise(const QString &path, double seconds, const QString &colour = QStringLiteral("pinknoise"));

} // namespace Nomly::Test
