#pragma once

#include <QHashFunctions>
#include <QString>
#include <optional>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternseparator.h"
#include "settings/analysissettings.h"
#include "settings/settings.h"

namespace Nomly {

// What naming and analysis of one file read once templates, a folder's own
// settings and the global record are merged. Files with equal values can share
// one AI request, so the record keys caches and groups.
struct EffectiveAnalysisSettings
{
    QString namingPattern = QStringLiteral("{title}");
    NamingCaseStyle namingCaseStyle = NamingCaseStyle::Title;
    NamingPatternSeparator namingWordSeparator = NamingPatternSeparator::Space;
    NamingPatternSeparator namingBlockSeparator = NamingPatternSeparator::Space;
    QString dateFormat = QStringLiteral("yyyy-MM-dd");
    QString outputLanguage = QStringLiteral("auto");
    bool addFinderTags = false;
    bool addSpotlightMetadata = false;
    // None means the built-in prompt.
    std::optional<QString> renamePromptOverride;
    std::optional<QString> tagPromptOverride;
    QString monitorFilePrefix;

    bool operator==(const EffectiveAnalysisSettings &) const = default;
};

size_t qHash(const EffectiveAnalysisSettings &settings, size_t seed = 0) noexcept;

// Merges the layers field by field: a template's value wins over a folder's
// own, which wins over the global one. Separators nobody set follow the case
// style or the template's pattern; an empty prompt in a template or folder
// means the built-in prompt, whatever the global record says.
EffectiveAnalysisSettings resolveEffectiveAnalysisSettings(const Settings &global,
                                                           const std::optional<AnalysisSettings> &folderOverride,
                                                           const std::optional<AnalysisSettings> &preset);

} // namespace Nomly
