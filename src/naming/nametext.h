#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternseparator.h"

namespace Nomly {

// The one gate for every character that reaches a file name: keeps Unicode
// letters and numbers, "-", "_", "." and, when asked, single spaces; removes
// everything else, collapses "__" and trims " ", "_" and "." from both ends.
QString sanitizeName(QStringView text, bool keepSpaces);

// The separator a case style writes between words: snake and constant case
// use "_", kebab case "-", dot case "."; other styles imply none.
std::optional<NamingPatternSeparator> wordSeparatorImpliedBy(NamingCaseStyle style);

// Words for case rendering: "_", "-" and "." separate, then maximal runs of
// letters and numbers. "my_file.v2-final" gives my, file, v2, final; there is
// no split inside "fileName".
QStringList splitWords(QStringView text);

// Joins the words of `text` in the given style. Without a separator the style
// chooses its own (snake "_", kebab "-", dot ".", others " "); camel and pascal
// always join with nothing.
QString renderCase(QStringView text, std::optional<NamingPatternSeparator> separator, NamingCaseStyle style);

// The longest start of `name` whose UTF-8 form fits in `maxBytes`: cut at a
// word boundary when one lies in the last fifth of what fits, else between two
// characters (never inside one, nor inside a UTF-8 sequence), and without a
// separator (" ", "_", "-", ".") left at the end. A name that fits is returned
// as it is.
QString fitNameToBytes(QStringView name, qsizetype maxBytes);

// "REPORT FINAL" -> "Report Final", "NASA launch plan" -> "NASA Launch Plan".
QString normalizeTitle(QStringView text);

// First letter in title case, the rest lowercased.
QString capitalizeWord(QStringView word);

// First character uppercased or lowercased, the rest left alone.
QString withFirstUpper(QStringView text);
QString withFirstLower(QStringView text);

} // namespace Nomly
