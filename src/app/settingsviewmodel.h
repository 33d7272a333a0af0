#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <memory>

#include <qcoro/qcorotask.h>

#include "app/consentstate.h"
#include "app/migrationservice.h"
#include "app/settingsstore.h"
#include "app/templatelibrary.h"
#include "app/watchedfolders.h"
#include "history/processedfile.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/settings.h"

namespace Nomly {

class AppWorkflows;
class BookmarkService;
class Database;
class Diagnostics;
class KeyCustody;
class KeySync;
class NetworkService;
class UndoIgnoreService;
class UserDefaults;

// The central state the faces bind to: the global settings with the flags of
// the keys in custody, and, each with its own concern, the templates, the
// watched folders and the user's consent. Lives on the main thread, and its
// values change only there, so a workflow that reads them between two waits
// sees a whole record; the database is read and written on its own thread
// while the main thread waits. A task the interface started may finish after
// the object is gone, so each operation checks that it still exists after
// every wait.
class SettingsViewModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(Nomly::Settings settings READ settings WRITE setSettings NOTIFY settingsChanged)
    Q_PROPERTY(bool isOffline READ isOffline NOTIFY isOfflineChanged)

public:
    // Whether the secret store holds a key for the provider; reading it never
    // asks the user anything.
    using HasApiKey = std::function<QCoro::Task<bool>(AIProvider provider)>;

    static const QString HasTouchedAISetupProviderFeatureKey;

    // Without `hasApiKey` the key flags stay as stored.
    SettingsViewModel(Database &database,
                      UserDefaults &userDefaults,
                      NetworkService &network,
                      BookmarkService &bookmarks,
                      HasApiKey hasApiKey = {},
                      MigrationService::SaveApiKey saveApiKey = {},
                      QObject *parent = nullptr);
    // Waits for the saves still running on the database's thread, which
    // read this object's store.
    ~SettingsViewModel() override;

    // Brings the profile up to date and loads it: first launch mark, settings,
    // migrations, folder normalisation, key flags, folder configurations, demo
    // templates, templates, then follows connectivity. Call once.
    QCoro::Task<> setUp();

    const Settings &settings() const { return m_settings; }

    // In memory only; saveSettings() writes.
    void setSettings(const Settings &settings);
    // Writes the settings. On failure, logged, the value stays in memory and
    // the next save tries again. Callers that changed what the Monitor reads
    // ask for a watcher reconfiguration themselves.
    QCoro::Task<bool> saveSettings();

    TemplateLibrary &templates() { return m_templates; }

    const TemplateLibrary &templates() const { return m_templates; }

    WatchedFolders &folders() { return m_folders; }

    const WatchedFolders &folders() const { return m_folders; }

    ConsentState &consent() { return m_consent; }

    // The workflows and the activity, statistics and hotkey view models,
    // owned here once made; null before.
    AppWorkflows *workflows() const { return m_workflows.get(); }

    // Makes the workflows over this state, once, before setUp() so that
    // they follow the settings from the first load on.
    AppWorkflows &createWorkflows(UndoIgnoreService &undoIgnore, Diagnostics &diagnostics);

    const ConsentState &consent() const { return m_consent; }

    bool isOffline() const { return m_isOffline; }

    // Effective settings: a file takes those of the watched folder holding
    // it, a folder its template and own overrides over the global record,
    // the batch its chosen template.
    EffectiveAnalysisSettings effectiveAnalysisForFile(const QString &path) const;
    EffectiveAnalysisSettings effectiveAnalysisForFolder(const QString &path) const;
    EffectiveAnalysisSettings effectiveAnalysisForBatch() const;
    EffectiveAnalysisSettings effectiveAnalysisGlobal() const;
    // What a rename from that source uses: a watched file its folder's, a
    // batch its template's, the rest the global ones.
    EffectiveAnalysisSettings effectiveAnalysisFor(const QString &path, ProcessedFileSource source) const;

    // Goes through the key sync: the backend tries the key with its
    // provider, and only a key it took is kept in custody and flagged.
    QCoro::Task<Result<>> saveApiKey(KeySync &sync, AIProvider provider, QString key);
    // Takes the key out of custody; the flag follows what custody then
    // holds, and false means the key is still there.
    QCoro::Task<bool> removeApiKey(KeyCustody &custody, AIProvider provider);

Q_SIGNALS:
    void settingsChanged();
    void isOfflineChanged();
    // Hand-offs to the Monitor: the watched folders or the consent changed,
    // or the network came or went.
    void watcherReconfigurationRequested();
    void connectivityChanged(bool isConnected);

private:
    // Empty on success, otherwise the store's message.
    QCoro::Task<QString> storeSettings(Settings settings);
    QCoro::Task<bool> saveWatchedFolders(QStringList folders);
    QCoro::Task<> bringKeyFlagsInLine();
    QCoro::Task<bool> markApiKey(AIProvider provider, bool has);
    void startConnectivityObservation();
    void setIsOffline(bool offline);
    void publishSettings(const Settings &settings);

    Database &m_database;
    UserDefaults &m_userDefaults;
    NetworkService &m_network;
    HasApiKey m_hasApiKey;
    MigrationService::SaveApiKey m_saveApiKey;
    SettingsStore m_store;
    TemplateLibrary m_templates;
    WatchedFolders m_folders;
    ConsentState m_consent;

    Settings m_settings;
    bool m_isOffline = false;
    // Last, so that it goes first: the workflows read everything above.
    std::unique_ptr<AppWorkflows> m_workflows;
};

} // namespace Nomly
