#include "content/soundlabels.h"

#include <QStringList>
#include <algorithm>
#include <cmath>

namespace Nomly {

namespace {

constexpr double ConfidenceFloor = 0.08;
constexpr double KeptPeak = 0.18;
constexpr double KeptAverage = 0.12;
constexpr qsizetype MaxLabels = 6;

constexpr double SpeechPeak = 0.7;
constexpr double SpeechAverage = 0.45;
constexpr double DrowningMusicPeak = 0.75;
constexpr double SpeechOverMusicMargin = 0.1;

constexpr double FallbackSpeechPeak = 0.4;
constexpr double FallbackSpeechAverage = 0.25;
constexpr double FallbackOtherPeak = 0.3;
constexpr double FallbackOtherAverage = 0.18;

const char *const SpeechWords[]
    = { "speech", "conversation", "narration", "monologue", "voice", "speaking", "whisper" };

const char *const MusicWords[]
    = { "music", "song", "singing", "musical",  "instrument", "guitar", "piano",         "drum",
        "snare", "bass", "synth",   "keyboard", "orchestra",  "choir",  "plucked string" };

template<size_t N> bool containsAny(const QString &text, const char *const (&words)[N])
{
    return std::any_of(std::begin(words), std::end(words), [&text](const char *word) {
        return text.contains(QLatin1StringView(word));
    });
}

bool isSpeechLabel(const AudioSoundAnalysisLabel &label)
{
    return containsAny(label.identifier.toLower(), SpeechWords);
}

bool isMusicLabel(const AudioSoundAnalysisLabel &label)
{
    QString folded = label.identifier.toLower();
    folded.replace(u'_', u' ').replace(u'-', u' ');
    return containsAny(folded, MusicWords);
}

QString percentage(double value)
{
    return QString::asprintf("%.0f%%", std::clamp(value, 0.0, 1.0) * 100);
}

struct Accumulator
{
    QString identifier;
    double totalConfidence = 0;
    double peakConfidence = 0;
    int occurrenceCount = 0;
};

} // namespace

QList<AudioSoundAnalysisLabel> reducedSoundLabels(const QList<AudioSoundAnalysisObservation> &observations)
{
    // In order of first appearance, so that ties keep a stable order.
    QList<Accumulator> accumulators;
    for (const AudioSoundAnalysisObservation &observation : observations) {
        const QString identifier = observation.identifier.trimmed();
        if (identifier.isEmpty() || !std::isfinite(observation.confidence) || observation.confidence <= 0)
            continue;
        const double confidence = std::min(observation.confidence, 1.0);
        if (confidence < ConfidenceFloor)
            continue;
        auto found = std::find_if(accumulators.begin(), accumulators.end(), [&identifier](const Accumulator &a) {
            return a.identifier == identifier;
        });
        if (found == accumulators.end()) {
            accumulators.append(Accumulator { identifier });
            found = accumulators.end() - 1;
        }
        found->totalConfidence += confidence;
        found->peakConfidence = std::max(found->peakConfidence, confidence);
        ++found->occurrenceCount;
    }

    QList<AudioSoundAnalysisLabel> labels;
    for (const Accumulator &accumulator : accumulators) {
        const double average = accumulator.totalConfidence / accumulator.occurrenceCount;
        if (accumulator.peakConfidence >= KeptPeak || average >= KeptAverage)
            labels.append({ accumulator.identifier, average, accumulator.peakConfidence, accumulator.occurrenceCount });
    }
    std::stable_sort(labels.begin(), labels.end(), [](const auto &a, const auto &b) {
        if (a.peakConfidence != b.peakConfidence)
            return a.peakConfidence > b.peakConfidence;
        return a.averageConfidence > b.averageConfidence;
    });
    if (labels.size() > MaxLabels)
        labels.resize(MaxLabels);
    return labels;
}

bool labelsIndicateSpeech(const QList<AudioSoundAnalysisLabel> &labels)
{
    double speechPeak = 0;
    bool clearSpeech = false;
    std::optional<double> musicPeak;
    for (const AudioSoundAnalysisLabel &label : labels) {
        if (isSpeechLabel(label)) {
            speechPeak = std::max(speechPeak, label.peakConfidence);
            clearSpeech = clearSpeech || label.peakConfidence >= SpeechPeak || label.averageConfidence >= SpeechAverage;
        }
        if (isMusicLabel(label))
            musicPeak = std::max(musicPeak.value_or(0), label.peakConfidence);
    }
    if (!clearSpeech)
        return false;
    if (!musicPeak || *musicPeak < DrowningMusicPeak)
        return true;
    return *musicPeak < speechPeak - SpeechOverMusicMargin;
}

bool labelsQualifyAsNonSpeech(const QList<AudioSoundAnalysisLabel> &labels)
{
    bool speechHeard = false;
    bool otherHeard = false;
    for (const AudioSoundAnalysisLabel &label : labels) {
        if (isSpeechLabel(label)) {
            speechHeard = speechHeard || label.peakConfidence >= FallbackSpeechPeak
                || label.averageConfidence >= FallbackSpeechAverage;
        } else {
            otherHeard = otherHeard || label.peakConfidence >= FallbackOtherPeak
                || label.averageConfidence >= FallbackOtherAverage;
        }
    }
    return !speechHeard && otherHeard;
}

QString soundLabelSummary(const QList<AudioSoundAnalysisLabel> &labels)
{
    QStringList entries;
    for (const AudioSoundAnalysisLabel &label : labels)
        entries.append(label.identifier + u'=' + percentage(label.peakConfidence));
    return entries.join(QStringLiteral(", "));
}

std::optional<QString> soundClassificationText(const QList<AudioSoundAnalysisLabel> &labels)
{
    if (labels.isEmpty() || !labelsQualifyAsNonSpeech(labels))
        return std::nullopt;
    QStringList lines { QStringLiteral("Local sound classification"),
                        QStringLiteral("Detected sound labels (not an exact track identification):") };
    for (const AudioSoundAnalysisLabel &label : labels) {
        lines.append(QStringLiteral("- %1 (peak %2, average %3, windows %4)")
                         .arg(label.identifier,
                              percentage(label.peakConfidence),
                              percentage(label.averageConfidence),
                              QString::number(label.occurrenceCount)));
    }
    lines.append(QStringLiteral("Use these labels as weak acoustic-content hints for a no-name audio asset, jingle, "
                                "sound effect, instrument sample, loop, ambience, or music cue."));
    lines.append(QStringLiteral("This is not a fingerprint track match and not a speech transcript."));
    lines.append(QStringLiteral("Do not invent a song title, artist, brand, spoken content, voice memo, meeting, "
                                "podcast, lecture, or webinar unless another reliable context source provides it."));
    return lines.join(u'\n');
}

} // namespace Nomly
