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

// A file system that keeps no extended attributes (ramfs), mounted in a mount
// namespace of this process alone so that nothing outlives the test. Needs
// root, and must be made before the process starts threads.
class AttributelessMount final
{
public:
    explicit AttributelessMount(const QString &path);
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
