#include "naming/patternrendercontext.h"

#include <QSet>

#include "naming/dateformats.h"
#include "naming/nametext.h"

namespace Nomly {

namespace {

// Fields whose values are identifiers, codes or numbers: case rendering would
// damage them ("INV-0042", "v2.1", "C#").
bool isLiteralValued(const QString &name)
{
    static const QSet<QString> literalNames {
        QStringLiteral("currency"),       QStringLiteral("version"),    QStringLiteral("branch"),
        QStringLiteral("source"),         QStringLiteral("location"),   QStringLiteral("language"),
        QStringLiteral("code_language"),  QStringLiteral("repository"), QStringLiteral("package_name"),
        QStringLiteral("component_name"), QStringLiteral("endpoint"),   QStringLiteral("http_status"),
        QStringLiteral("export_scale"),   QStringLiteral("sku"),        QStringLiteral("error_code"),
        QStringLiteral("release_year"),   QStringLiteral("bpm"),        QStringLiteral("musical_key"),
    };
    static constexpr const char16_t *LiteralFragments[]
        = { u"amount", u"number", u"_id", u"hash", u"reference", u"status" };
    for (const char16_t *fragment : LiteralFragments) {
        if (name.contains(QStringView(fragment)))
            return true;
    }
    return literalNames.contains(name);
}

QString fixedDatePattern(QStringView suffix)
{
    if (suffix == u"iso")
        return QStringLiteral("yyyy-MM-dd");
    if (suffix == u"dot")
        return QStringLiteral("dd.MM.yyyy");
    if (suffix == u"long")
        return QStringLiteral("MMMM d yyyy");
    if (suffix == u"compact")
        return QStringLiteral("yyyyMMdd");
    return {};
}

QString fixedTimePattern(QStringView suffix)
{
    if (suffix == u"short")
        return QStringLiteral("HH.mm");
    if (suffix == u"compact")
        return QStringLiteral("HHmmss");
    if (suffix == u"hyphen")
        return QStringLiteral("HH-mm-ss");
    if (suffix == u"12h")
        return QStringLiteral("h.mm a");
    return QStringLiteral("HH.mm.ss");
}

template<typename Make> const TextVariants &cached(std::optional<TextVariants> &slot, Make &&make)
{
    if (!slot)
        slot = make();
    return *slot;
}

} // namespace

PatternRenderContext::PatternRenderContext(const PatternRenderInput &input)
    : m_input(input)
    , m_datePattern(DateFormats::patternForName(input.dateFormat))
{}

const PatternRenderContext::TitleForms &PatternRenderContext::titleForms()
{
    if (!m_titleForms) {
        TitleForms forms;
        forms.sanitized = sanitizeName(m_input.title, true);
        forms.normalized = normalizeTitle(forms.sanitized);
        forms.underscored = sanitizeName(forms.normalized, false);
        forms.joined = forms.underscored;
        forms.joined.remove(u'_');
        m_titleForms = std::move(forms);
    }
    return *m_titleForms;
}

QString PatternRenderContext::styledTitle()
{
    const TitleForms &forms = titleForms();
    // A dash between words in a title-cased title is part of the title.
    if (m_input.caseStyle == NamingCaseStyle::Title && m_input.wordSeparator == NamingPatternSeparator::Space
        && forms.sanitized.contains(u" - "))
        return sanitizeName(forms.normalized, true);
    return sanitizeName(renderCase(forms.sanitized, m_input.wordSeparator, m_input.caseStyle), true);
}

const TextVariants &PatternRenderContext::typeVariants()
{
    return cached(m_type, [&] { return TextVariants::from(m_input.type); });
}

const TextVariants &PatternRenderContext::vendorVariants()
{
    return cached(m_vendor, [&] { return TextVariants::from(m_input.vendor); });
}

const TextVariants &PatternRenderContext::kindVariants()
{
    return cached(m_kind, [&] { return TextVariants::from(m_input.kind); });
}

const TextVariants &PatternRenderContext::extensionVariants()
{
    return cached(m_extension, [&] { return TextVariants::from(m_input.metadata.fileExtension); });
}

const TextVariants &PatternRenderContext::currencyVariants()
{
    return cached(m_currency, [&] { return TextVariants::from(m_input.currency); });
}

QString PatternRenderContext::genericValue(QStringView raw, const QString &normalizedName) const
{
    const QStringView trimmed = raw.trimmed();
    if (trimmed.isEmpty())
        return {};
    if (normalizedName.contains(u"date")) {
        if (const auto date = DateFormats::parseGeneral(trimmed))
            return sanitizeName(DateFormats::format(*date, m_datePattern), true);
        return sanitizeName(trimmed, true);
    }
    if (isLiteralValued(normalizedName))
        return sanitizeName(trimmed, true);
    return sanitizeName(renderCase(trimmed, m_input.wordSeparator, m_input.caseStyle), true);
}

QString PatternRenderContext::dateVariant(QStringView raw, QStringView suffix) const
{
    const auto date = DateFormats::parseGeneral(raw);
    if (!date)
        return sanitizeName(raw, true);
    const QString pattern = fixedDatePattern(suffix);
    return sanitizeName(DateFormats::format(*date, pattern.isEmpty() ? m_datePattern : pattern), true);
}

QString PatternRenderContext::timeVariant(QStringView raw, QStringView suffix) const
{
    const auto time = DateFormats::parse(raw.trimmed(), QStringLiteral("HH.mm.ss"));
    if (!time)
        return sanitizeName(raw, true);
    return sanitizeName(DateFormats::format(*time, fixedTimePattern(suffix)), true);
}

QString PatternRenderContext::nowFormatted(const QString &pattern) const
{
    return DateFormats::format(m_input.now.toLocalTime(), pattern);
}

QString PatternRenderContext::nowDate(QStringView suffix) const
{
    const QString pattern = fixedDatePattern(suffix);
    // Raw: the whole name is sanitised once, so punctuation at the edge of the
    // date ("2026.09.") survives when text follows it.
    return nowFormatted(pattern.isEmpty() ? m_datePattern : pattern);
}

QString PatternRenderContext::nowTime(QStringView suffix) const
{
    return nowFormatted(fixedTimePattern(suffix));
}

QString PatternRenderContext::detectedRaw(const QString &normalizedName) const
{
    const auto found = m_input.metadata.detectedFields.constFind(normalizedName);
    if (found != m_input.metadata.detectedFields.cend())
        return *found;
    if (normalizedName == u"type")
        return m_input.type;
    if (normalizedName == u"vendor" || normalizedName == u"vendor_name")
        return m_input.vendor;
    if (normalizedName == u"amount" || normalizedName == u"total_amount")
        return m_input.amount;
    if (normalizedName == u"currency")
        return m_input.currency;
    return {};
}

} // namespace Nomly
