#pragma once

#include "ai/analyzebatchoptions.h"
#include "ai/remoteconfig.h"
#include "content/fileextractionservice.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/settings.h"

namespace Nomly {

// What a batch asks the AI with the user's settings: the route and own key of
// the global record; the language, prompts and fields of the effective
// settings; a description and tags only where they will be written.
AnalyzeBatchOptions batchOptionsFor(const Settings &settings, const EffectiveAnalysisSettings &effective);

// How files are read for the AI: the operator's switches and kinds of file,
// and the user's choice on online previews.
ExtractionOptions extractionOptionsFor(const RemoteConfig &remote, const Settings &settings);

} // namespace Nomly
