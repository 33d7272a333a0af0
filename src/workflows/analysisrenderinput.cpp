#include "workflows/analysisrenderinput.h"

#include "settings/patternrendersettings.h"

namespace Nomly {

PatternRenderInput analysisRenderInput(const EffectiveAnalysisSettings &settings,
                                       const ImageAnalysis &analysis,
                                       const QDateTime &now,
                                       PatternFileMetadata facts)
{
    PatternRenderInput input = patternRenderInput(settings);
    const QString title = analysis.title.value_or(QString());
    input.title = title.isEmpty() ? QStringLiteral("Untitled") : title;
    input.type = analysis.type.value_or(QString());
    input.vendor = analysis.vendor.value_or(QString());
    input.amount = analysis.amount.value_or(QString());
    // The model reports the currency among the naming fields.
    input.currency = analysis.detectedFields.value(QStringLiteral("currency"));
    input.now = now;
    input.metadata = std::move(facts);
    for (auto it = analysis.detectedFields.cbegin(); it != analysis.detectedFields.cend(); ++it)
        input.metadata.detectedFields.insert(it.key(), it.value());
    return input;
}

} // namespace Nomly
