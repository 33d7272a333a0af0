#include "content/audiounderstanding.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>
#include <algorithm>
#include <cmath>

#include "content/audiofingerprint.h"
#include "content/contenttext.h"
#include "content/pcmaudio.h"
#include "content/soundclassifier.h"
#include "content/soundlabels.h"
#include "platform/logcategories.h"

using namespace Qt::StringLiterals;

namespace Nomly::AudioUnderstanding {

namespace {

constexpr double ProbeForSpeechFromSeconds = 480;
constexpr double SpeechProbeWindowSeconds = 24;
constexpr int SpeechProbeBoundMilliseconds = 3500;
constexpr int RecognitionBoundMilliseconds = 8000;
constexpr int ClassificationBoundMilliseconds = 8000;
// A long file is classified from its start: ten minutes show what kind of
// sound it holds, and the bound leaves no time for more.
constexpr double MaxClassifiedSeconds = 10 * 60;

constexpr double WholeSignatureSeconds = 20;
constexpr double MinSliceSeconds = 3;
constexpr double MaxSliceSeconds = 12;
constexpr double SliceStrideSeconds = 8;
constexpr int MaxSlices = 3;
// All the sound the slices can reach.
constexpr double MaxFingerprintedSeconds = (MaxSlices - 1) * SliceStrideSeconds + MaxSliceSeconds;
// Chromaprint's own rate: sound at it is fingerprinted without resampling.
constexpr int FingerprintSampleRate = 11025;

const QString VideoSourceLabel = QStringLiteral("video audio track");

const char *const SpeechNameWords[]
    = { "voice",        "memo",       "meeting", "podcast",   "interview", "lecture", "speech",     "talk",
        "conversation", "discussion", "call",    "recording", "dictation", "webinar", "transcript", "lesson",
        "class",        "standup",    "zoom",    "teams",     "notes",     "feedback" };

enum class Reading
{
    Done,
    Unreadable,
    Failed,
    TimedOut,
};

struct Decoded
{
    Reading reading = Reading::Done;
    PCMAudio audio;
    Failure failure;
};

// The sound of `window`, told apart by why it is missing.
Decoded decoded(const QString &path, AudioWindow window, int sampleRate, QDeadlineTimer deadline, std::stop_token stop)
{
    const QFileInfo info(path);
    if (!info.isFile() || !info.isReadable())
        return { Reading::Unreadable, {}, {} };
    Result<PCMAudio> audio = decodeAudio(path, window, sampleRate, deadline, stop);
    if (deadline.hasExpired())
        return { Reading::TimedOut, {}, {} };
    if (!audio)
        return { Reading::Failed, {}, audio.failure() };
    return { Reading::Done, std::move(audio).value(), {} };
}

// Runs of white space become one blank; empty counts as absent.
QString cleaned(const QString &value)
{
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    return QString(value).replace(blanks, QStringLiteral(" ")).trimmed();
}

QString failureDetails(const Failure &failure)
{
    return QStringLiteral(" domain=FFmpeg code=%1 (%2)").arg(failure.code).arg(failure.message);
}

// The labels of the whole sound; none when it could not be classified (the
// log says why), an empty list when nothing was heard clearly.
std::optional<QList<AudioSoundAnalysisLabel>> classifiedLabels(const QString &path, std::stop_token stop)
{
    const QDeadlineTimer deadline(ClassificationBoundMilliseconds);
    if (const QFileInfo info(path); !info.isFile() || !info.isReadable()) {
        qCInfo(lcProcessing).noquote() << u"Sound classification skipped unreadable audio file: "_s + path;
        return std::nullopt;
    }
    qCInfo(lcProcessing).noquote() << u"Sound classification started: "_s + path;
    const Decoded sound = decoded(path, { 0, MaxClassifiedSeconds }, SoundClassifier::SampleRate, deadline, stop);
    QList<AudioSoundAnalysisLabel> labels;
    if (sound.reading == Reading::Done)
        labels = reducedSoundLabels(SoundClassifier::classify(sound.audio, stop, deadline));
    if (sound.reading == Reading::TimedOut || deadline.hasExpired()) {
        qCInfo(lcProcessing).noquote() << u"Sound classification timed out after 8s: "_s + path;
        return std::nullopt;
    }
    if (sound.reading == Reading::Unreadable) {
        qCInfo(lcProcessing).noquote() << u"Sound classification skipped unreadable audio file: "_s + path;
        return std::nullopt;
    }
    if (sound.reading == Reading::Failed) {
        qCInfo(lcProcessing).noquote() << u"Sound classification failed for "_s + path + failureDetails(sound.failure);
        return std::nullopt;
    }
    return labels;
}

} // namespace

bool shouldProbeForSpeech(const QString &filename, std::optional<double> durationSeconds)
{
    QString folded = foldedForComparison(filename);
    folded.replace(u'_', u' ').replace(u'-', u' ');
    for (const char *word : SpeechNameWords) {
        if (folded.contains(QLatin1StringView(word)))
            return true;
    }
    return durationSeconds && std::isfinite(*durationSeconds) && *durationSeconds >= ProbeForSpeechFromSeconds;
}

QList<AudioSoundAnalysisLabel> speechProbeLabels(const QString &path,
                                                 std::optional<double> durationSeconds,
                                                 std::stop_token stop)
{
    QElapsedTimer clock;
    clock.start();
    const QDeadlineTimer deadline(SpeechProbeBoundMilliseconds);
    if (const QFileInfo info(path); !info.isFile() || !info.isReadable()) {
        qCInfo(lcProcessing).noquote() << u"Sound classification speech probe skipped unreadable audio file: "_s + path;
        return {};
    }
    const double known
        = durationSeconds && std::isfinite(*durationSeconds) ? *durationSeconds : SpeechProbeWindowSeconds;
    const double window = std::min(known, SpeechProbeWindowSeconds);
    if (window <= 0)
        return {};
    qCInfo(lcProcessing).noquote()
        << QStringLiteral("Sound classification speech probe started (first %1s): %2").arg(qRound(window)).arg(path);

    const Decoded sound = decoded(path, { 0, window }, SoundClassifier::SampleRate, deadline, stop);
    QList<AudioSoundAnalysisLabel> labels;
    if (sound.reading == Reading::Done)
        labels = reducedSoundLabels(SoundClassifier::classify(sound.audio, stop, deadline));
    if (sound.reading == Reading::TimedOut || deadline.hasExpired()) {
        qCInfo(lcProcessing).noquote() << u"Sound classification speech probe timed out after 3.5s: "_s + path;
        return {};
    }
    if (sound.reading == Reading::Unreadable) {
        qCInfo(lcProcessing).noquote() << u"Sound classification speech probe skipped unreadable audio file: "_s + path;
        return {};
    }
    if (sound.reading == Reading::Failed) {
        qCInfo(lcProcessing).noquote() << u"Sound classification speech probe failed for "_s + path
                + failureDetails(sound.failure);
        return {};
    }
    qCInfo(lcProcessing).noquote() << QStringLiteral("Sound classification speech probe labels in %1ms: %2")
                                          .arg(clock.elapsed())
                                          .arg(labels.isEmpty() ? QStringLiteral("none") : soundLabelSummary(labels));
    return labels;
}

std::optional<QString> songRecognitionText(const QString &path,
                                           const QString &sourceLabel,
                                           const SongRecognizer &recognizer,
                                           std::stop_token stop)
{
    const QDeadlineTimer deadline(RecognitionBoundMilliseconds);
    const auto timedOut = [&path]() -> std::optional<QString> {
        qCInfo(lcProcessing).noquote() << u"Fingerprint recognition timed out after 8s: "_s + path;
        return std::nullopt;
    };
    if (const QFileInfo info(path); !info.isFile() || !info.isReadable()) {
        qCInfo(lcProcessing).noquote() << u"Fingerprint recognition skipped unreadable audio source: "_s + path;
        return std::nullopt;
    }
    qCInfo(lcProcessing).noquote() << u"Fingerprint recognition started: "_s + path;
    // Only the sound the slices reach is fingerprinted.
    const Decoded sound = decoded(path, { 0, MaxFingerprintedSeconds }, FingerprintSampleRate, deadline, stop);
    if (sound.reading == Reading::TimedOut)
        return timedOut();
    if (sound.reading == Reading::Unreadable) {
        qCInfo(lcProcessing).noquote() << u"Fingerprint recognition skipped unreadable audio source: "_s + path;
        return std::nullopt;
    }
    if (sound.reading == Reading::Failed) {
        qCInfo(lcProcessing).noquote() << u"Fingerprint recognition failed for "_s + path
                + failureDetails(sound.failure);
        return std::nullopt;
    }
    const std::optional<AudioFingerprint> fingerprint = AudioFingerprint::of(sound.audio);
    if (!fingerprint || fingerprint->durationSeconds <= 0 || fingerprint->raw.empty()) {
        qCInfo(lcProcessing).noquote() << u"Fingerprint recognition generated an empty audio signature: "_s + path;
        return std::nullopt;
    }

    const QString duration = QString::number(fingerprint->durationSeconds, 'f', 2);
    std::optional<RecognizedMediaItem> item;
    if (fingerprint->durationSeconds <= WholeSignatureSeconds) {
        qCInfo(lcProcessing).noquote() << u"Fingerprint recognition generated audio signature duration="_s + duration;
        item = recognizer.match(*fingerprint);
    } else {
        qCInfo(lcProcessing).noquote() << u"Fingerprint recognition generated audio signature duration="_s + duration
                + u"s; matching short slices"_s;
        const double length = std::clamp(fingerprint->durationSeconds, MinSliceSeconds, MaxSliceSeconds);
        int tried = 0;
        for (double start = 0; tried < MaxSlices && start < fingerprint->durationSeconds && !item;
             start += SliceStrideSeconds) {
            if (deadline.hasExpired() || stop.stop_requested())
                return timedOut();
            ++tried;
            qCInfo(lcProcessing).noquote()
                << QStringLiteral("Fingerprint recognition matching audio signature slice %1").arg(tried);
            item = recognizer.match(fingerprint->slice(start, length));
        }
        if (!item) {
            qCInfo(lcProcessing).noquote()
                << QStringLiteral("Fingerprint recognition found no audio match in %1 signature slices").arg(tried);
        }
    }
    if (deadline.hasExpired())
        return timedOut();
    if (!item) {
        qCInfo(lcProcessing).noquote() << "Fingerprint recognition returned no audio match";
        return std::nullopt;
    }
    qCInfo(lcProcessing).noquote() << u"Fingerprint recognition matched audio track title="_s + item->title
            + u" artist="_s + item->artist;
    return recognizedTrackText(*item, sourceLabel);
}

QString recognizedTrackText(const RecognizedMediaItem &item, const QString &sourceLabel)
{
    const bool video = sourceLabel == VideoSourceLabel;
    const QString title = cleaned(item.title);
    const QString subtitle = cleaned(item.subtitle);
    const QString artist = cleaned(item.artist).isEmpty() ? subtitle : cleaned(item.artist);
    QStringList genres;
    QSet<QString> seen;
    for (const QString &genre : item.genres) {
        const QString value = cleaned(genre);
        if (!value.isEmpty() && !seen.contains(value.toCaseFolded())) {
            seen.insert(value.toCaseFolded());
            genres.append(value);
        }
    }

    QStringList lines { QStringLiteral("Recognized audio track (fingerprint match)") };
    if (!title.isEmpty() && !artist.isEmpty()) {
        lines.append(
            (video ? QStringLiteral("Preferred music video title: ") : QStringLiteral("Preferred filename title: "))
            + artist + QStringLiteral(" - ") + title);
    }
    if (video && !title.isEmpty())
        lines.append(QStringLiteral("Recognized audio track title: ") + title);
    const auto add = [&lines](const char *label, const QString &value) {
        if (!value.isEmpty())
            lines.append(QLatin1StringView(label) + value);
    };
    add("Title: ", title);
    add("Artist: ", artist);
    add("Subtitle: ", subtitle);
    add("Genres: ", genres.join(QStringLiteral(", ")));
    add("Catalogue ID: ", cleaned(item.catalogueID));
    add("Catalogue URL: ", cleaned(item.webURL));
    if (video) {
        lines.append(
            QStringLiteral("Use this recognized track metadata as reliable song/audio-source context for the video."));
        lines.append(QStringLiteral(
            "If the video is music-centric, such as a music video, lyric video, concert/live performance, "
            "dance/performance clip, or fan edit, use Preferred music video title exactly as the filename title "
            "unless a user instruction conflicts."));
        lines.append(QStringLiteral("For videos with incidental/background music, do not replace a better "
                                    "visual/event title with the recognized track."));
    } else {
        lines.append(QStringLiteral("If Preferred filename title is present, use it exactly as the filename title "
                                    "unless a user instruction conflicts."));
        lines.append(QStringLiteral("Use this recognized track metadata as the primary naming signal for the ")
                     + sourceLabel + u'.');
    }
    lines.append(QStringLiteral("Do not infer performers, artists, songs, bands, celebrities, or venues unless "
                                "reliable metadata, transcript, or recognition context provides them."));
    lines.append(QStringLiteral("Do not infer spoken-word content, voice memos, meetings, podcasts, lectures, or "
                                "transcript details unless a separate transcript is present."));
    return lines.join(u'\n');
}

QList<AudioSoundAnalysisLabel> soundLabels(const QString &path, std::stop_token stop)
{
    return classifiedLabels(path, stop).value_or(QList<AudioSoundAnalysisLabel> {});
}

std::optional<QString> soundClassificationText(const QString &path, std::stop_token stop)
{
    const std::optional<QList<AudioSoundAnalysisLabel>> classified = classifiedLabels(path, stop);
    if (!classified)
        return std::nullopt;
    const QList<AudioSoundAnalysisLabel> &labels = *classified;
    if (labels.isEmpty()) {
        qCInfo(lcProcessing).noquote() << u"Sound classification found no usable sound labels: "_s + path;
        return std::nullopt;
    }
    std::optional<QString> text = Nomly::soundClassificationText(labels);
    if (text) {
        qCInfo(lcProcessing).noquote() << u"Sound classification detected sound labels: "_s + soundLabelSummary(labels);
    } else {
        qCInfo(lcProcessing).noquote() << u"Sound classification labels did not qualify as non-speech fallback: "_s
                + soundLabelSummary(labels);
    }
    return text;
}

} // namespace Nomly::AudioUnderstanding
