#pragma once

#include <QString>
#include <optional>

#include "naming/rawvalue.h"

namespace Nomly {

// The kinds of file the statistics count renames by, in the order they are
// shown. PDFs count as images: they are named from their pages.
enum class FileTypeGroup
{
    Image,
    Design,
    Document,
    Video,
    Audio,
};

inline constexpr RawValueTable<FileTypeGroup, 5> FileTypeGroupRawValues { {
    { FileTypeGroup::Image, u"image" },
    { FileTypeGroup::Design, u"design" },
    { FileTypeGroup::Document, u"document" },
    { FileTypeGroup::Video, u"video" },
    { FileTypeGroup::Audio, u"audio" },
} };

inline QString rawValue(FileTypeGroup value)
{
    return rawValueIn(FileTypeGroupRawValues, value);
}

// The group of a lower-case extension without its dot; none for one the
// statistics don't group.
std::optional<FileTypeGroup> fileTypeGroupOf(QStringView extension);

} // namespace Nomly
