#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "history/processedfilemetadatasnapshot.h"
#include "platform/result.h"

namespace Nomly {

// The metadata Nomly leaves on a file besides its name: tags in
// `user.xdg.tags` (comma-joined, the form file managers read), a comment in
// `user.xdg.comment` and attributes of its own under `user.nomly.`. Stateless;
// whether to write at all is the caller's decision. Every write replaces what
// the file had, which is why callers take a snapshot first.
class MetadataService final
{
public:
    MetadataService() = delete;

    static Result<> writeTags(const QString &path, const QStringList &tags);
    static Result<> writeComment(const QString &path, const QString &comment);
    // `key` without the prefix, e.g. "title".
    static Result<> writeAttribute(const QString &path, const QString &key, const QString &value);
    // `name` in full, e.g. "user.xdg.comment". Absent counts as removed.
    static Result<> removeAttribute(const QString &path, const QByteArray &name);

    static Result<QStringList> readTags(const QString &path);
    // None when absent or not UTF-8.
    static Result<std::optional<QString>> readAttribute(const QString &path, const QString &key);

    // Attributes whose bytes the text forms would not give back exactly are
    // kept as bytes too, so that a restore returns them unchanged.
    static Result<ProcessedFileMetadataSnapshot> snapshot(const QString &path);
    // Puts a snapshot back; the first failure stops the rest.
    static Result<> restore(const QString &path, const ProcessedFileMetadataSnapshot &snapshot);

    static const QByteArray TagsAttribute;
    static const QByteArray CommentAttribute;
    static const QByteArray OwnAttributePrefix;
};

} // namespace Nomly
