#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// What a file carried before Nomly wrote metadata to it, kept with the
// activity record so that undo can put it back. An absent comment or title
// means the file had none, which undo restores by removing the attribute.
struct ProcessedFileMetadataSnapshot
{
    QStringList finderTags;
    std::optional<QString> spotlightComment;
    std::optional<QString> nomlyTitle;
    // An attribute's bytes as they were, where the text above would not give
    // them back exactly (bytes that are not UTF-8, tags written in another
    // form): undo writes these instead.
    std::optional<QByteArray> finderTagsBytes;
    std::optional<QByteArray> spotlightCommentBytes;
    std::optional<QByteArray> nomlyTitleBytes;

    bool operator==(const ProcessedFileMetadataSnapshot &) const = default;
};

} // namespace Nomly
