#include "ai/analysistext.h"

#include <QStringList>

#include "content/contenttext.h"

namespace Nomly {

namespace {

constexpr qsizetype MinimumExtraCharacters = 20;
constexpr qsizetype MaximumMergedCharacters = 15'000;
constexpr qsizetype MinimumFallbackCharacters = 20;

std::optional<QString> cleaned(const std::optional<QString> &text)
{
    if (!text)
        return std::nullopt;
    const QString value = normalizedText(*text).trimmed();
    if (value.isEmpty())
        return std::nullopt;
    return value;
}

std::optional<QString> enoughText(const QStringList &lines)
{
    const QString text = lines.join(u'\n');
    if (nonWhitespaceCount(text) < MinimumFallbackCharacters)
        return std::nullopt;
    return text;
}

} // namespace

std::optional<QString> mergedUnderHeading(const std::optional<QString> &base,
                                          const std::optional<QString> &extra,
                                          const QString &heading)
{
    const std::optional<QString> baseText = cleaned(base);
    std::optional<QString> extraText = cleaned(extra);
    if (extraText && nonWhitespaceCount(*extraText) < MinimumExtraCharacters)
        extraText.reset();
    if (!baseText && !extraText)
        return std::nullopt;

    QStringList parts;
    if (baseText)
        parts.append(*baseText);
    if (extraText)
        parts.append(heading + QStringLiteral(":\n") + *extraText);
    QString merged = parts.join(QStringLiteral("\n\n"));
    if (merged.size() > MaximumMergedCharacters)
        merged = merged.left(MaximumMergedCharacters).trimmed();
    return merged;
}

std::optional<QString> videoFileMetadataText(const FileVideoAnalysisPayload &payload)
{
    return enoughText({
        QStringLiteral("Video file metadata"),
        QStringLiteral("Filename: ") + payload.filename,
        QStringLiteral("Extension: ") + payload.originalExtension,
        QStringLiteral("MIME type: ") + payload.mimeType,
        QStringLiteral("Visual frame preview could not be generated locally; infer a practical filename from "
                       "available metadata."),
    });
}

std::optional<QString> audioFallbackMetadataText(const FileAudioAnalysisPayload &payload, bool noLocalTranscript)
{
    constexpr qint64 UploadLimitBytes = 18 * 1024 * 1024;
    QStringList lines {
        QStringLiteral("Audio file metadata"),
        QStringLiteral("Filename: ") + payload.filename,
        QStringLiteral("Extension: ") + payload.originalExtension,
        QStringLiteral("MIME type: ") + payload.mimeType,
    };
    if (payload.sizeBytes && *payload.sizeBytes > UploadLimitBytes) {
        lines.append(
            QStringLiteral("Audio upload was skipped because the file exceeds the local transcription upload limit."));
    }
    if (noLocalTranscript) {
        lines.append(QStringLiteral(
            "Offline AI could not create a local speech transcript. For spoken-word audio in Offline AI mode, "
            "provide a sidecar transcript file (.txt, .srt, or .vtt) with the same basename, or switch to "
            "cloud/BYOK transcription."));
        lines.append(QStringLiteral(
            "Use only filename, extension, MIME type, and embedded metadata. Do not infer the spoken topic, "
            "meeting subject, sound class, song title, or exact source from missing audio content."));
        lines.append(QStringLiteral("If the file appears to be a voice note but no transcript is available, "
                                    "prefer a neutral practical title such as Voice Note Audio."));
    } else {
        lines.append(QStringLiteral(
            "No reliable speech transcript is available. Treat this as a non-speech audio asset, jingle, sound "
            "effect, or music cue unless filename or metadata clearly indicates a voice recording."));
    }
    lines.append(QStringLiteral("Do not label it as a voice memo, meeting, podcast, lecture, or webinar without "
                                "actual spoken-word context."));
    return enoughText(lines);
}

} // namespace Nomly
