#pragma once

#include <QString>
#include <optional>

#include "naming/rawvalue.h"

namespace Nomly {

enum class NamingCaseStyle
{
    Title,
    Sentence,
    Lower,
    Upper,
    Snake,
    Kebab,
    Camel,
    Pascal,
    Constant,
    Dot,
};

inline constexpr RawValueTable<NamingCaseStyle, 10> NamingCaseStyleRawValues { {
    { NamingCaseStyle::Title, u"title" },
    { NamingCaseStyle::Sentence, u"sentence" },
    { NamingCaseStyle::Lower, u"lower" },
    { NamingCaseStyle::Upper, u"upper" },
    { NamingCaseStyle::Snake, u"snake" },
    { NamingCaseStyle::Kebab, u"kebab" },
    { NamingCaseStyle::Camel, u"camel" },
    { NamingCaseStyle::Pascal, u"pascal" },
    { NamingCaseStyle::Constant, u"constant" },
    { NamingCaseStyle::Dot, u"dot" },
} };

inline QString rawValue(NamingCaseStyle style)
{
    return rawValueIn(NamingCaseStyleRawValues, style);
}

inline std::optional<NamingCaseStyle> namingCaseStyleFromRaw(QStringView raw)
{
    return fromRawValueIn(NamingCaseStyleRawValues, raw);
}

// The label the style picker shows, e.g. "snake_case".
QString displayLabel(NamingCaseStyle style);

} // namespace Nomly
