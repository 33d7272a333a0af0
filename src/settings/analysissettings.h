#pragma once

#include <QList>
#include <QString>
#include <optional>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternblock.h"
#include "naming/namingpatternseparator.h"

namespace Nomly {

// What a template or a folder's own settings change; an absent field inherits
// from the layer below.
struct AnalysisSettings
{
    std::optional<QString> namingPattern;
    std::optional<QList<NamingPatternBlock>> namingPatternBlocks;
    std::optional<NamingCaseStyle> namingCaseStyle;
    std::optional<NamingPatternSeparator> namingWordSeparator;
    std::optional<NamingPatternSeparator> namingBlockSeparator;
    std::optional<QString> dateFormat;
    std::optional<QString> outputLanguage;
    std::optional<bool> addFinderTags;
    std::optional<bool> addSpotlightMetadata;
    std::optional<QString> renamePromptOverride;
    std::optional<QString> tagPromptOverride;

    bool operator==(const AnalysisSettings &) const = default;
};

// One line for a template list: which groups of settings it changes, e.g.
// "Custom naming · Custom prompts".
QString overrideSummary(const AnalysisSettings &settings);

} // namespace Nomly
