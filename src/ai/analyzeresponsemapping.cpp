#include "ai/analyzeresponsemapping.h"

#include "platform/logcategories.h"

namespace Nomly {

ImageAnalysis imageAnalysisFrom(const AnalyzeResponse &response)
{
    ImageAnalysis analysis;
    if (response.error || !response.title || response.title->isEmpty()) {
        qCInfo(lcAI).noquote() << "AI result error:" << response.error.value_or(QStringLiteral("empty title"));
        analysis.error = response.error.value_or(QStringLiteral("No analysis result"));
        return analysis;
    }
    analysis.title = response.title;
    analysis.description = response.description.value_or(QString());
    analysis.tags = response.tags.value_or(QStringList());
    analysis.type = response.type;
    analysis.vendor = response.vendor;
    analysis.amount = response.amount;
    analysis.detectedFields = response.fields.value_or(QMap<QString, QString>());
    return normalized(std::move(analysis));
}

} // namespace Nomly
