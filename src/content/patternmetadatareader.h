#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <utility>

#include "naming/patternfilemetadata.h"

namespace Nomly {

// What the reader needs besides the file.
struct PatternMetadataOptions
{
    // The settings' date format, a name ("iso") or an ICU pattern.
    QString dateFormat = QStringLiteral("yyyy-MM-dd");
    // Known already, saving a look at the file system.
    std::optional<qint64> sizeBytes;
    // The image extensions of the remote configuration.
    QStringList imageExtensions;
};

// Reads a file's own facts into the record its name is rendered from: file
// system dates and size, pixel size and camera EXIF, audio and video
// properties and tags, PDF and Office document properties, and the
// fields that project manifests, source files, git checkouts, mail headers
// and SVG drawings give away. Works on the file alone: nothing is sent and
// nothing is written. Each read is bounded and best-effort; what cannot be
// read stays empty. Run it off the main thread.
class PatternMetadataReader final
{
public:
    // Bytes of a text file read for its fields.
    static constexpr qint64 MaxTextBytes = 512'000;

    PatternMetadataReader() = delete;

    static PatternFileMetadata read(const QString &path, const PatternMetadataOptions &options);

    // The non-empty facts by field name ("camera_model"), file facts in
    // catalogue order, then the detected fields sorted by name.
    static QList<std::pair<QString, QString>> namedValues(const PatternFileMetadata &metadata);
};

} // namespace Nomly
