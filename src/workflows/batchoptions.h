#pragma once

#include "ai/analyzebatchoptions.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/settings.h"

namespace Nomly {

// What a batch asks the AI with the user's settings: the route and own key of
// the global record; the language, prompts and fields of the effective
// settings; a description and tags only where they will be written.
AnalyzeBatchOptions batchOptionsFor(const Settings &settings, const EffectiveAnalysisSettings &effective);

} // namespace Nomly
