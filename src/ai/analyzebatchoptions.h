#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "ai/aianalysisoutputoptions.h"
#include "settings/aiprocessingmode.h"
#include "settings/aiprovider.h"

namespace Nomly {

// Everything besides the inputs that shapes one batch's requests: the route,
// the user's own key and model, the language and what the caller wants back.
struct AnalyzeBatchOptions
{
    bool regenerate = false;
    QString outputLanguage = QStringLiteral("auto");
    bool byokEnabled = false;
    std::optional<AIProvider> aiProvider;
    std::optional<QString> byokModel;
    // Where the user's own OpenAI-compatible server answers, when it does.
    std::optional<QString> providerBaseUrl;
    AIProcessingMode aiProcessingMode = AIProcessingMode::Cloud;
    QString localAIEndpoint;
    QString localAIModel;
    std::optional<QStringList> rejectedTitles;
    std::optional<QStringList> requestedFieldKeys;
    AIAnalysisOutputOptions outputOptions;
    std::optional<QString> renamePromptOverride;
    std::optional<QString> tagPromptOverride;

    bool usesLocalAI() const { return aiProcessingMode == AIProcessingMode::Local; }

    bool operator==(const AnalyzeBatchOptions &) const = default;
};

} // namespace Nomly
