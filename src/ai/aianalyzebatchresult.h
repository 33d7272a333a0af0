#pragma once

#include <QList>
#include <QString>
#include <optional>

#include "ai/imageanalysis.h"

namespace Nomly {

struct AIAnalyzeBatchResult
{
    // Same length and order as the inputs; absent where no request could be
    // prepared or no answer came back.
    QList<std::optional<ImageAnalysis>> analyses;
    // The provider the hosted backend says it used, or "ollama:" and the
    // model on the local route.
    std::optional<QString> effectiveProvider;

    bool operator==(const AIAnalyzeBatchResult &) const = default;
};

} // namespace Nomly
