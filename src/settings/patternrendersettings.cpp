#include "settings/patternrendersettings.h"

namespace Nomly {

PatternRenderInput patternRenderInput(const EffectiveAnalysisSettings &settings)
{
    PatternRenderInput input;
    input.pattern = settings.namingPattern;
    input.caseStyle = settings.namingCaseStyle;
    input.wordSeparator = settings.namingWordSeparator;
    input.dateFormat = settings.dateFormat;
    return input;
}

} // namespace Nomly
