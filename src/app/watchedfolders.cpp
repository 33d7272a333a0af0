#include "app/watchedfolders.h"

#include <QFileInfo>
#include <QPointer>
#include <algorithm>

#include <qcoro/qcorofuture.h>

#include "app/bookmarkservice.h"
#include "app/folderclassification.h"
#include "history/database.h"
#include "platform/canonicalpath.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

// The path as folders are compared: its folder resolved, its own name as
// given, so that a file that is itself a link still counts where it lies.
QString comparablePath(const QString &path)
{
    const QFileInfo info(path);
    const QString parent = canonicalPath(info.absolutePath());
    if (parent.endsWith(QLatin1Char('/')))
        return parent + info.fileName();
    return parent + QLatin1Char('/') + info.fileName();
}

bool isEmptyConfig(const WatchedFolderConfig &config)
{
    return !config.presetId && config.legacySettings == AnalysisSettings();
}

} // namespace

WatchedFolders::WatchedFolders(Database &database,
                               BookmarkService &bookmarks,
                               Dependencies dependencies,
                               QObject *parent)
    : QObject(parent)
    , m_database(database)
    , m_bookmarks(bookmarks)
    , m_dependencies(std::move(dependencies))
{}

QCoro::Task<> WatchedFolders::load()
{
    const QPointer<WatchedFolders> self(this);
    auto loading = m_database.run([](Database &database) {
        auto loaded = database.loadFolderConfigs();
        if (!loaded) {
            qCCritical(lcDatabase).noquote() << "Failed to load folder configs:" << loaded.error();
            return FolderConfigs();
        }
        return std::move(loaded).value();
    });
    FolderConfigs configs = co_await loading;
    if (!self)
        co_return;
    m_folderConfigs = std::move(configs);
    emit folderConfigsChanged();
}

const WatchedFolderConfig *WatchedFolders::config(const QString &folder) const
{
    auto found = m_folderConfigs.constFind(folder);
    if (found == m_folderConfigs.cend())
        found = m_folderConfigs.constFind(canonicalPath(folder));
    return found == m_folderConfigs.cend() ? nullptr : &*found;
}

std::optional<QString> WatchedFolders::watchedFolder(const QString &path) const
{
    const QString comparable = comparablePath(path);
    QStringList folders;
    for (const QString &folder : m_dependencies.folders())
        folders.append(canonicalPath(folder));
    std::stable_sort(folders.begin(), folders.end(), [](const QString &left, const QString &right) {
        return left.size() > right.size();
    });
    for (const QString &folder : std::as_const(folders)) {
        if (comparable.startsWith(folder + QLatin1Char('/')))
            return folder;
    }
    return std::nullopt;
}

QCoro::Task<bool> WatchedFolders::saveFolderConfig(WatchedFolderConfig config)
{
    if (isEmptyConfig(config)) {
        auto deleting = deleteFolderConfig(config.path);
        co_return co_await deleting;
    }
    const QPointer<WatchedFolders> self(this);
    auto saving = m_database.run([config](Database &database) { return database.saveFolderConfig(config).error(); });
    const QString error = co_await saving;
    if (!self)
        co_return false;
    if (!error.isEmpty()) {
        qCCritical(lcDatabase).noquote() << "Failed to save folder config:" << error;
        co_return false;
    }
    const QString path = config.path;
    m_folderConfigs.insert(path, std::move(config));
    emit folderConfigsChanged();
    co_return true;
}

QCoro::Task<bool> WatchedFolders::deleteFolderConfig(QString path)
{
    const QPointer<WatchedFolders> self(this);
    auto deleting = m_database.run([path](Database &database) { return database.deleteFolderConfig(path).error(); });
    const QString error = co_await deleting;
    if (!self)
        co_return false;
    if (!error.isEmpty()) {
        qCCritical(lcDatabase).noquote() << "Failed to delete folder config:" << error;
        co_return false;
    }
    if (m_folderConfigs.remove(path))
        emit folderConfigsChanged();
    co_return true;
}

void WatchedFolders::forgetPreset(const QUuid &id)
{
    if (m_folderConfigs.removeIf([&id](const FolderConfigs::iterator &entry) { return entry->presetId == id; }) > 0)
        emit folderConfigsChanged();
}

QCoro::Task<bool> WatchedFolders::addWatchedFolder(QString path)
{
    const QString resolved = canonicalPath(path);
    QStringList folders = m_dependencies.folders();
    for (const QString &folder : std::as_const(folders)) {
        if (canonicalPath(folder) == resolved)
            co_return true;
    }
    folders.append(resolved);
    auto saving = m_dependencies.saveFolders(std::move(folders));
    co_return co_await saving;
}

QCoro::Task<WatchedFolders::FolderAddition> WatchedFolders::addFolder(QString path)
{
    if (classifyFolder(path) == FolderClassification::Forbidden)
        co_return FolderAddition::Forbidden;
    const QString resolved = canonicalPath(path);
    const QPointer<WatchedFolders> self(this);
    auto adding = addWatchedFolder(resolved);
    const bool added = co_await adding;
    if (!self || !added)
        co_return FolderAddition::NotSaved;
    m_bookmarks.saveBookmark(resolved);
    m_bookmarks.recordAccess(resolved, true, 0);
    emit watcherReconfigurationRequested();
    emit folderAdded(resolved);
    co_return FolderAddition::Added;
}

QCoro::Task<bool> WatchedFolders::removeWatchedFolder(QString path)
{
    const QString resolved = canonicalPath(path);
    const auto isThisFolder = [&resolved](const QString &folder) { return canonicalPath(folder) == resolved; };
    QStringList removed = m_dependencies.folders();
    removed.removeIf([&](const QString &folder) { return !isThisFolder(folder); });
    if (removed.isEmpty())
        co_return true;
    bool ok = true;
    const QPointer<WatchedFolders> self(this);
    for (const QString &folder : std::as_const(removed)) {
        m_bookmarks.removeBookmark(folder);
        auto deleting = deleteFolderConfig(folder);
        ok = co_await deleting && ok;
        if (!self)
            co_return false;
    }
    // Read again: the list may have changed while the rows were deleted.
    QStringList folders = m_dependencies.folders();
    folders.removeIf(isThisFolder);
    auto saving = m_dependencies.saveFolders(std::move(folders));
    ok = co_await saving && ok;
    if (!self)
        co_return false;
    emit watcherReconfigurationRequested();
    co_return ok;
}

} // namespace Nomly
