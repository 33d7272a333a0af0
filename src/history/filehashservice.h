#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// The content identity of a file or a document bundle: a lower-case hex
// SHA-256 over the content and its modification time, never the file's name
// or place, so a renamed or moved file keeps its hash and a copy with another
// modification time gets another. A bundle's own name does count. Reads the
// file with one bounded buffer; call it off the main thread. A file that
// cannot be read has no hash, which is logged and is no error.
class FileHashService final
{
public:
    // Read in chunks of this size, so no file is ever held whole.
    static constexpr qsizetype ChunkSize = 1'048'576;

    FileHashService() = delete;

    // A folder gets the bundle hash; everything else the file hash.
    static std::optional<QString> hash(const QString &path);
    // The paths that have a hash, one after the other.
    static QHash<QString, QString> hashes(const QStringList &paths);

    // A modification time (seconds since 1970) as the digest sees it: the
    // shortest decimal text that reads back as the same double, always with
    // a fractional part ("1700000000.0", "1731962381.125").
    static QByteArray modificationTimeText(double secondsSinceEpoch);

private:
    static std::optional<QString> hashOf(const QString &path);
};

} // namespace Nomly
