#include "naming/namingpatternblockjson.h"

namespace Nomly {

namespace {

const QString KindKey = QStringLiteral("kind");
const QString ValueKey = QStringLiteral("value");
const QString SeparatorBeforeKey = QStringLiteral("separatorBefore");

} // namespace

QJsonObject toJson(const NamingPatternBlock &block)
{
    QJsonObject json;
    json.insert(KindKey, rawValueIn(NamingPatternBlockKindRawValues, block.kind));
    json.insert(ValueKey, block.value);
    if (block.separatorBefore)
        json.insert(SeparatorBeforeKey, rawValue(*block.separatorBefore));
    return json;
}

QJsonArray toJson(const QList<NamingPatternBlock> &blocks)
{
    QJsonArray array;
    for (const NamingPatternBlock &block : blocks)
        array.append(toJson(block));
    return array;
}

std::optional<NamingPatternBlock> namingPatternBlockFromJson(const QJsonValue &json)
{
    if (!json.isObject())
        return std::nullopt;
    const QJsonObject object = json.toObject();
    const QJsonValue kind = object.value(KindKey);
    const QJsonValue value = object.value(ValueKey);
    if (!kind.isString() || !value.isString())
        return std::nullopt;

    NamingPatternBlock block;
    const auto parsedKind = fromRawValueIn(NamingPatternBlockKindRawValues, kind.toString());
    if (!parsedKind)
        return std::nullopt;
    block.kind = *parsedKind;
    block.value = value.toString();

    const QJsonValue separator = object.value(SeparatorBeforeKey);
    if (!separator.isUndefined() && !separator.isNull()) {
        if (!separator.isString())
            return std::nullopt;
        block.separatorBefore = namingPatternSeparatorFromRaw(separator.toString());
        if (!block.separatorBefore)
            return std::nullopt;
    }
    return block;
}

std::optional<QList<NamingPatternBlock>> namingPatternBlocksFromJson(const QJsonValue &json)
{
    if (!json.isArray())
        return std::nullopt;
    QList<NamingPatternBlock> blocks;
    for (const QJsonValue &element : json.toArray()) {
        auto block = namingPatternBlockFromJson(element);
        if (!block)
            return std::nullopt;
        blocks.append(std::move(*block));
    }
    return blocks;
}

} // namespace Nomly
