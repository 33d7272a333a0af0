#include "content/localspeechtranscriber.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QUuid>

#include "content/pcmaudio.h"
#include "content/speechrecognizer.h"
#include "content/transcriptreliability.h"
#include "platform/logcategories.h"
#include "platform/result.h"

namespace Nomly {

namespace {

// Decoding a minute of sound takes well under a second; this bounds a
// damaged or hostile file, apart from the recogniser's own time limit.
constexpr std::chrono::seconds MaxDecodeTime { 60 };

// A folder of this call's own under the temporary directory, removed with
// all it holds when the guard goes, on every way out of the call.
class ScratchFolder final
{
public:
    ScratchFolder()
        : m_path(QDir(QDir::tempPath())
                     .filePath(QStringLiteral("nomly-speech-") + QUuid::createUuid().toString(QUuid::WithoutBraces)))
    {
        if (!QDir().mkdir(m_path))
            m_path.clear();
    }

    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    ~ScratchFolder()
    {
        if (!m_path.isEmpty())
            QDir(m_path).removeRecursively();
    }

    // Empty when the folder could not be made.
    QString path() const { return m_path; }

private:
    QString m_path;
};

// The sound the recogniser hears, and how much of the file it covers.
struct Segment
{
    PCMAudio audio;
    std::optional<double> durationSeconds;
};

Result<PCMAudio> decodedForRecognition(const QString &path, std::stop_token stop)
{
    return decodeAudio(path,
                       AudioWindow { 0, MaxSpeechSegmentSeconds },
                       SpeechRecognizer::SampleRate,
                       QDeadlineTimer(MaxDecodeTime),
                       std::move(stop));
}

// A file no longer than the window is heard as it is. A longer one, or one
// of unknown length, has its window cut to a WAVE file in the scratch folder
// first, and that file is what the recogniser hears.
Result<Segment> preparedSegment(const LocalSpeechRequest &request,
                                std::optional<ScratchFolder> &scratch,
                                const std::stop_token &stop)
{
    if (request.durationSeconds && *request.durationSeconds <= MaxSpeechSegmentSeconds) {
        Result<PCMAudio> audio = decodedForRecognition(request.path, stop);
        if (!audio)
            return audio.failure();
        return Segment { std::move(audio).value(), request.durationSeconds };
    }
    scratch.emplace();
    if (scratch->path().isEmpty())
        return Failure { QStringLiteral("cannot create a folder in %1").arg(QDir::tempPath()) };
    Result<PCMAudio> head = decodedForRecognition(request.path, stop);
    if (!head)
        return head.failure();
    const QString segmentPath = QDir(scratch->path()).filePath(QStringLiteral("segment-0.wav"));
    if (Result<> written = writeWave(head.value(), segmentPath); !written)
        return written.failure();
    Result<PCMAudio> audio = decodedForRecognition(segmentPath, stop);
    if (!audio)
        return audio.failure();
    const double covered = audio.value().durationSeconds();
    return Segment { std::move(audio).value(), covered };
}

void logLine(const QString &line)
{
    qCInfo(lcProcessing).noquote() << line;
}

} // namespace

LocalSpeechTranscript LocalSpeechTranscriber::transcribe(const LocalSpeechRequest &request, std::stop_token stop)
{
    LocalSpeechTranscript outcome;
    const QFileInfo file(request.path);
    if (!file.isFile() || !file.isReadable()) {
        logLine(QStringLiteral("Local speech recognition skipped unreadable audio file: ") + request.path);
        outcome.reason = QStringLiteral("unreadable audio file");
        return outcome;
    }

    std::optional<ScratchFolder> scratch;
    const Result<Segment> segment = preparedSegment(request, scratch, stop);
    if (!segment) {
        logLine(QStringLiteral("Local speech recognition could not prepare audio segments: ") + request.path);
        outcome.reason = QStringLiteral("could not prepare audio segments: ") + segment.error();
        return outcome;
    }

    const QStringList locales
        = speechLocaleCandidates(request.language, request.preferredLanguages, request.localeName);
    if (locales.isEmpty()) {
        logLine(QStringLiteral("Local speech recognition has no recognizer locale candidates for language=")
                + request.language);
        outcome.reason = QStringLiteral("no recognizer locale candidates for language=") + request.language;
        return outcome;
    }

    QStringList missing;
    for (const QString &locale : locales) {
        std::optional<SpeechRecognizer> recognizer = SpeechRecognizer::forLocale(locale);
        if (!recognizer) {
            logLine(QStringLiteral("Local speech recognition recognizer unavailable for locale=") + locale);
            missing.append(locale);
            continue;
        }
        logLine(QStringLiteral("Local speech recognition trying on-device recognition locale=") + locale);
        const SpeechRecognition heard
            = recognizer->recognize(segment.value().audio, QDeadlineTimer(request.timeLimit), stop);
        if (stop.stop_requested()) {
            outcome.reason = QStringLiteral("transcription was stopped");
            return outcome;
        }
        if (heard.timedOut)
            logLine(QStringLiteral("Local speech recognition transcription timed out after %1s")
                        .arg(request.timeLimit.count() / 1000.0));

        const QString transcript = heard.text.simplified();
        outcome.transcript = transcript;
        if (transcript.isEmpty()) {
            logLine(QStringLiteral("Local speech recognition returned no usable text for first segment, locale=")
                    + locale);
            outcome.reason = QStringLiteral("empty speech-to-text result");
            continue;
        }
        if (const auto unreliable
            = transcriptUnreliabilityReason(transcript, request.durationSeconds, request.filename)) {
            logLine(QStringLiteral("Ignoring likely unreliable local speech recognition transcript for locale=%1: %2")
                        .arg(locale, *unreliable));
            outcome.reason = *unreliable;
            continue;
        }
        outcome.text = speechTranscriptText(
            transcript, recognizer->locale(), segment.value().durationSeconds, request.durationSeconds);
        outcome.reason.clear();
        return outcome;
    }

    logLine(QStringLiteral("Local speech recognition found no transcript after trying locales=") + locales.join(u','));
    // What a recogniser heard says more than which locales had none.
    if (outcome.reason.isEmpty())
        outcome.reason = QStringLiteral("no speech recognizer is installed for locale=") + missing.join(u',');
    return outcome;
}

} // namespace Nomly
