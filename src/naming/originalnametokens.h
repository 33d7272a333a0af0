#pragma once

#include <array>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternseparator.h"

namespace Nomly {

// The spellings of the original-name token that carry their own formatting:
// {original_name} renders the old name in lower case joined by "_".
struct OriginalNameToken
{
    const char16_t *token;
    NamingCaseStyle caseStyle;
    NamingPatternSeparator wordSeparator;
};

inline constexpr std::array<OriginalNameToken, 21> OriginalNameTokens { {
    { u"{Original Name}", NamingCaseStyle::Title, NamingPatternSeparator::Space },
    { u"{Original_Name}", NamingCaseStyle::Title, NamingPatternSeparator::Underscore },
    { u"{Original-Name}", NamingCaseStyle::Title, NamingPatternSeparator::Hyphen },
    { u"{Original.Name}", NamingCaseStyle::Title, NamingPatternSeparator::Dot },
    { u"{Original name}", NamingCaseStyle::Sentence, NamingPatternSeparator::Space },
    { u"{Original_name}", NamingCaseStyle::Sentence, NamingPatternSeparator::Underscore },
    { u"{Original-name}", NamingCaseStyle::Sentence, NamingPatternSeparator::Hyphen },
    { u"{Original.name}", NamingCaseStyle::Sentence, NamingPatternSeparator::Dot },
    { u"{Originalname}", NamingCaseStyle::Sentence, NamingPatternSeparator::None },
    { u"{original name}", NamingCaseStyle::Lower, NamingPatternSeparator::Space },
    { u"{original_name}", NamingCaseStyle::Lower, NamingPatternSeparator::Underscore },
    { u"{original-name}", NamingCaseStyle::Lower, NamingPatternSeparator::Hyphen },
    { u"{original.name}", NamingCaseStyle::Lower, NamingPatternSeparator::Dot },
    { u"{originalname}", NamingCaseStyle::Lower, NamingPatternSeparator::None },
    { u"{ORIGINAL NAME}", NamingCaseStyle::Upper, NamingPatternSeparator::Space },
    { u"{ORIGINAL_NAME}", NamingCaseStyle::Upper, NamingPatternSeparator::Underscore },
    { u"{ORIGINAL-NAME}", NamingCaseStyle::Upper, NamingPatternSeparator::Hyphen },
    { u"{ORIGINAL.NAME}", NamingCaseStyle::Upper, NamingPatternSeparator::Dot },
    { u"{ORIGINALNAME}", NamingCaseStyle::Upper, NamingPatternSeparator::None },
    { u"{originalName}", NamingCaseStyle::Camel, NamingPatternSeparator::None },
    { u"{OriginalName}", NamingCaseStyle::Pascal, NamingPatternSeparator::None },
} };

} // namespace Nomly
