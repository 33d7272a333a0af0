#include "history/metadataservice.h"

#include <QStringDecoder>
#include <cerrno>

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
    QStringList tags;
    if (!bytes.value())
        return tags;
    const QString text = decodeUtf8(*bytes.value()).value_or(QString::fromLatin1(*bytes.value()));
    for (const QString &tag : text.split(u',')) {
        if (const QString trimmed = tag.trimmed(); !trimmed.isEmpty())
            tags.append(trimmed);
    }
    return tags;
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
    auto tags = readTags(path);
    if (!tags)
        return tags.failure();
    snapshot.finderTags = std::move(tags).value();

    const auto comment = ExtendedAttributes::read(path, CommentAttribute);
    if (!comment)
        return comment.failure();
    if (comment.value()) {
        snapshot.spotlightComment = decodeUtf8(*comment.value());
        if (!snapshot.spotlightComment)
            return Failure { QStringLiteral("The comment of \"%1\" is not UTF-8 text").arg(path), EILSEQ };
    }

    auto title = readAttribute(path, TitleKey);
    if (!title)
        return title.failure();
    snapshot.nomlyTitle = std::move(title).value();
    return snapshot;
}

Result<> MetadataService::restore(const QString &path, const ProcessedFileMetadataSnapshot &snapshot)
{
    if (auto result = writeTags(path, snapshot.finderTags); !result)
        return result;
    auto comment = snapshot.spotlightComment ? writeComment(path, *snapshot.spotlightComment)
                                             : removeAttribute(path, CommentAttribute);
    if (!comment)
        return comment;
    return snapshot.nomlyTitle ? writeAttribute(path, TitleKey, *snapshot.nomlyTitle)
                               : removeAttribute(path, ownAttribute(TitleKey));
}

} // namespace Nomly
