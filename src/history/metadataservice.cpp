#include "history/metadataservice.h"

#include <QStringDecoder>

#include "platform/extendedattributes.h"

namespace Nomly {

const QByteArray MetadataService::TagsAttribute = QByteArrayLiteral("user.xdg.tags");
const QByteArray MetadataService::CommentAttribute = QByteArrayLiteral("user.xdg.comment");
const QByteArray MetadataService::OwnAttributePrefix = QByteArrayLiteral("user.nomly.");

namespace {

const QString TitleKey = QStringLiteral("title");

QByteArray ownAttribute(const QString &key)
{
    return MetadataService::OwnAttributePrefix + key.toUtf8();
}

std::optional<QString> decodeUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

QStringList tagsFromBytes(const QByteArray &bytes)
{
    const QString text = decodeUtf8(bytes).value_or(QString::fromLatin1(bytes));
    QStringList tags;
    for (const QString &tag : text.split(u',')) {
        if (const QString trimmed = tag.trimmed(); !trimmed.isEmpty())
            tags.append(trimmed);
    }
    return tags;
}

} // namespace

Result<> MetadataService::writeTags(const QString &path, const QStringList &tags)
{
    if (tags.isEmpty())
        return ExtendedAttributes::remove(path, TagsAttribute);
    return ExtendedAttributes::write(path, TagsAttribute, tags.join(u',').toUtf8());
}

Result<> MetadataService::writeComment(const QString &path, const QString &comment)
{
    return ExtendedAttributes::write(path, CommentAttribute, comment.toUtf8());
}

Result<> MetadataService::writeAttribute(const QString &path, const QString &key, const QString &value)
{
    return ExtendedAttributes::write(path, ownAttribute(key), value.toUtf8());
}

Result<> MetadataService::removeAttribute(const QString &path, const QByteArray &name)
{
    return ExtendedAttributes::remove(path, name);
}

Result<QStringList> MetadataService::readTags(const QString &path)
{
    const auto bytes = ExtendedAttributes::read(path, TagsAttribute);
    if (!bytes)
        return bytes.failure();
    return bytes.value() ? tagsFromBytes(*bytes.value()) : QStringList();
}

Result<std::optional<QString>> MetadataService::readAttribute(const QString &path, const QString &key)
{
    const auto bytes = ExtendedAttributes::read(path, ownAttribute(key));
    if (!bytes)
        return bytes.failure();
    if (!bytes.value())
        return std::optional<QString>();
    return decodeUtf8(*bytes.value());
}

Result<ProcessedFileMetadataSnapshot> MetadataService::snapshot(const QString &path)
{
    ProcessedFileMetadataSnapshot snapshot;
    const auto tags = ExtendedAttributes::read(path, TagsAttribute);
    if (!tags)
        return tags.failure();
    if (const auto &bytes = tags.value()) {
        snapshot.finderTags = tagsFromBytes(*bytes);
        if (bytes->isEmpty() || snapshot.finderTags.join(u',').toUtf8() != *bytes)
            snapshot.finderTagsBytes = *bytes;
    }

    const auto comment = ExtendedAttributes::read(path, CommentAttribute);
    if (!comment)
        return comment.failure();
    if (const auto &bytes = comment.value()) {
        snapshot.spotlightComment = decodeUtf8(*bytes);
        // Bytes the text would not give back (not UTF-8, a byte-order mark).
        if (!snapshot.spotlightComment || snapshot.spotlightComment->toUtf8() != *bytes)
            snapshot.spotlightCommentBytes = *bytes;
    }

    const auto title = ExtendedAttributes::read(path, ownAttribute(TitleKey));
    if (!title)
        return title.failure();
    if (const auto &bytes = title.value()) {
        snapshot.nomlyTitle = decodeUtf8(*bytes);
        if (!snapshot.nomlyTitle || snapshot.nomlyTitle->toUtf8() != *bytes)
            snapshot.nomlyTitleBytes = *bytes;
    }
    return snapshot;
}

Result<> MetadataService::restore(const QString &path, const ProcessedFileMetadataSnapshot &snapshot)
{
    // Bytes kept as they were win over the text forms; an attribute with
    // neither was absent and is removed.
    const auto put = [&path](const QByteArray &name,
                             const std::optional<QByteArray> &bytes,
                             const std::optional<QByteArray> &text) -> Result<> {
        if (bytes)
            return ExtendedAttributes::write(path, name, *bytes);
        if (text)
            return ExtendedAttributes::write(path, name, *text);
        return ExtendedAttributes::remove(path, name);
    };
    const auto utf8 = [](const std::optional<QString> &text) {
        return text ? std::optional<QByteArray>(text->toUtf8()) : std::nullopt;
    };
    const std::optional<QByteArray> tags = snapshot.finderTags.isEmpty()
        ? std::nullopt
        : std::optional<QByteArray>(snapshot.finderTags.join(u',').toUtf8());
    if (auto result = put(TagsAttribute, snapshot.finderTagsBytes, tags); !result)
        return result;
    if (auto result = put(CommentAttribute, snapshot.spotlightCommentBytes, utf8(snapshot.spotlightComment)); !result)
        return result;
    return put(ownAttribute(TitleKey), snapshot.nomlyTitleBytes, utf8(snapshot.nomlyTitle));
}

} // namespace Nomly
