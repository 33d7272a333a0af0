#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>

namespace Nomly {

// Which file object a path names, as far as a rename can tell: the device and
// inode stay with a file that is renamed within its file system, the size and
// modification time change when its content does. Two equal identities are
// the same file with the same content.
struct FileIdentity
{
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    qint64 modifiedNs = 0; // since the epoch

    // The entry at `path` itself, never what a symbolic link points to; none
    // when nothing is there.
    static std::optional<FileIdentity> of(const QString &path);

    bool operator==(const FileIdentity &) const = default;
};

// Whether `path` names a regular file itself (not a link to one, a folder, a
// FIFO or a device): the only kind of entry that is renamed and written to.
bool isRegularFile(const QString &path);

// Whether `path` leads to a regular file, through symbolic links: the only
// kind of entry whose content is read. Opening a FIFO waits for a writer
// that may never come, and a device may never end.
bool leadsToRegularFile(const QString &path);

// Whether reading what `path` leads to could wait without end: a FIFO, a
// socket or a device. Files and folders never do.
bool mayBlockOnRead(const QString &path);

} // namespace Nomly
