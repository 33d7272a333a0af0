#include "naming/fieldcatalogue.h"

#include "naming/fieldcatalogue_p.h"

namespace Nomly {

QString rawValue(NamingPatternField::Source source)
{
    switch (source) {
    case NamingPatternField::Source::Core:
        return QStringLiteral("core");
    case NamingPatternField::Source::File:
        return QStringLiteral("file");
    case NamingPatternField::Source::Detected:
        return QStringLiteral("detected");
    }
    return {};
}

QString normalizedFieldName(QStringView tokenOrAlias)
{
    auto isTrimmed = [](QChar c) { return c == u'{' || c == u'}' || c == u' '; };
    qsizetype begin = 0;
    qsizetype end = tokenOrAlias.size();
    while (begin < end && isTrimmed(tokenOrAlias.at(begin)))
        ++begin;
    while (end > begin && isTrimmed(tokenOrAlias.at(end - 1)))
        --end;
    QString name = tokenOrAlias.sliced(begin, end - begin).toString();
    for (QChar &c : name) {
        if (c == u' ' || c == u'-' || c == u'.')
            c = u'_';
    }
    return name.toLower();
}

FieldCatalogue::FieldCatalogue()
{
    for (const FieldGroupRow &row : FieldGroupRows) {
        m_groups.append(
            { QString::fromUtf16(row.name), QString::fromUtf16(row.systemImage), QString::fromUtf16(row.tint), {} });
    }
    for (const FieldRow &row : FieldRows) {
        const QString aliases = QString::fromUtf16(row.aliases);
        m_groups[row.group].fields.append({ QString::fromUtf16(row.label),
                                            QString::fromUtf16(row.token),
                                            QString::fromUtf16(row.description),
                                            row.source,
                                            row.isSuggested,
                                            aliases.isEmpty() ? QStringList() : aliases.split(u'|') });
    }

    // Pointers stay valid: the group lists are never touched again.
    for (const NamingPatternFieldGroup &group : std::as_const(m_groups)) {
        for (const NamingPatternField &field : group.fields) {
            m_allFields.append(&field);
            m_byToken.insert(field.token.toLower(), &field);

            const QString name = normalizedFieldName(field.token);
            m_knownNames.insert(name);
            if (name == u"date" || name.endsWith(u"_date"))
                m_dateFields.insert(name);
            if (name == u"time" || name.endsWith(u"_time"))
                m_timeFields.insert(name);

            QStringList names { name };
            for (const QString &alias : field.aliases)
                names.append(normalizedFieldName(alias));
            for (const QString &alias : std::as_const(names)) {
                if (!m_byAlias.contains(alias)) {
                    m_byAlias.insert(alias, &field);
                    m_aliasToName.insert(alias, name);
                }
            }
        }
    }
}

const NamingPatternField *FieldCatalogue::fieldForToken(const QString &lowercasedToken) const
{
    return m_byToken.value(lowercasedToken, nullptr);
}

const NamingPatternField *FieldCatalogue::fieldForAlias(const QString &normalizedName) const
{
    return m_byAlias.value(normalizedName, nullptr);
}

QString FieldCatalogue::nameForAlias(const QString &normalizedName) const
{
    return m_aliasToName.value(normalizedName);
}

const FieldCatalogue &fieldCatalogue()
{
    static const FieldCatalogue catalogue;
    return catalogue;
}

} // namespace Nomly
