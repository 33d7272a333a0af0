#pragma once

#include <QString>
#include <optional>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternseparator.h"

namespace Nomly {

// Rules that fill in a naming setting nobody chose from the settings that were
// chosen. Stored records from before case styles and separators existed, and
// templates that set only some of them, both go through these.

// The case style an old pattern spelled through its title token ("{titleName}",
// "{TITLE_NAME}"), or none when it holds no such token.
std::optional<NamingCaseStyle> caseStyleFromLegacyTokens(const QString &pattern);

// The word separator an old pattern spelled through its title token
// ("{Title_Name}" is "_", "{TitleName}" none at all), or none without one.
std::optional<NamingPatternSeparator> wordSeparatorFromLegacyTokens(const QString &pattern);

// The separator between the first two tokens of a pattern with at least two.
std::optional<NamingPatternSeparator> blockSeparatorOfPattern(const QString &pattern);

} // namespace Nomly
