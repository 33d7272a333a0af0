#pragma once

#include <QByteArray>
#include <QString>

namespace Nomly::Test {

bool writeFile(const QString &path, const QByteArray &bytes);
// Empty when the file cannot be read.
QByteArray readFile(const QString &path);
QByteArray attribute(const QString &path, const char *name, bool *present = nullptr);
bool setAttribute(const QString &path, const char *name, const QByteArray &value);

// A folder whose entries nobody may rename, root included: immutable where
// the process may set that flag, read-only otherwise. Undone on destruction.
class LockedFolder final
{
public:
    explicit LockedFolder(const QString &path);
    ~LockedFolder();
    LockedFolder(const LockedFolder &) = delete;
    LockedFolder &operator=(const LockedFolder &) = delete;

    // False when the folder could not be locked; the test should skip.
    bool isLocked() const { return m_locked; }

private:
    QString m_path;
    bool m_immutable = false;
    bool m_locked = false;
};

// A file system mounted in a mount namespace of this process alone (and the
// programs it starts), so that nothing outlives the test: by default ramfs,
// which keeps no extended attributes; `Small` is a tmpfs of 512 KiB, to be
// filled up. Needs root, and must be made before the process starts threads.
class AttributelessMount final
{
public:
    enum class Kind
    {
        WithoutAttributes,
        Small,
    };

    explicit AttributelessMount(const QString &path, Kind kind = Kind::WithoutAttributes);
    ~AttributelessMount();
    AttributelessMount(const AttributelessMount &) = delete;
    AttributelessMount &operator=(const AttributelessMount &) = delete;

    // Empty when mounted, otherwise why not, for QSKIP.
    QString unavailableReason() const { return m_reason; }

private:
    QString m_path;
    QString m_reason;
};

} // namespace Nomly::Test
