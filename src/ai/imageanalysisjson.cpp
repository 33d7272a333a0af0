#include "ai/imageanalysisjson.h"

#include <QJsonArray>
#include <QJsonValue>
#include <optional>

namespace Nomly {

namespace {

const QString TitleKey = QStringLiteral("title");
const QString DescriptionKey = QStringLiteral("description");
const QString TagsKey = QStringLiteral("tags");
const QString ErrorKey = QStringLiteral("error");
const QString TypeKey = QStringLiteral("type");
const QString VendorKey = QStringLiteral("vendor");
const QString AmountKey = QStringLiteral("amount");
const QString DetectedFieldsKey = QStringLiteral("detectedFields");

void insertIfPresent(QJsonObject &json, const QString &key, const std::optional<QString> &value)
{
    if (value)
        json.insert(key, *value);
}

std::optional<QString> stringAt(const QJsonObject &json, const QString &key)
{
    const QJsonValue value = json.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<QStringList> stringListAt(const QJsonObject &json, const QString &key)
{
    const QJsonValue value = json.value(key);
    if (!value.isArray())
        return std::nullopt;
    QStringList list;
    for (const QJsonValue &element : value.toArray()) {
        if (!element.isString())
            return std::nullopt;
        list.append(element.toString());
    }
    return list;
}

std::optional<QMap<QString, QString>> stringMapAt(const QJsonObject &json, const QString &key)
{
    const QJsonValue value = json.value(key);
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    QMap<QString, QString> map;
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!it.value().isString())
            return std::nullopt;
        map.insert(it.key(), it.value().toString());
    }
    return map;
}

template<typename T> void assignIfRead(T &field, std::optional<T> &&value)
{
    if (value)
        field = std::move(*value);
}

} // namespace

QJsonObject toJson(const ImageAnalysis &analysis)
{
    QJsonObject detectedFields;
    for (auto it = analysis.detectedFields.cbegin(); it != analysis.detectedFields.cend(); ++it)
        detectedFields.insert(it.key(), it.value());

    QJsonObject json {
        { DescriptionKey, analysis.description },
        { TagsKey, QJsonArray::fromStringList(analysis.tags) },
        { DetectedFieldsKey, detectedFields },
    };
    insertIfPresent(json, TitleKey, analysis.title);
    insertIfPresent(json, ErrorKey, analysis.error);
    insertIfPresent(json, TypeKey, analysis.type);
    insertIfPresent(json, VendorKey, analysis.vendor);
    insertIfPresent(json, AmountKey, analysis.amount);
    return json;
}

ImageAnalysis imageAnalysisFromJson(const QJsonObject &json)
{
    ImageAnalysis analysis;
    analysis.title = stringAt(json, TitleKey);
    assignIfRead(analysis.description, stringAt(json, DescriptionKey));
    assignIfRead(analysis.tags, stringListAt(json, TagsKey));
    analysis.error = stringAt(json, ErrorKey);
    analysis.type = stringAt(json, TypeKey);
    analysis.vendor = stringAt(json, VendorKey);
    analysis.amount = stringAt(json, AmountKey);
    assignIfRead(analysis.detectedFields, stringMapAt(json, DetectedFieldsKey));
    return analysis;
}

} // namespace Nomly
