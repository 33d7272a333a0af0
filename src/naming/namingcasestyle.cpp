#include "naming/namingcasestyle.h"

namespace Nomly {

QString displayLabel(NamingCaseStyle style)
{
    static constexpr RawValueTable<NamingCaseStyle, 10> Labels { {
        { NamingCaseStyle::Title, u"Title Case" },
        { NamingCaseStyle::Sentence, u"Sentence case" },
        { NamingCaseStyle::Lower, u"lower case" },
        { NamingCaseStyle::Upper, u"UPPER CASE" },
        { NamingCaseStyle::Snake, u"snake_case" },
        { NamingCaseStyle::Kebab, u"kebab-case" },
        { NamingCaseStyle::Camel, u"camelCase" },
        { NamingCaseStyle::Pascal, u"PascalCase" },
        { NamingCaseStyle::Constant, u"CONSTANT_CASE" },
        { NamingCaseStyle::Dot, u"dot.case" },
    } };
    return rawValueIn(Labels, style);
}

} // namespace Nomly
