#include "history/processedfilemetadatasnapshotjson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

namespace Nomly {

namespace {

namespace Key {
const QString FinderTags = QStringLiteral("finderTags");
const QString SpotlightComment = QStringLiteral("spotlightComment");
const QString NomlyTitle = QStringLiteral("nomlyTitle");
const QString FinderTagsBytes = QStringLiteral("finderTagsBytes");
const QString SpotlightCommentBytes = QStringLiteral("spotlightCommentBytes");
const QString NomlyTitleBytes = QStringLiteral("nomlyTitleBytes");
} // namespace Key

struct BytesField
{
    const QString &key;
    std::optional<QByteArray> ProcessedFileMetadataSnapshot::*member;
};

const BytesField BytesFields[] = {
    { Key::FinderTagsBytes, &ProcessedFileMetadataSnapshot::finderTagsBytes },
    { Key::SpotlightCommentBytes, &ProcessedFileMetadataSnapshot::spotlightCommentBytes },
    { Key::NomlyTitleBytes, &ProcessedFileMetadataSnapshot::nomlyTitleBytes },
};

// Absent and null both mean the file had none; anything but a string is
// unreadable.
bool readOptionalString(const QJsonObject &json, const QString &key, std::optional<QString> &out)
{
    const QJsonValue value = json.value(key);
    if (value.isUndefined() || value.isNull())
        return true;
    if (!value.isString())
        return false;
    out = value.toString();
    return true;
}

std::optional<ProcessedFileMetadataSnapshot> fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return std::nullopt;
}

} // namespace

QJsonObject toJson(const ProcessedFileMetadataSnapshot &snapshot)
{
    QJsonObject json;
    json.insert(Key::FinderTags, QJsonArray::fromStringList(snapshot.finderTags));
    if (snapshot.spotlightComment)
        json.insert(Key::SpotlightComment, *snapshot.spotlightComment);
    if (snapshot.nomlyTitle)
        json.insert(Key::NomlyTitle, *snapshot.nomlyTitle);
    for (const BytesField &field : BytesFields) {
        if (const auto &bytes = snapshot.*field.member)
            json.insert(field.key, QString::fromLatin1(bytes->toBase64()));
    }
    return json;
}

std::optional<ProcessedFileMetadataSnapshot> processedFileMetadataSnapshotFromJson(const QByteArray &json,
                                                                                   QString *error)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return fail(error, parseError.errorString());
    if (!document.isObject())
        return fail(error, QStringLiteral("the snapshot is not a JSON object"));
    const QJsonObject object = document.object();

    ProcessedFileMetadataSnapshot snapshot;
    const QJsonValue tags = object.value(Key::FinderTags);
    if (!tags.isArray())
        return fail(error, QStringLiteral("key \"%1\" is missing or not a list").arg(Key::FinderTags));
    for (const QJsonValue &tag : tags.toArray()) {
        if (!tag.isString())
            return fail(error, QStringLiteral("key \"%1\" holds a value that is not text").arg(Key::FinderTags));
        snapshot.finderTags.append(tag.toString());
    }
    if (!readOptionalString(object, Key::SpotlightComment, snapshot.spotlightComment))
        return fail(error, QStringLiteral("key \"%1\" is not text").arg(Key::SpotlightComment));
    if (!readOptionalString(object, Key::NomlyTitle, snapshot.nomlyTitle))
        return fail(error, QStringLiteral("key \"%1\" is not text").arg(Key::NomlyTitle));
    for (const BytesField &field : BytesFields) {
        std::optional<QString> text;
        if (!readOptionalString(object, field.key, text))
            return fail(error, QStringLiteral("key \"%1\" is not text").arg(field.key));
        if (!text)
            continue;
        const auto decoded = QByteArray::fromBase64Encoding(text->toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return fail(error, QStringLiteral("key \"%1\" is not Base64").arg(field.key));
        snapshot.*field.member = *decoded;
    }
    return snapshot;
}

} // namespace Nomly
