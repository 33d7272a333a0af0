#include "history/processedfilejson.h"

#include "history/processedfilemetadatasnapshotjson.h"

namespace Nomly {

namespace {

namespace Key {
const QString Id = QStringLiteral("id");
const QString OriginalPath = QStringLiteral("originalPath");
const QString NewPath = QStringLiteral("newPath");
const QString OriginalName = QStringLiteral("originalName");
const QString NewName = QStringLiteral("newName");
const QString Title = QStringLiteral("title");
const QString Description = QStringLiteral("description");
const QString Tags = QStringLiteral("tags");
const QString AiProvider = QStringLiteral("aiProvider");
const QString ProcessedAt = QStringLiteral("processedAt");
const QString ContentHash = QStringLiteral("contentHash");
const QString IsUndone = QStringLiteral("isUndone");
const QString MetadataSnapshot = QStringLiteral("metadataSnapshot");
const QString Source = QStringLiteral("source");
const QString RunId = QStringLiteral("runId");
} // namespace Key

} // namespace

QJsonObject toJson(const ProcessedFile &record)
{
    QJsonObject json;
    if (record.id)
        json.insert(Key::Id, *record.id);
    json.insert(Key::OriginalPath, record.originalPath);
    json.insert(Key::NewPath, record.newPath);
    json.insert(Key::OriginalName, record.originalName);
    json.insert(Key::NewName, record.newName);
    json.insert(Key::Title, record.title);
    json.insert(Key::Description, record.description);
    json.insert(Key::Tags, record.tags);
    json.insert(Key::AiProvider, record.aiProvider);
    json.insert(Key::ProcessedAt, record.processedAt);
    json.insert(Key::ContentHash, record.contentHash ? QJsonValue(*record.contentHash) : QJsonValue());
    json.insert(Key::IsUndone, record.isUndone);
    json.insert(Key::MetadataSnapshot,
                record.metadataSnapshot ? QJsonValue(toJson(*record.metadataSnapshot)) : QJsonValue());
    json.insert(Key::Source, rawValue(record.source));
    if (record.runId)
        json.insert(Key::RunId, *record.runId);
    return json;
}

} // namespace Nomly
