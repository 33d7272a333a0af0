#include "workflows/analysisrenderinput.h"

#include "naming/detectedfields.h"
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
    input.now = now;
    input.metadata = std::move(facts);
    return DetectedFields::withAnalysis(std::move(input), analysis.detectedFields);
}

} // namespace Nomly
