#pragma once

#include "naming/patternrenderinput.h"
#include "settings/effectiveanalysissettings.h"

namespace Nomly {

// A render input carrying the naming part of resolved settings: pattern,
// case style, word separator and date format. The caller adds the analysis,
// the moment and the file's metadata.
PatternRenderInput patternRenderInput(const EffectiveAnalysisSettings &settings);

} // namespace Nomly
