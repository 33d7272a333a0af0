#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

#include "ai/remoteconfig.h"

namespace Nomly {

// The hosted backend's answer to the configuration call, and the form kept in
// the cache. Every key is optional except `image_extensions`.
struct ConfigResponse
{
    QStringList imageExtensions;
    std::optional<QStringList> designExtensions;
    std::optional<QStringList> documentExtensions;
    std::optional<QStringList> videoExtensions;
    std::optional<QStringList> audioExtensions;
    std::optional<int> processingDelayMs;
    std::optional<int> maxConcurrentProcessing;
    std::optional<int> batchRenameChunkSize;
    std::optional<int> batchAnalysisLimit;
    std::optional<QString> aiProvider;
    std::optional<QString> aiModel;
    std::optional<QString> byokGoogleModel;
    std::optional<QString> byokGeminiModel;
    std::optional<QString> byokGroqModel;
    std::optional<QString> byokOpenAIModel;
    std::optional<QString> byokAnthropicModel;
    std::optional<QString> byokClaudeModel;
    std::optional<QString> renamePromptDefault;
    std::optional<QString> tagPromptDefault;
    std::optional<int> promptMaxChars;
    std::optional<bool> pdfTextExtractionEnabled;

    // None when the bytes are not a JSON object, `image_extensions` is
    // missing, or a key has a value of the wrong type. A null value counts as
    // absent.
    static std::optional<ConfigResponse> fromJson(const QByteArray &json);

    // The built-in values with this answer over them: extension lists can
    // only add types, the rest replaces a default when present and usable.
    RemoteConfig applied() const;
};

} // namespace Nomly
