#pragma once

#include <QDateTime>

#include "ai/imageanalysis.h"
#include "naming/patternrenderinput.h"
#include "settings/effectiveanalysissettings.h"

namespace Nomly {

// What a name is rendered from once the AI has answered: the naming part of
// the settings and what the analysis says of the file, at moment `now`.
PatternRenderInput analysisRenderInput(const EffectiveAnalysisSettings &settings,
                                       const ImageAnalysis &analysis,
                                       const QDateTime &now);

} // namespace Nomly
