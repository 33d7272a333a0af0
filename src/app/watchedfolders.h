#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <functional>
#include <optional>

#include <qcoro/qcorotask.h>

#include "settings/watchedfolderconfig.h"

namespace Nomly {

class BookmarkService;
class Database;

// The folders Monitor watches and what each folder's configuration says.
// The list itself is part of the settings record, which its owner keeps and
// saves; the configurations are rows of their own. Lives on the main thread;
// each operation checks that the object still exists after its waits.
class WatchedFolders final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(FolderConfigs folderConfigs READ folderConfigs NOTIFY folderConfigsChanged)

public:
    using FolderConfigs = QHash<QString, WatchedFolderConfig>;

    // How the settings record is reached: the watched folders as stored, and
    // a save of a new list that answers whether it was written.
    struct Dependencies
    {
        std::function<QStringList()> folders;
        std::function<QCoro::Task<bool>(QStringList folders)> saveFolders;
    };

    WatchedFolders(Database &database,
                   BookmarkService &bookmarks,
                   Dependencies dependencies,
                   QObject *parent = nullptr);

    QCoro::Task<> load();

    const FolderConfigs &folderConfigs() const { return m_folderConfigs; }

    // The configuration of a watched folder, looked up as given and resolved.
    const WatchedFolderConfig *config(const QString &folder) const;

    // The innermost watched folder holding the path, resolved; the file's own
    // name is kept even when it is a symbolic link.
    std::optional<QString> watchedFolder(const QString &path) const;

    // A configuration with neither template nor overrides is deleted instead.
    QCoro::Task<bool> saveFolderConfig(WatchedFolderConfig config);
    QCoro::Task<bool> deleteFolderConfig(QString path);

    // Both compare folders resolved, and save the settings.
    QCoro::Task<bool> addWatchedFolder(QString path);
    QCoro::Task<bool> removeWatchedFolder(QString path);

    // How adding a watched folder ended; the face tells the user.
    enum class FolderAddition
    {
        Added,
        Forbidden, // a system folder, the home folder itself or a hidden one
        NotSaved,
    };
    // Adds a folder the user picked, after the folder rules.
    QCoro::Task<FolderAddition> addFolder(QString path);

    // The database already dropped the rows naming a deleted template.
    void forgetPreset(const QUuid &id);

Q_SIGNALS:
    void folderConfigsChanged();
    // The Monitor's folders changed.
    void watcherReconfigurationRequested();
    // The user added a folder, which Monitor now watches (when it runs).
    void folderAdded(const QString &resolvedPath);

private:
    Database &m_database;
    BookmarkService &m_bookmarks;
    Dependencies m_dependencies;
    FolderConfigs m_folderConfigs;
};

} // namespace Nomly
