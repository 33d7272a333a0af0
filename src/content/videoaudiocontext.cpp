#include "content/videoaudiocontext.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <algorithm>

#include "content/audiounderstanding.h"
#include "content/embeddedaudiometadata.h"
#include "content/mediainput.h"
#include "content/songrecognizer.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

constexpr int SampleRate = 16'000;
const QString VideoSource = QStringLiteral("video audio track");

// The sample exists only for the recognition; it goes when this does.
class SampleFile final
{
public:
    SampleFile()
        : m_path(QDir(QDir::tempPath())
                     .filePath(QStringLiteral("NomlyVideoAudioRecognition-")
                               + QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral(".wav")))
    {
        QFile::remove(m_path);
    }

    ~SampleFile() { QFile::remove(m_path); }

    SampleFile(const SampleFile &) = delete;
    SampleFile &operator=(const SampleFile &) = delete;

    const QString &path() const { return m_path; }

private:
    QString m_path;
};

// The bounded sample written to `sample`; false when the clip is too short,
// has no sound or cannot be read in time.
bool exportedSample(const QString &path, const QString &sample, QDeadlineTimer deadline, const std::stop_token &stop)
{
    QElapsedTimer timer;
    timer.start();
    const std::optional<MediaInput> input = MediaInput::open(path, deadline, stop);
    const std::optional<double> duration = input ? input->durationSeconds() : std::nullopt;
    const std::optional<AudioWindow> window = duration ? VideoAudioContext::sampleWindow(*duration) : std::nullopt;
    if (!window)
        return false;
    const Result<PCMAudio> audio = decodeAudio(path, *window, SampleRate, deadline, stop);
    if (!audio || !writeWave(audio.value(), sample)) {
        qCWarning(lcProcessing).noquote() << "Video audio sample export failed:" << path;
        QFile::remove(sample);
        return false;
    }
    qCInfo(lcProcessing).noquote() << QStringLiteral("Exported %1s video audio sample in %2ms: %3")
                                          .arg(*window->lengthSeconds, 0, 'f', 1)
                                          .arg(timer.elapsed())
                                          .arg(path);
    return true;
}

std::optional<QString> boundedRecognition(const QString &path,
                                          const SongRecognizer &recognizer,
                                          const std::stop_token &stop)
{
    if (!QFileInfo(path).isReadable()) {
        qCInfo(lcProcessing).noquote() << "Video fingerprint recognition skipped unreadable file:" << path;
        return std::nullopt;
    }
    QDeadlineTimer deadline { std::chrono::seconds(VideoAudioContext::RecognitionSeconds) };
    {
        const std::optional<MediaInput> input = MediaInput::open(path, deadline, stop);
        if (!input || input->audioStream() < 0) {
            qCInfo(lcProcessing).noquote() << "Video fingerprint recognition skipped file without audio track:" << path;
            return std::nullopt;
        }
    }
    const SampleFile sample;
    if (!exportedSample(path, sample.path(), deadline, stop)) {
        qCInfo(lcProcessing).noquote() << "Video fingerprint recognition could not export bounded audio sample:"
                                       << path;
        return std::nullopt;
    }
    std::optional<QString> text = AudioUnderstanding::songRecognitionText(sample.path(), VideoSource, recognizer, stop);
    if (deadline.hasExpired()) {
        qCInfo(lcProcessing).noquote() << QStringLiteral("Video fingerprint recognition timed out after %1s: %2")
                                              .arg(VideoAudioContext::RecognitionSeconds)
                                              .arg(path);
        return std::nullopt;
    }
    return text;
}

} // namespace

std::optional<AudioWindow> VideoAudioContext::sampleWindow(double durationSeconds)
{
    if (!(durationSeconds >= MinSampleSeconds))
        return std::nullopt;
    const double length = std::min(durationSeconds, MaxSampleSeconds);
    const double start = std::max(0.0, std::min(durationSeconds - length, 0.35 * durationSeconds));
    return AudioWindow { start, length };
}

QString VideoAudioContext::noRecognitionText(const QString &reason)
{
    return QStringList {
        QStringLiteral("Video audio recognition"),
        QStringLiteral("Reliable song/artist recognition: not available."),
        QStringLiteral("Reason: ") + reason,
        QStringLiteral("Do not name performers, artists, songs, bands, celebrities, venues, or events from visual "
                       "resemblance, genre/style, costume, hairstyle, or stage setup alone."),
        QStringLiteral("Use exact performer, band, venue, or event names only when they are visible/readable or "
                       "supplied by metadata/transcript."),
        QStringLiteral("Use fingerprint recognition context only as exact song/audio-source metadata; it does not by "
                       "itself identify the visible performer, venue, event, or live performance."),
    }
        .join(u'\n');
}

QString VideoAudioContext::contextText(const QString &path, const SongRecognizer &recognizer, std::stop_token stop)
{
    QElapsedTimer timer;
    timer.start();
    if (std::optional<QString> embedded = embeddedAudioMetadataText(path)) {
        qCInfo(lcProcessing).noquote()
            << QStringLiteral("Video audio context from embedded metadata in %1ms: %2").arg(timer.elapsed()).arg(path);
        return *embedded;
    }
    std::optional<QString> text = boundedRecognition(path, recognizer, stop);
    if (!text) {
        text = noRecognitionText(
            QStringLiteral("No fingerprint song or artist match was found from a short audio sample."));
    }
    qCInfo(lcProcessing).noquote()
        << QStringLiteral("Video audio recognition context prepared in %1ms: %2").arg(timer.elapsed()).arg(path);
    return *text;
}

} // namespace Nomly
