#pragma once

#include <QString>
#include <optional>

#include "naming/rawvalue.h"

namespace Nomly {

// Stored as the character itself ("_"), not as the case name.
enum class NamingPatternSeparator
{
    Space,
    Underscore,
    Hyphen,
    Dot,
    None,
};

inline constexpr RawValueTable<NamingPatternSeparator, 5> NamingPatternSeparatorRawValues { {
    { NamingPatternSeparator::Space, u" " },
    { NamingPatternSeparator::Underscore, u"_" },
    { NamingPatternSeparator::Hyphen, u"-" },
    { NamingPatternSeparator::Dot, u"." },
    { NamingPatternSeparator::None, u"" },
} };

// Case names as users type them on the command line.
inline constexpr RawValueTable<NamingPatternSeparator, 5> NamingPatternSeparatorNames { {
    { NamingPatternSeparator::Space, u"space" },
    { NamingPatternSeparator::Underscore, u"underscore" },
    { NamingPatternSeparator::Hyphen, u"hyphen" },
    { NamingPatternSeparator::Dot, u"dot" },
    { NamingPatternSeparator::None, u"none" },
} };

inline QString rawValue(NamingPatternSeparator separator)
{
    return rawValueIn(NamingPatternSeparatorRawValues, separator);
}

inline std::optional<NamingPatternSeparator> namingPatternSeparatorFromRaw(QStringView raw)
{
    return fromRawValueIn(NamingPatternSeparatorRawValues, raw);
}

inline QString caseName(NamingPatternSeparator separator)
{
    return rawValueIn(NamingPatternSeparatorNames, separator);
}

inline std::optional<NamingPatternSeparator> namingPatternSeparatorFromName(QStringView name)
{
    return fromRawValueIn(NamingPatternSeparatorNames, name);
}

} // namespace Nomly
