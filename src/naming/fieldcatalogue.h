#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include "naming/namingpatternfield.h"

namespace Nomly {

// The catalogue of naming fields and the lookup tables derived from it. It is
// immutable and built once on first use; `fieldCatalogue()` hands it out.
class FieldCatalogue final
{
public:
    FieldCatalogue();
    FieldCatalogue(const FieldCatalogue &) = delete;
    FieldCatalogue &operator=(const FieldCatalogue &) = delete;

    const QList<NamingPatternFieldGroup> &groups() const { return m_groups; }

    const QList<const NamingPatternField *> &allFields() const { return m_allFields; }

    // By lowercased token ("{title}").
    const NamingPatternField *fieldForToken(const QString &lowercasedToken) const;
    // By normalised name of a token or an alias ("vendor_name").
    const NamingPatternField *fieldForAlias(const QString &normalizedName) const;
    // Normalised alias or name to the field's normalised name, for AI replies.
    QString nameForAlias(const QString &normalizedName) const;

    // Normalised names of all fields, aliases excluded.
    bool isKnownName(const QString &normalizedName) const { return m_knownNames.contains(normalizedName); }

    bool isDateField(const QString &normalizedName) const { return m_dateFields.contains(normalizedName); }

    bool isTimeField(const QString &normalizedName) const { return m_timeFields.contains(normalizedName); }

    const QSet<QString> &dateFields() const { return m_dateFields; }

    const QSet<QString> &timeFields() const { return m_timeFields; }

private:
    QList<NamingPatternFieldGroup> m_groups;
    QList<const NamingPatternField *> m_allFields;
    QHash<QString, const NamingPatternField *> m_byToken;
    QHash<QString, const NamingPatternField *> m_byAlias;
    QHash<QString, QString> m_aliasToName;
    QSet<QString> m_knownNames;
    QSet<QString> m_dateFields;
    QSet<QString> m_timeFields;
};

const FieldCatalogue &fieldCatalogue();

// Trims "{", "}" and spaces from both ends, turns " ", "-" and "." into "_",
// lowercases: "{Created Date}" and "created-date" both give "created_date".
QString normalizedFieldName(QStringView tokenOrAlias);

} // namespace Nomly
