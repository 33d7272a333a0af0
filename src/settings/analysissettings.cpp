#include "settings/analysissettings.h"

#include <QStringList>

namespace Nomly {

QString overrideSummary(const AnalysisSettings &settings)
{
    // Presence counts, not the value: a template that turns tags off still
    // customises metadata.
    const bool customNaming = settings.namingPattern.has_value() || settings.namingPatternBlocks.has_value()
        || settings.namingCaseStyle.has_value() || settings.namingWordSeparator.has_value()
        || settings.namingBlockSeparator.has_value();
    const bool customLocalization = settings.dateFormat.has_value() || settings.outputLanguage.has_value();
    const bool customMetadata = settings.addFinderTags.has_value() || settings.addSpotlightMetadata.has_value();
    const bool customPrompts = settings.renamePromptOverride.has_value() || settings.tagPromptOverride.has_value();

    QStringList labels;
    if (customNaming)
        labels.append(QStringLiteral("Custom naming"));
    if (customLocalization)
        labels.append(QStringLiteral("Custom localization"));
    if (customMetadata)
        labels.append(QStringLiteral("Custom metadata"));
    if (customPrompts)
        labels.append(QStringLiteral("Custom prompts"));
    if (labels.isEmpty())
        return QStringLiteral("Inherits Smart Rename settings");
    return labels.join(QStringLiteral(" · "));
}

} // namespace Nomly
