#include "workflows/batchrenameplan.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "ai/imageanalysisjson.h"

namespace Nomly::BatchRenamePlan {

namespace {

constexpr int Version = 1;

void insertOptional(QJsonObject &object, const QString &key, const std::optional<QString> &value)
{
    if (value)
        object.insert(key, *value);
}

std::optional<QString> optionalString(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    if (!value.isString() || value.toString().trimmed().isEmpty())
        return std::nullopt;
    return value.toString();
}

} // namespace

QByteArray toJson(const QList<BatchRenameItem> &items)
{
    QJsonArray entries;
    for (const BatchRenameItem &item : items) {
        if (item.status != BatchRenameStatus::Analyzed || !item.analysis || !item.suggestedName)
            continue;
        QJsonObject entry { { QStringLiteral("file"), item.originalPath },
                            { QStringLiteral("suggestedName"), *item.suggestedName },
                            { QStringLiteral("analysis"), toJson(*item.analysis) } };
        // Present so that the place to edit is plain to see.
        entry.insert(QStringLiteral("editedName"),
                     item.editedName ? QJsonValue(*item.editedName) : QJsonValue(QJsonValue::Null));
        insertOptional(entry, QStringLiteral("contentHash"), item.contentHash);
        insertOptional(entry, QStringLiteral("provider"), item.aiProvider);
        entries.append(entry);
    }
    const QJsonObject plan { { QStringLiteral("nomlyPlan"), Version }, { QStringLiteral("items"), entries } };
    return QJsonDocument(plan).toJson(QJsonDocument::Indented);
}

Result<QList<BatchRenameItem>> fromJson(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        return Failure { QStringLiteral("not a plan: %1 at byte %2").arg(error.errorString()).arg(error.offset) };
    const QJsonObject plan = document.object();
    if (plan.value(QStringLiteral("nomlyPlan")).toInt() != Version || !plan.value(QStringLiteral("items")).isArray())
        return Failure { QStringLiteral("not a plan written by 'nomly rename --save-plan'") };

    QList<BatchRenameItem> items;
    const QJsonArray entries = plan.value(QStringLiteral("items")).toArray();
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const QJsonObject entry = entries.at(i).toObject();
        const std::optional<QString> file = optionalString(entry, QStringLiteral("file"));
        const std::optional<QString> suggested = optionalString(entry, QStringLiteral("suggestedName"));
        if (!file || !suggested || !entry.value(QStringLiteral("analysis")).isObject())
            return Failure { QStringLiteral("item %1 of the plan lacks its file, name or analysis").arg(i + 1) };
        BatchRenameItem item = BatchRenameItem::forFile(*file);
        item.status = BatchRenameStatus::Analyzed;
        item.suggestedName = suggested;
        item.editedName = optionalString(entry, QStringLiteral("editedName"));
        item.analysis = imageAnalysisFromJson(entry.value(QStringLiteral("analysis")).toObject());
        item.contentHash = optionalString(entry, QStringLiteral("contentHash"));
        item.aiProvider = optionalString(entry, QStringLiteral("provider"));
        items.append(item);
    }
    return items;
}

} // namespace Nomly::BatchRenamePlan
