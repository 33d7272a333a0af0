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
