#pragma once

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

    bool operator==(const ProcessedFileMetadataSnapshot &) const = default;
};

} // namespace Nomly
