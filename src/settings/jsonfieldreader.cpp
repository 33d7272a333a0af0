#include <QJsonArray>

#include "naming/namingpatternblockjson.h"
#include "settings/jsonfieldreader_p.h"
#include "settings/keyboardshortcutjson.h"

namespace Nomly {

JsonFieldReader::JsonFieldReader(const QJsonObject &json, QString recordName)
    : m_json(json)
    , m_recordName(std::move(recordName))
{}

std::optional<bool> JsonFieldReader::boolean(const QString &key)
{
    return take<bool>(
        key,
        [](const QJsonValue &value) -> std::optional<bool> {
            if (!value.isBool())
                return std::nullopt;
            return value.toBool();
        },
        [] { return QStringLiteral("true or false"); });
}

std::optional<QString> JsonFieldReader::string(const QString &key)
{
    return take<QString>(
        key,
        [](const QJsonValue &value) -> std::optional<QString> {
            if (!value.isString())
                return std::nullopt;
            return value.toString();
        },
        [] { return QStringLiteral("a string"); });
}

std::optional<QStringList> JsonFieldReader::stringList(const QString &key)
{
    return take<QStringList>(
        key,
        [](const QJsonValue &value) -> std::optional<QStringList> {
            if (!value.isArray())
                return std::nullopt;
            QStringList list;
            for (const QJsonValue &element : value.toArray()) {
                if (!element.isString())
                    return std::nullopt;
                list.append(element.toString());
            }
            return list;
        },
        [] { return QStringLiteral("a list of strings"); });
}

std::optional<QList<NamingPatternBlock>> JsonFieldReader::blocks(const QString &key)
{
    return take<QList<NamingPatternBlock>>(
        key, &namingPatternBlocksFromJson, [] { return QStringLiteral("a list of pattern blocks"); });
}

std::optional<KeyboardShortcut> JsonFieldReader::shortcut(const QString &key)
{
    return take<KeyboardShortcut>(
        key, &keyboardShortcutFromJson, [] { return QStringLiteral("an object with a keyCode and modifiers"); });
}

void JsonFieldReader::fail(const QString &key, const QString &expected)
{
    m_error = QStringLiteral("%1 key \"%2\" must hold %3").arg(m_recordName, key, expected);
}

} // namespace Nomly
