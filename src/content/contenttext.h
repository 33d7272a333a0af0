#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

namespace Nomly {

// Line ends to LF, tabs to blanks, each line's whitespace runs to one blank,
// the whole trimmed, and three or more line feeds in a row to two. Every
// reader's text passes through here before it is measured or cut.
QString normalizedText(QStringView text);

qsizetype nonWhitespaceCount(QStringView text);

// Enough non-whitespace characters to count as text at all.
bool isReadableText(QStringView text);

// The first `limit` characters, trimmed, when the text is longer; else the
// text as it is.
QString cutText(const QString &text, qsizetype limit);

// The form two strings are compared in when case and accents must not tell
// them apart ("Résumé" and "resume" are one).
QString foldedForComparison(QStringView text);

// Later duplicates removed, compared as above; the first of each stays.
QStringList withoutFoldedDuplicates(const QStringList &strings);

// `wanted` indices spread evenly over 0..count-1, first and last included,
// ascending and without duplicates; all of them when wanted >= count.
QList<int> evenlySpacedIndices(int count, int wanted);

} // namespace Nomly
