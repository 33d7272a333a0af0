#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

#include "naming/namingpatternfield.h"
#include "naming/namingpatternseparator.h"

namespace Nomly {

// A token found in a pattern: from a "{" to the first "}" after it, braces
// included. There is no nesting and no escape.
struct PatternToken
{
    QString text;
    qsizetype position = 0;

    qsizetype end() const { return position + text.size(); }

    bool operator==(const PatternToken &) const = default;
};

struct ParsedPattern
{
    QStringList tokens;
    // Inferred from the first gap between two tokens; `Space` with fewer than two.
    NamingPatternSeparator separator = NamingPatternSeparator::Space;
};

// Scans for "{" then "}". A "{" with no later "}" makes the rest literal.
QList<PatternToken> scanPatternTokens(const QString &pattern);

ParsedPattern parsePattern(const QString &pattern);

// The separator a gap between two tokens stands for: "_" wins over "-", "-"
// over ".", any other non-empty text is a space, and an empty gap is none.
NamingPatternSeparator inferSeparator(QStringView gap);

// Matches of \{[^}]+\} in order, repeats kept.
QStringList patternTokenMatches(const QString &pattern);

// Any spelling of a token or an alias to the token the catalogue knows it by,
// or to a format variant of one ("{Created Date}" -> "{created_date}",
// "{vendor name}" -> "{vendor}", "{date_iso}" stays). Unknown input comes back
// trimmed and wrapped in braces.
QString canonicalToken(const QString &tokenOrAlias);

// The field a format variant renders, by normalised name: "invoice_date_long"
// -> "invoice_date", "size_mb" -> "size", "month" -> "month_name". A known
// field name stands for itself.
std::optional<QString> variantBaseName(const QString &normalizedName);

// Field lookup by token, alias or format variant; null when unknown.
const NamingPatternField *fieldForToken(const QString &tokenOrAlias);

// The fields a pattern uses, in order of appearance, repeats kept, unknown
// tokens skipped.
QList<const NamingPatternField *> fieldsOfPattern(const QString &pattern);

// Normalised names of the detected fields that the AI has to fill for a
// pattern; fields the local readers supply are left out, except `location`.
QStringList requestedDetectedFields(const QString &pattern);

// The fields that file readers fill without the AI.
bool isLocallyReadFieldName(const QString &normalizedName);

bool isLocallyResolvable(const NamingPatternField &field);

// Whether every token of the pattern is filled without the AI: the clock, the
// file's own facts and what the local readers find. A title, a field the AI
// has to fill or a token the catalogue does not know makes it false.
bool isMetadataOnlyPattern(const QString &pattern);

} // namespace Nomly
