#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// One file's request to an AI route. The hosted route sends it as JSON with
// snake_case keys and base64 payloads; the local route builds its prompt from
// it. Binary fields hold raw bytes here and are encoded once, when the request
// is written. Absent optionals are left out of the JSON.
struct AnalyzeRequest
{
    QString deviceId;
    QString deviceSecret;
    std::optional<QString> appVersion;
    std::optional<QString> platform;
    std::optional<QString> distributionChannel;
    std::optional<QString> contentKind; // "image", "text", "document", "video" or "audio"
    std::optional<QByteArray> document; // a PDF, for providers that read PDF natively
    std::optional<QByteArray> image; // one JPEG
    std::optional<QList<QByteArray>> images; // JPEG pages or frames
    std::optional<QByteArray> audio; // the audio file's bytes
    std::optional<QString> text;
    std::optional<QString> localMetadata;
    std::optional<QString> filename;
    std::optional<QString> originalExtension;
    QString mimeType; // always sent
    std::optional<QString> imageMimeType;
    std::optional<QList<int>> previewPageNumbers; // one-based
    std::optional<QList<double>> previewTimestamps; // seconds
    std::optional<int> pageCount;
    std::optional<double> durationSeconds;
    std::optional<bool> regenerate;
    std::optional<QString> language;
    std::optional<bool> byokEnabled;
    std::optional<QString> aiProvider; // "gemini", "openai", "claude", "groq" or "openaiCompatible"
    std::optional<QString> apiKey;
    std::optional<QString> byokModel;
    // The address of the user's own OpenAI-compatible server; a backend
    // answers it only where its operator allows.
    std::optional<QString> providerBaseUrl;
    std::optional<QStringList> rejectedTitles;
    std::optional<QStringList> requestedFieldKeys;
    std::optional<bool> includeDescription; // only ever false when present
    std::optional<bool> includeTags; // only ever false when present
    std::optional<QString> renamePromptOverride;
    std::optional<QString> tagPromptOverride;

    // A flag that the request leaves out counts as true.
    bool wantsDescription() const { return includeDescription.value_or(true); }

    bool wantsTags() const { return includeTags.value_or(true); }

    bool operator==(const AnalyzeRequest &) const = default;
};

} // namespace Nomly
