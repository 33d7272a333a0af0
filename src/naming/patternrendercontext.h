#pragma once

#include <QString>
#include <optional>

#include "naming/patternrenderinput.h"
#include "naming/valuevariants.h"

namespace Nomly {

// The pieces of one render that several tokens share, each worked out on
// first use so that a pattern pays only for the tokens it holds.
class PatternRenderContext final
{
public:
    explicit PatternRenderContext(const PatternRenderInput &input);
    PatternRenderContext(const PatternRenderContext &) = delete;
    PatternRenderContext &operator=(const PatternRenderContext &) = delete;

    const PatternRenderInput &input() const { return m_input; }

    struct TitleForms
    {
        QString sanitized; // S: the title with spaces kept
        QString normalized; // N: title normalisation of S
        QString underscored; // U: N without spaces
        QString joined; // J: U without "_"
    };

    const TitleForms &titleForms();
    // {title}: the title in the pattern's case style and word separator.
    QString styledTitle();

    const TextVariants &typeVariants();
    const TextVariants &vendorVariants();
    const TextVariants &kindVariants();
    const TextVariants &extensionVariants();
    const TextVariants &currencyVariants();

    // The value of a file, media, photo or detected field: dates reformatted
    // with the date format, identifiers kept literally, everything else in the
    // case style.
    QString genericValue(QStringView raw, const QString &normalizedName) const;
    // {x_iso}, {x_dot}, {x_long}, {x_compact} of a date text.
    QString dateVariant(QStringView raw, QStringView suffix) const;
    // {x}, {x_short}, {x_compact}, {x_hyphen}, {x_12h} of an "HH.mm.ss" text.
    QString timeVariant(QStringView raw, QStringView suffix) const;
    // The moment of the render, in local time: with the date format when the
    // suffix is empty, else {date_iso} and the rest; and as a time.
    QString nowDate(QStringView suffix) const;
    QString nowTime(QStringView suffix) const;
    QString nowFormatted(const QString &pattern) const;
    // The value of a detected field, falling back on the analysis' own fields.
    QString detectedRaw(const QString &normalizedName) const;

private:
    const PatternRenderInput &m_input;
    QString m_datePattern;
    std::optional<TitleForms> m_titleForms;
    std::optional<TextVariants> m_type;
    std::optional<TextVariants> m_vendor;
    std::optional<TextVariants> m_kind;
    std::optional<TextVariants> m_extension;
    std::optional<TextVariants> m_currency;
};

} // namespace Nomly
