#include "naming/textformatting.h"

#include "naming/originalnametokens.h"

namespace Nomly {

std::optional<TextFormatting> originalNameFormatting(QStringView token)
{
    for (const OriginalNameToken &row : OriginalNameTokens) {
        if (token == QStringView(row.token))
            return TextFormatting { row.caseStyle, row.wordSeparator };
    }
    return std::nullopt;
}

std::optional<QString> originalNameToken(const TextFormatting &formatting)
{
    for (const OriginalNameToken &row : OriginalNameTokens) {
        if (row.caseStyle == formatting.caseStyle && row.wordSeparator == formatting.wordSeparator)
            return QString::fromUtf16(row.token);
    }
    return std::nullopt;
}

} // namespace Nomly
