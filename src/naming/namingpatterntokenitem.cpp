#include "naming/namingpatterntokenitem.h"

#include "naming/namingpattern.h"

namespace Nomly {

NamingPatternTokenItem variableTokenItem(const QString &token)
{
    const QString trimmed = token.trimmed();
    return { QUuid::createUuid(),
             NamingPatternTokenItem::Variable { canonicalToken(trimmed), originalNameFormatting(trimmed) } };
}

NamingPatternTokenItem literalTokenItem(const QString &text)
{
    return { QUuid::createUuid(), NamingPatternTokenItem::Literal { text } };
}

} // namespace Nomly
