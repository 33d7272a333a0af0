#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

#include "naming/namingpatternblock.h"
#include "naming/rawvalue.h"
#include "settings/keyboardshortcut.h"

namespace Nomly {

// Reads the keys of a stored settings object for the JSON decoders of this
// library. A missing key, or one holding null, reads as none. A key holding
// something else than its type fails the decode: the reader keeps the first
// such failure as a message naming the key, and reads nothing after it.
class JsonFieldReader final
{
public:
    // `recordName` starts each message, e.g. "Settings".
    JsonFieldReader(const QJsonObject &json, QString recordName);

    std::optional<bool> boolean(const QString &key);
    std::optional<QString> string(const QString &key);
    std::optional<QStringList> stringList(const QString &key);
    std::optional<QList<NamingPatternBlock>> blocks(const QString &key);
    std::optional<KeyboardShortcut> shortcut(const QString &key);

    template<typename Enum, std::size_t N>
    std::optional<Enum> choice(const QString &key, const RawValueTable<Enum, N> &table)
    {
        return take<Enum>(
            key,
            [&table](const QJsonValue &value) -> std::optional<Enum> {
                if (!value.isString())
                    return std::nullopt;
                return fromRawValueIn(table, value.toString());
            },
            [&table]() -> QString {
                QStringList raws;
                for (const auto &entry : table)
                    raws.append(u'"' + QString::fromUtf16(entry.second) + u'"');
                return QStringLiteral("one of ") + raws.join(QStringLiteral(", "));
            });
    }

    bool failed() const { return !m_error.isEmpty(); }

    const QString &error() const { return m_error; }

private:
    template<typename T>
    std::optional<T> take(const QString &key,
                          const std::function<std::optional<T>(const QJsonValue &)> &decode,
                          const std::function<QString()> &expected)
    {
        if (failed())
            return std::nullopt;
        const QJsonValue value = m_json.value(key);
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        std::optional<T> decoded = decode(value);
        if (!decoded)
            fail(key, expected());
        return decoded;
    }

    void fail(const QString &key, const QString &expected);

    QJsonObject m_json;
    QString m_recordName;
    QString m_error;
};

// The first candidate that is present, else the fallback.
template<typename T> T firstPresent(std::initializer_list<std::optional<T>> candidates, const T &fallback)
{
    for (const std::optional<T> &candidate : candidates) {
        if (candidate)
            return *candidate;
    }
    return fallback;
}

// Overwrites a field only with a value that was read.
template<typename T> void assignIfRead(T &field, std::optional<T> &&value)
{
    if (value)
        field = std::move(*value);
}

template<typename T> void assignIfRead(std::optional<T> &field, std::optional<T> &&value)
{
    if (value)
        field = std::move(value);
}

} // namespace Nomly
