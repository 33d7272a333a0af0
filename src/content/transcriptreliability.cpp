#include "content/transcriptreliability.h"

#include <QRegularExpression>
#include <QStringView>
#include <array>
#include <cmath>

namespace Nomly {

namespace {

// Stock phrases recognisers produce from silence, music and noise, learnt
// from the captions of online videos.
constexpr std::array FalsePositivePhrases {
    u"subtitle", u"subtitles by", u"thanks for watching", u"thank you for watching", u"amara.org", u"transcribed by",
};

// Words in a file name that promise speech, so that a short transcript is
// still worth keeping.
constexpr std::array SpeechNameWords {
    u"voice",   u"memo",    u"meeting", u"podcast",   u"interview",
    u"lecture", u"webinar", u"call",    u"recording", u"transcript",
};

// Tried after the caller's own, in this order, while there is room.
constexpr std::array FallbackLocales { u"ru_RU", u"uk_UA", u"en_US", u"es_ES", u"de_DE", u"fr_FR" };

constexpr double VeryShortClipSeconds = 5;
constexpr double ShortClipSeconds = 15;
constexpr int MinWordsOfVeryShortClip = 3;
constexpr int MinWordsOfShortClip = 4;
constexpr int MinWordsBesideStockPhrase = 9;

int wordCount(const QString &text)
{
    static const QRegularExpression word(QStringLiteral(u"[\\p{L}\\p{N}][\\p{L}\\p{N}'\u2019-]*"));
    int count = 0;
    for (auto match = word.globalMatch(text); match.hasNext(); match.next())
        ++count;
    return count;
}

template<size_t N> bool containsAny(const QString &text, const std::array<const char16_t *, N> &needles)
{
    for (const char16_t *needle : needles) {
        if (text.contains(QStringView(needle)))
            return true;
    }
    return false;
}

bool endsAsSentence(const QString &text)
{
    static const QRegularExpression closing(QStringLiteral(u"[.!?\u2026]$"));
    return closing.match(text).hasMatch();
}

QString minutesAndSeconds(double seconds)
{
    const long total = std::lround(seconds);
    return QStringLiteral("%1:%2").arg(total / 60, 2, 10, QLatin1Char('0')).arg(total % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

std::optional<QString> transcriptUnreliabilityReason(const QString &transcript,
                                                     std::optional<double> durationSeconds,
                                                     const QString &filename)
{
    const QString text = transcript.trimmed();
    const int words = wordCount(text);
    if (words == 0)
        return QStringLiteral("empty speech-to-text result");

    if (containsAny(text.toLower(), FalsePositivePhrases)) {
        const bool longEnough
            = durationSeconds && *durationSeconds > ShortClipSeconds && words >= MinWordsBesideStockPhrase;
        if (!longEnough)
            return QStringLiteral("matches a common speech-to-text false-positive pattern");
    }

    if (durationSeconds && !containsAny(filename.toLower(), SpeechNameWords)) {
        if (*durationSeconds <= VeryShortClipSeconds && words < MinWordsOfVeryShortClip)
            return QStringLiteral("very short audio clip with too little transcript context");
        if (*durationSeconds <= ShortClipSeconds && words < MinWordsOfShortClip && !endsAsSentence(text))
            return QStringLiteral("short audio clip with fragmentary transcript context");
    }
    return std::nullopt;
}

QString normalizedSpeechLocale(const QString &locale)
{
    QStringList parts = locale.trimmed().replace(u'_', u'-').split(u'-', Qt::SkipEmptyParts);
    if (parts.isEmpty())
        return {};
    parts[0] = parts[0].toLower();
    if (parts.size() > 1 && parts[1].size() == 2)
        parts[1] = parts[1].toUpper();
    return parts.join(u'_');
}

QStringList speechLocaleCandidates(const QString &language,
                                   const QStringList &preferredLanguages,
                                   const QString &localeName)
{
    QStringList candidates;
    const auto add = [&candidates](const QString &locale) {
        const QString normalized = normalizedSpeechLocale(locale);
        if (!normalized.isEmpty() && !candidates.contains(normalized))
            candidates.append(normalized);
    };
    add(language);
    for (const QString &preferred : preferredLanguages)
        add(preferred);
    add(localeName);
    for (const char16_t *fallback : FallbackLocales) {
        if (candidates.size() >= MaxSpeechLocales)
            break;
        add(QString::fromUtf16(fallback));
    }
    return candidates.mid(0, MaxSpeechLocales);
}

QString speechTranscriptText(const QString &transcript,
                             const QString &locale,
                             std::optional<double> coveredSeconds,
                             std::optional<double> fileDurationSeconds)
{
    const double covered = coveredSeconds.value_or(MaxSpeechSegmentSeconds);
    // A second of slack: containers and decoders disagree on a file's length
    // by a few frames.
    const bool partial = fileDurationSeconds && covered < *fileDurationSeconds - 1;

    QStringList lines {
        QStringLiteral("Audio speech transcript"),
        QStringLiteral("Transcript source: local pocketsphinx on-device recognition (%1)").arg(locale)
    };
    if (fileDurationSeconds && *fileDurationSeconds > 0 && covered > 0)
        lines.append(QStringLiteral("Transcript coverage: %1 of %2%3")
                         .arg(minutesAndSeconds(covered),
                              minutesAndSeconds(*fileDurationSeconds),
                              partial ? QStringLiteral(" (partial)") : QString()));
    else if (partial)
        lines.append(QStringLiteral("Transcript coverage: partial"));
    lines << QStringLiteral("Transcript:") << transcript
          << QStringLiteral("Use this transcript as the primary spoken-content signal for the audio file.")
          << QStringLiteral("Do not infer song titles, artists, or exact source names unless metadata or fingerprint "
                            "recognition provides them.");
    return lines.join(u'\n');
}

} // namespace Nomly
