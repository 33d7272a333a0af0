#include "naming/namingpattern.h"

#include <QRegularExpression>
#include <QSet>
#include <algorithm>

#include "naming/fieldcatalogue.h"

namespace Nomly {

namespace {

const QSet<QString> &locallyReadFieldNames()
{
    static const QSet<QString> names {
        QStringLiteral("type"),         QStringLiteral("recording_date"),  QStringLiteral("artist"),
        QStringLiteral("track_title"),  QStringLiteral("album"),           QStringLiteral("label"),
        QStringLiteral("release_year"), QStringLiteral("genre"),           QStringLiteral("bpm"),
        QStringLiteral("musical_key"),  QStringLiteral("location"),        QStringLiteral("author"),
        QStringLiteral("publisher"),    QStringLiteral("language"),        QStringLiteral("document_date"),
        QStringLiteral("version"),      QStringLiteral("source"),          QStringLiteral("product_name"),
        QStringLiteral("release_date"), QStringLiteral("code_language"),   QStringLiteral("repository"),
        QStringLiteral("branch"),       QStringLiteral("commit_hash"),     QStringLiteral("package_name"),
        QStringLiteral("build_number"), QStringLiteral("framework"),       QStringLiteral("sender"),
        QStringLiteral("recipient"),    QStringLiteral("message_subject"), QStringLiteral("message_date"),
        QStringLiteral("thread_name"),  QStringLiteral("artboard"),        QStringLiteral("component_name"),
        QStringLiteral("export_scale"),
    };
    return names;
}

// Fixed variant names and the field they format.
struct VariantAlias
{
    const char16_t *variant;
    const char16_t *base;
};

constexpr VariantAlias FixedVariants[] = {
    { u"month", u"month_name" },      { u"month_number", u"month_name" }, { u"month_short", u"month_name" },
    { u"month_name", u"month_name" }, { u"year_short", u"year" },
};

constexpr VariantAlias OtherVariants[] = {
    { u"extension_upper", u"extension" },
    { u"extension_original", u"extension" },
    { u"size_bytes", u"size" },
    { u"size_kb", u"size" },
    { u"size_mb", u"size" },
    { u"duration_clock", u"duration" },
    { u"duration_minutes", u"duration" },
    { u"duration_seconds", u"duration" },
    { u"resolution_hyphen", u"resolution" },
    { u"resolution_height", u"resolution" },
    { u"frame_rate_rounded", u"frame_rate" },
    { u"frame_rate_number", u"frame_rate" },
};

constexpr const char16_t *DateSuffixes[] = { u"_iso", u"_dot", u"_long", u"_compact" };
constexpr const char16_t *TimeSuffixes[] = { u"_short", u"_compact", u"_hyphen", u"_12h" };

template<std::size_t N>
std::optional<QString> strippedFamilyMember(const QString &name,
                                            const char16_t *const (&suffixes)[N],
                                            const QSet<QString> &family)
{
    for (const char16_t *suffix : suffixes) {
        const QStringView view(suffix);
        if (name.endsWith(view)) {
            const QString base = name.chopped(view.size());
            if (family.contains(base))
                return base;
        }
    }
    return std::nullopt;
}

QString wrappedInBraces(const QString &trimmed)
{
    if (trimmed.startsWith(u'{') && trimmed.endsWith(u'}'))
        return trimmed;
    return u'{' + trimmed + u'}';
}

} // namespace

QList<PatternToken> scanPatternTokens(const QString &pattern)
{
    QList<PatternToken> tokens;
    qsizetype from = 0;
    while (true) {
        const qsizetype open = pattern.indexOf(u'{', from);
        if (open < 0)
            break;
        const qsizetype close = pattern.indexOf(u'}', open + 1);
        if (close < 0)
            break;
        tokens.append({ pattern.sliced(open, close - open + 1), open });
        from = close + 1;
    }
    return tokens;
}

NamingPatternSeparator inferSeparator(QStringView gap)
{
    if (gap.contains(u'_'))
        return NamingPatternSeparator::Underscore;
    if (gap.contains(u'-'))
        return NamingPatternSeparator::Hyphen;
    if (gap.contains(u'.'))
        return NamingPatternSeparator::Dot;
    if (!gap.isEmpty())
        return NamingPatternSeparator::Space;
    return NamingPatternSeparator::None;
}

ParsedPattern parsePattern(const QString &pattern)
{
    ParsedPattern parsed;
    const QList<PatternToken> tokens = scanPatternTokens(pattern);
    for (const PatternToken &token : tokens)
        parsed.tokens.append(token.text);
    if (tokens.size() >= 2) {
        const qsizetype gapStart = tokens.at(0).end();
        parsed.separator = inferSeparator(QStringView(pattern).sliced(gapStart, tokens.at(1).position - gapStart));
    }
    return parsed;
}

QStringList patternTokenMatches(const QString &pattern)
{
    static const QRegularExpression tokenExpression(QStringLiteral("\\{[^}]+\\}"));
    QStringList matches;
    auto it = tokenExpression.globalMatch(pattern);
    while (it.hasNext())
        matches.append(it.next().captured());
    return matches;
}

std::optional<QString> variantBaseName(const QString &normalizedName)
{
    for (const VariantAlias &alias : FixedVariants) {
        if (normalizedName == QStringView(alias.variant))
            return QString::fromUtf16(alias.base);
    }
    const FieldCatalogue &catalogue = fieldCatalogue();
    if (catalogue.isKnownName(normalizedName))
        return normalizedName;
    if (auto base = strippedFamilyMember(normalizedName, DateSuffixes, catalogue.dateFields()))
        return base;
    if (auto base = strippedFamilyMember(normalizedName, TimeSuffixes, catalogue.timeFields()))
        return base;
    for (const VariantAlias &alias : OtherVariants) {
        if (normalizedName == QStringView(alias.variant))
            return QString::fromUtf16(alias.base);
    }
    return std::nullopt;
}

QString canonicalToken(const QString &tokenOrAlias)
{
    const QString wrapped = wrappedInBraces(tokenOrAlias.trimmed());
    const FieldCatalogue &catalogue = fieldCatalogue();
    if (const NamingPatternField *field = catalogue.fieldForToken(wrapped.toLower()))
        return field->token;

    const QString name = normalizedFieldName(wrapped);
    if (name == u"month" || name == u"month_number")
        return QStringLiteral("{month}");
    if (name == u"month_short" || name == u"month_name")
        return u'{' + name + u'}';
    if (variantBaseName(name))
        return u'{' + name + u'}';

    if (name == u"title" || name == u"title_name" || name == u"titlename" || name == u"name")
        return QStringLiteral("{title}");
    if (name == u"original_name" || name == u"originalname")
        return QStringLiteral("{original}");

    if (const NamingPatternField *field = catalogue.fieldForAlias(name))
        return field->token;
    return wrapped;
}

const NamingPatternField *fieldForToken(const QString &tokenOrAlias)
{
    const FieldCatalogue &catalogue = fieldCatalogue();
    const QString canonical = canonicalToken(tokenOrAlias);
    if (const NamingPatternField *field = catalogue.fieldForToken(canonical.toLower()))
        return field;
    const auto base = variantBaseName(normalizedFieldName(canonical));
    if (!base)
        return nullptr;
    return catalogue.fieldForAlias(*base);
}

QList<const NamingPatternField *> fieldsOfPattern(const QString &pattern)
{
    QList<const NamingPatternField *> fields;
    for (const QString &match : patternTokenMatches(pattern)) {
        if (const NamingPatternField *field = fieldForToken(match))
            fields.append(field);
    }
    return fields;
}

QStringList requestedDetectedFields(const QString &pattern)
{
    QStringList names;
    for (const NamingPatternField *field : fieldsOfPattern(pattern)) {
        if (field->source != NamingPatternField::Source::Detected)
            continue;
        const QString name = normalizedFieldName(field->token);
        if (isLocallyReadFieldName(name) && name != u"location")
            continue;
        if (!names.contains(name))
            names.append(name);
    }
    return names;
}

bool isLocallyReadFieldName(const QString &normalizedName)
{
    return locallyReadFieldNames().contains(normalizedName);
}

bool isLocallyResolvable(const NamingPatternField &field)
{
    const QString name = normalizedFieldName(field.token);
    switch (field.source) {
    case NamingPatternField::Source::File:
        return true;
    case NamingPatternField::Source::Core:
        return name != u"title";
    case NamingPatternField::Source::Detected:
        return isLocallyReadFieldName(name);
    }
    return false;
}

bool isMetadataOnlyPattern(const QString &pattern)
{
    const QList<PatternToken> tokens = scanPatternTokens(pattern);
    return std::all_of(tokens.cbegin(), tokens.cend(), [](const PatternToken &token) {
        const NamingPatternField *field = fieldForToken(token.text);
        return field && isLocallyResolvable(*field);
    });
}

} // namespace Nomly
