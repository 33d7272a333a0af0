#pragma once

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QSet>
#include <QString>
#include <chrono>

namespace Nomly {

// A file that Nomly renames, or moves back on undo, looks like a new file to
// the Monitor. The paths and content hashes of such files stay on this list
// for a short while so that the Monitor passes them over. Re-adding an entry
// restarts its time.
//
// Any thread may add and ask; expiry runs on the thread the service lives on.
class UndoIgnoreService final : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds DefaultIgnoreDuration { 30'000 };

    explicit UndoIgnoreService(std::chrono::milliseconds ignoreDuration = DefaultIgnoreDuration,
                               QObject *parent = nullptr);

    // The path is compared in its canonical form. `silent` leaves the log
    // lines out, for the renames the program does on its own.
    void ignorePath(const QString &path, bool silent);
    void ignoreHash(const QString &hash, bool silent);

    bool isPathIgnored(const QString &path) const;
    bool isHashIgnored(const QString &hash) const;
    QSet<QString> ignoredPaths() const;
    QSet<QString> ignoredHashes() const;

private:
    struct Entry
    {
        qint64 deadline = 0; // monotonic milliseconds
        quint64 generation = 0;
        bool silent = false;
    };
    enum class Kind
    {
        Path,
        Hash,
    };

    void add(Kind kind, const QString &key, bool silent);
    void expire(Kind kind, const QString &key, quint64 generation);

    QHash<QString, Entry> &entries(Kind kind) { return kind == Kind::Path ? m_paths : m_hashes; }

    static QSet<QString> live(const QHash<QString, Entry> &entries);

    const std::chrono::milliseconds m_ignoreDuration;
    mutable QMutex m_mutex;
    QHash<QString, Entry> m_paths;
    QHash<QString, Entry> m_hashes;
    quint64 m_generation = 0;
};

} // namespace Nomly
