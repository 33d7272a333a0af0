#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace Nomly {

// One variable of the field catalogue. Its identity is the token.
struct NamingPatternField
{
    enum class Source
    {
        Core, // the title and the clock
        File, // file system and embedded metadata
        Detected, // the AI reply or the local content readers
    };

    QString label;
    QString token;
    QString description;
    Source source = Source::Core;
    bool isSuggested = false;
    QStringList aliases;

    bool operator==(const NamingPatternField &other) const { return token == other.token; }
};

QString rawValue(NamingPatternField::Source source);

struct NamingPatternFieldGroup
{
    QString name;
    QString systemImage;
    QString tint;
    QList<NamingPatternField> fields;
};

} // namespace Nomly
