#include "history/undoignoreservice.h"

#include <QDeadlineTimer>
#include <QTimer>

#include "platform/canonicalpath.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

qint64 nowMs()
{
    return QDeadlineTimer::current().deadline();
}

// Hashes are long; the log keeps enough to match one by eye.
QString logForm(const QString &hash)
{
    return hash.left(16) + QStringLiteral("...");
}

} // namespace

UndoIgnoreService::UndoIgnoreService(std::chrono::milliseconds ignoreDuration, QObject *parent)
    : QObject(parent)
    , m_ignoreDuration(ignoreDuration)
{}

void UndoIgnoreService::ignorePath(const QString &path, bool silent)
{
    const QString resolved = canonicalPath(path);
    add(Kind::Path, resolved, silent);
    if (!silent)
        qCInfo(lcProcessing).noquote() << "Undo ignore: added path" << resolved;
}

void UndoIgnoreService::ignoreHash(const QString &hash, bool silent)
{
    add(Kind::Hash, hash, silent);
    if (!silent)
        qCInfo(lcProcessing).noquote() << "Undo ignore: added hash" << logForm(hash);
}

bool UndoIgnoreService::isPathIgnored(const QString &path) const
{
    const QString resolved = canonicalPath(path);
    const QMutexLocker lock(&m_mutex);
    const auto it = m_paths.constFind(resolved);
    return it != m_paths.cend() && it->deadline > nowMs();
}

bool UndoIgnoreService::isHashIgnored(const QString &hash) const
{
    const QMutexLocker lock(&m_mutex);
    const auto it = m_hashes.constFind(hash);
    return it != m_hashes.cend() && it->deadline > nowMs();
}

QSet<QString> UndoIgnoreService::ignoredPaths() const
{
    const QMutexLocker lock(&m_mutex);
    return live(m_paths);
}

QSet<QString> UndoIgnoreService::ignoredHashes() const
{
    const QMutexLocker lock(&m_mutex);
    return live(m_hashes);
}

QSet<QString> UndoIgnoreService::live(const QHash<QString, Entry> &entries)
{
    // An entry whose expiry has not run yet is already over for the reader.
    const qint64 now = nowMs();
    QSet<QString> result;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (it->deadline > now)
            result.insert(it.key());
    }
    return result;
}

void UndoIgnoreService::add(Kind kind, const QString &key, bool silent)
{
    quint64 generation = 0;
    {
        const QMutexLocker lock(&m_mutex);
        generation = ++m_generation;
        entries(kind).insert(key, Entry { nowMs() + m_ignoreDuration.count(), generation, silent });
    }
    // The timer must start on the service's own thread; a caller on a worker
    // thread has no event loop to run it.
    QMetaObject::invokeMethod(this, [this, kind, key, generation] {
        QTimer::singleShot(m_ignoreDuration, this, [this, kind, key, generation] { expire(kind, key, generation); });
    });
}

void UndoIgnoreService::expire(Kind kind, const QString &key, quint64 generation)
{
    bool silent = true;
    {
        const QMutexLocker lock(&m_mutex);
        auto &table = entries(kind);
        const auto it = table.find(key);
        // A later addition of the same key has its own timer.
        if (it == table.end() || it->generation != generation)
            return;
        silent = it->silent;
        table.erase(it);
    }
    if (silent)
        return;
    if (kind == Kind::Path)
        qCInfo(lcProcessing).noquote() << "Undo ignore: removed path" << key;
    else
        qCInfo(lcProcessing).noquote() << "Undo ignore: removed hash" << logForm(key);
}

} // namespace Nomly
