#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

#include <qcoro/qcorotask.h>

#include "app/appservices.h"

namespace Nomly {

class AppWorkflows;
class Database;
class SettingsViewModel;

// Brings the application up, without any window: opens the profile's
// database off the main thread, then builds and sets up the central state and
// the workflows over it.
// Files the desktop hands over before that ends (opened with the program, or
// sent to quick rename) are kept and passed on once the state exists, so an
// early request is never lost and never reaches a half-built application.
//
// Lives on the main thread, for the whole run of the application: setup
// resumes on it after each wait.
class AppLauncher final
{
public:
    enum class Stage
    {
        BeforeSetup,
        SettingUp,
        Running,
        // Setup failed: there is no central state, and nothing was started.
        Failed,
    };

    using FilesHandler = std::function<void(const QStringList &paths)>;

    static const QString InitializationErrorPrefix;

    explicit AppLauncher(AppServices services);
    ~AppLauncher();
    AppLauncher(const AppLauncher &) = delete;
    AppLauncher &operator=(const AppLauncher &) = delete;

    // Set by the face before start(). Called on the main thread, once setup
    // has succeeded, with the paths in the order they arrived.
    FilesHandler openFilesHandler;
    FilesHandler quickRenameHandler;

    Stage stage() const { return m_stage; }

    const AppServices &services() const { return m_services; }

    // Null until setup has succeeded.
    SettingsViewModel *viewModel() const { return m_viewModel.get(); }

    // Null until setup has succeeded.
    AppWorkflows *workflows() const;

    Database *database() const { return m_database.get(); }

    // Why setup failed; empty otherwise.
    QString failureDescription() const { return m_failureDescription; }

    // Files opened with the program. Kept while setting up, passed on when
    // running, dropped with a log line after a failed setup.
    void openFiles(const QStringList &paths);
    // Files sent to quick rename, kept and passed on the same way.
    void quickRename(const QStringList &paths);

    // Opens the database, creates and sets up the central state, then passes
    // on the files kept meanwhile: those opened first, then those for quick
    // rename. False when the database cannot be opened; the caller ends the
    // process with a non-zero status. Call once; a later call answers whether
    // the first succeeded.
    QCoro::Task<bool> start();

private:
    void route(const QStringList &paths,
               QStringList &pending,
               const std::function<void(const QStringList &)> &handler,
               const char *purpose);
    void fail(const QString &description);
    void handOverPendingFiles();

    AppServices m_services;
    Stage m_stage = Stage::BeforeSetup;
    std::shared_ptr<Database> m_database;
    // Declared after the database it uses, so destroyed before it.
    std::unique_ptr<SettingsViewModel> m_viewModel;
    QStringList m_pendingOpenFiles;
    QStringList m_pendingQuickRenameFiles;
    QString m_failureDescription;
};

} // namespace Nomly
