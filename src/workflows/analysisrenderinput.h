#pragma once

#include <QDateTime>

#include "ai/imageanalysis.h"
#include "naming/patternfilemetadata.h"
#include "naming/patternrenderinput.h"
#include "settings/effectiveanalysissettings.h"

namespace Nomly {

// What a name is rendered from once the AI has answered: the naming part of
// the settings, the file's own facts, and what the analysis says of the file,
// at moment `now`. The analysis' fields are laid over the facts last, under
// their field names, with its vendor, amount and currency.
PatternRenderInput analysisRenderInput(const EffectiveAnalysisSettings &settings,
                                       const ImageAnalysis &analysis,
                                       const QDateTime &now,
                                       PatternFileMetadata facts = {});

} // namespace Nomly
