#pragma once

#include <QString>
#include <optional>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternseparator.h"

namespace Nomly {

// How a chip renders the original file name: the case style of its words and
// what joins them.
struct TextFormatting
{
    NamingCaseStyle caseStyle = NamingCaseStyle::Title;
    NamingPatternSeparator wordSeparator = NamingPatternSeparator::Space;

    bool operator==(const TextFormatting &) const = default;
};

// The formatting an original-name spelling carries, matched exactly:
// "{Original_Name}" is title case joined by "_". Plain "{original}" and any
// other token carry none.
std::optional<TextFormatting> originalNameFormatting(QStringView token);

// The original-name spelling that writes a formatting back, or none when no
// spelling stands for it (snake, or camel words joined by spaces).
std::optional<QString> originalNameToken(const TextFormatting &formatting);

} // namespace Nomly
