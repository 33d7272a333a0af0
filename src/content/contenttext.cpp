#include "content/contenttext.h"

#include <QRegularExpression>
#include <QSet>
#include <algorithm>
#include <cmath>

#include "content/extractionlimits.h"

namespace Nomly {

QString normalizedText(QStringView text)
{
    QString unified = text.toString();
    unified.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    unified.replace(u'\r', u'\n');
    unified.replace(u'\t', u' ');

    QStringList lines;
    // Any line separator, not only LF: form feeds, vertical tabs and the
    // Unicode separators split lines too.
    static const QRegularExpression lineBreak(QStringLiteral("[\\n\\x{000B}\\x{000C}\\x{0085}\\x{2028}\\x{2029}]"));
    for (const QString &line : unified.split(lineBreak)) {
        lines.append(line.simplified());
    }
    QString joined = lines.join(u'\n').trimmed();
    static const QRegularExpression blankLines(QStringLiteral("\\n{3,}"));
    joined.replace(blankLines, QStringLiteral("\n\n"));
    return joined;
}

qsizetype nonWhitespaceCount(QStringView text)
{
    return std::count_if(text.begin(), text.end(), [](QChar c) { return !c.isSpace(); });
}

bool isReadableText(QStringView text)
{
    return nonWhitespaceCount(text) >= ExtractionLimits::MinReadableCharacters;
}

QString cutText(const QString &text, qsizetype limit)
{
    return text.size() > limit ? text.left(limit).trimmed() : text;
}

QString foldedForComparison(QStringView text)
{
    const QString decomposed = text.toString().normalized(QString::NormalizationForm_D);
    QString folded;
    folded.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        if (c.category() != QChar::Mark_NonSpacing)
            folded.append(c);
    }
    return folded.toCaseFolded();
}

QStringList withoutFoldedDuplicates(const QStringList &strings)
{
    QStringList kept;
    QSet<QString> seen;
    for (const QString &string : strings) {
        if (!seen.contains(foldedForComparison(string))) {
            seen.insert(foldedForComparison(string));
            kept.append(string);
        }
    }
    return kept;
}

QList<int> evenlySpacedIndices(int count, int wanted)
{
    QList<int> indices;
    if (count < 1 || wanted < 1)
        return indices;
    if (wanted >= count) {
        for (int i = 0; i < count; ++i)
            indices.append(i);
        return indices;
    }
    const double span = std::max(wanted, 2) - 1;
    for (int i = 0; i < wanted; ++i) {
        const int index = static_cast<int>(std::lround((count - 1) * i / span));
        if (!indices.contains(index))
            indices.append(index);
    }
    return indices;
}

} // namespace Nomly
