#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// How much of a file speech recognition hears: its first 55 seconds, which
// is enough to tell what a recording is about and bounds the time it takes.
constexpr double MaxSpeechSegmentSeconds = 55;

// How many locales one transcription tries at most.
constexpr int MaxSpeechLocales = 5;

// Why a transcript from on-device speech recognition is not worth handing to
// the model, or none when it is. Recognisers hallucinate stock phrases (video
// outros, subtitle credits) out of noise and music, and a word or two from a
// short clip says more about the noise than about the clip. A file name that
// says it holds speech (a voice memo, a meeting) lifts the short-clip rules.
// `durationSeconds` is the whole file's length, when known.
std::optional<QString> transcriptUnreliabilityReason(const QString &transcript,
                                                     std::optional<double> durationSeconds,
                                                     const QString &filename);

// The locales to try, in order: the content's language, the user's preferred
// languages, the system locale, then common locales while fewer than five.
// Each is normalised to "ll_RR" (or "ll"), empty and repeated ones dropped;
// at most five are kept.
QStringList speechLocaleCandidates(const QString &language,
                                   const QStringList &preferredLanguages,
                                   const QString &localeName);

// One locale name as "ll_RR": trimmed, "-" and "_" both separate, the language
// in lower case and a two-letter region in upper case. Empty when nothing is
// left.
QString normalizedSpeechLocale(const QString &locale);

// The text block the model reads for a transcript heard in `locale`.
// `coveredSeconds` is how much of the file was recognised (the recogniser's
// window when unknown), `fileDurationSeconds` the whole file's length; the
// coverage line says when only a part was heard.
QString speechTranscriptText(const QString &transcript,
                             const QString &locale,
                             std::optional<double> coveredSeconds,
                             std::optional<double> fileDurationSeconds);

} // namespace Nomly
