#include "ai/imageanalysis.h"

#include <optional>

namespace Nomly {

namespace {

constexpr qsizetype EscapeLength = 6; // backslash, u and four digits

int hexDigit(QChar character)
{
    const char16_t unit = character.unicode();
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    if (unit >= u'a' && unit <= u'f')
        return unit - u'a' + 10;
    if (unit >= u'A' && unit <= u'F')
        return unit - u'A' + 10;
    return -1;
}

// The code unit that an escape at `position` names, if one starts there.
std::optional<char16_t> escapeAt(const QString &text, qsizetype position)
{
    if (position + EscapeLength > text.size() || text.at(position) != u'\\' || text.at(position + 1) != u'u')
        return std::nullopt;
    int value = 0;
    for (qsizetype index = position + 2; index < position + EscapeLength; ++index) {
        const int digit = hexDigit(text.at(index));
        if (digit < 0)
            return std::nullopt;
        value = value * 16 + digit;
    }
    return static_cast<char16_t>(value);
}

QString composed(const QString &text)
{
    return unescapeUnicodeLiterals(text).normalized(QString::NormalizationForm_C);
}

void compose(std::optional<QString> &text)
{
    if (text)
        text = composed(*text);
}

} // namespace

QString unescapeUnicodeLiterals(const QString &text)
{
    if (!text.contains(u"\\u"))
        return text;

    QString result;
    result.reserve(text.size());
    qsizetype position = 0;
    while (position < text.size()) {
        const std::optional<char16_t> unit = escapeAt(text, position);
        if (!unit) {
            result.append(text.at(position));
            ++position;
            continue;
        }
        if (QChar::isHighSurrogate(*unit)) {
            const std::optional<char16_t> low = escapeAt(text, position + EscapeLength);
            if (low && QChar::isLowSurrogate(*low)) {
                result.append(QChar(*unit));
                result.append(QChar(*low));
                position += 2 * EscapeLength;
                continue;
            }
        }
        if (QChar::isSurrogate(*unit))
            result.append(QStringView(text).mid(position, EscapeLength));
        else
            result.append(QChar(*unit));
        position += EscapeLength;
    }
    return result;
}

ImageAnalysis normalized(ImageAnalysis analysis)
{
    compose(analysis.title);
    analysis.description = composed(analysis.description);
    for (QString &tag : analysis.tags)
        tag = composed(tag);
    compose(analysis.type);
    compose(analysis.vendor);
    compose(analysis.amount);
    return analysis;
}

} // namespace Nomly
