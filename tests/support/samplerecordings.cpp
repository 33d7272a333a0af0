#include "samplerecordings.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace Nomly::Test {

namespace {

QString run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(120'000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        const QString error = QString::fromLocal8Bit(process.readAllStandardError()).trimmed();
        return program + u": " + (error.isEmpty() ? process.errorString() : error);
    }
    return {};
}

// The WAVE file encoded into `path`, or only copied when that is a WAVE too.
QString encoded(const QString &wave, const QString &path, const QStringList &ffmpegArguments)
{
    return runFFmpeg(QStringList { QStringLiteral("-i"), wave } + ffmpegArguments + QStringList { path });
}

} // namespace

QString recordingToolsMissing()
{
    for (const char *program : { "espeak-ng", "sox", "ffmpeg" }) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
            return QStringLiteral("%1 is not installed").arg(QString::fromLatin1(program));
    }
    return {};
}

QString runFFmpeg(const QStringList &arguments)
{
    return run(QStringLiteral("ffmpeg"),
               QStringList { QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y") } + arguments);
}

QString writeSpeech(const QString &path, const QString &sentence, const QStringList &ffmpegArguments)
{
    QTemporaryDir scratch;
    const QString wave = scratch.filePath(QStringLiteral("speech.wav"));
    if (QString error = run(QStringLiteral("espeak-ng"), { QStringLiteral("-w"), wave, sentence }); !error.isEmpty())
        return error;
    return encoded(wave, path, ffmpegArguments);
}

QString writeSilence(const QString &path, double seconds)
{
    return runFFmpeg({ QStringLiteral("-f"),
                       QStringLiteral("lavfi"),
                       QStringLiteral("-i"),
                       QStringLiteral("anullsrc=r=22050:cl=mono"),
                       QStringLiteral("-t"),
                       QString::number(seconds),
                       path });
}

QString writeTone(const QString &path, double seconds, int frequency)
{
    return runFFmpeg({ QStringLiteral("-f"),
                       QStringLiteral("lavfi"),
                       QStringLiteral("-i"),
                       QStringLiteral("sine=frequency=%1:sample_rate=22050:duration=%2").arg(frequency).arg(seconds),
                       path });
}

QString writeSpeechOverTone(const QString &path, const QString &sentence, int frequency)
{
    QTemporaryDir scratch;
    const QString speech = scratch.filePath(QStringLiteral("speech.wav"));
    const QString tone = scratch.filePath(QStringLiteral("tone.wav"));
    if (QString error = run(QStringLiteral("espeak-ng"), { QStringLiteral("-w"), speech, sentence }); !error.isEmpty())
        return error;
    // As long as the speech, at a quarter of full scale.
    if (QString error = run(QStringLiteral("sox"),
                            { speech,
                              tone,
                              QStringLiteral("synth"),
                              QStringLiteral("sine"),
                              QString::number(frequency),
                              QStringLiteral("vol"),
                              QStringLiteral("0.25") });
        !error.isEmpty())
        return error;
    const QString mixed = scratch.filePath(QStringLiteral("mixed.wav"));
    if (QString error = run(QStringLiteral("sox"), { QStringLiteral("-m"), speech, tone, mixed }); !error.isEmpty())
        return error;
    return encoded(mixed, path, {});
}

QString writeClearSpeech(const QString &path, const QString &sentence, const QStringList &ffmpegArguments)
{
    QTemporaryDir scratch;
    const QString wave = scratch.filePath(QStringLiteral("speech.wav"));
    if (QString error = run(QStringLiteral("espeak-ng"),
                            { QStringLiteral("-v"),
                              QStringLiteral("en-us+klatt"),
                              QStringLiteral("-s"),
                              QStringLiteral("150"),
                              QStringLiteral("-w"),
                              wave,
                              sentence });
        !error.isEmpty())
        return error;
    return encoded(wave, path, ffmpegArguments);
}

} // namespace Nomly::Test

namespace Nomly::Test {

QString writeMelody(const QString &path, double seconds, int seed)
{
    static const char *const Scale[] = { "C4", "D4", "E4", "F4", "G4", "A4", "B4", "C5", "D5", "E5" };
    QTemporaryDir scratch;
    const QString wave = scratch.filePath(QStringLiteral("melody.wav"));
    QStringList arguments { QStringLiteral("-n"), QStringLiteral("-r"), QStringLiteral("22050"), wave };
    unsigned state = unsigned(seed) * 2654435761u + 1;
    for (int note = 0; note < int(seconds * 2); ++note) {
        state = state * 1103515245u + 12345u;
        if (note > 0)
            arguments.append(QStringLiteral(":"));
        arguments << QStringLiteral("synth") << QStringLiteral("0.5") << QStringLiteral("pluck")
                  << QString::fromLatin1(Scale[(state >> 16) % (sizeof(Scale) / sizeof(Scale[0]))]);
    }
    if (QString error = run(QStringLiteral("sox"), arguments); !error.isEmpty())
        return error;
    return encoded(wave, path, {});
}

QString writeSpeechInVoice(const QString &path, const QString &sentence, const QString &voice)
{
    QTemporaryDir scratch;
    const QString wave = scratch.filePath(QStringLiteral("speech.wav"));
    if (QString error
        = run(QStringLiteral("espeak-ng"), { QStringLiteral("-v"), voice, QStringLiteral("-w"), wave, sentence });
        !error.isEmpty())
        return error;
    return encoded(wave, path, {});
}

QString writeNoise(const QString &path, double seconds, const QString &colour)
{
    QTemporaryDir scratch;
    const QString wave = scratch.filePath(QStringLiteral("noise.wav"));
    if (QString error = run(QStringLiteral("sox"),
                            { QStringLiteral("-n"),
                              QStringLiteral("-r"),
                              QStringLiteral("22050"),
                              wave,
                              QStringLiteral("synth"),
                              QString::number(seconds),
                              colour,
                              QStringLiteral("vol"),
                              QStringLiteral("0.3") });
        !error.isEmpty())
        return error;
    return encoded(wave, path, {});
}

} // namespace Nomly::Test
