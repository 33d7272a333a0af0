#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>
#include <functional>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/imageanalysis.h"
#include "app/hotkeyviewmodel.h"
#include "app/migrationservice.h"
#include "app/settingsstore.h"
#include "app/settingstab.h"
#include "history/activityviewmodel.h"
#include "history/processedfile.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/preset.h"
#include "settings/settings.h"
#include "settings/watchedfolderconfig.h"
#include "workflows/fileprocessingresult.h"
#include "workflows/processanalyzedfileusecase.h"

namespace Nomly {

class BookmarkService;
class Database;
class KeyCustody;
class KeySync;
class NetworkService;
class UndoIgnoreService;
class UserDefaults;

// The state the interface binds to: the global settings, the templates and
// the folders' configurations, and the workflows built on them. Lives on the
// main thread, and its values change only there, so a workflow that reads
// them between two waits sees a whole record; the database is read and
// written on its own thread while the main thread waits. A task the interface
// started may finish after the object is gone, so each operation checks that
// it still exists after every wait.
class SettingsViewModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(Nomly::Settings settings READ settings WRITE setSettings NOTIFY settingsChanged)
    Q_PROPERTY(QList<Nomly::Preset> presets READ presets NOTIFY presetsChanged)
    Q_PROPERTY(FolderConfigs folderConfigs READ folderConfigs NOTIFY folderConfigsChanged)
    Q_PROPERTY(QUuid batchPresetId READ batchPresetId WRITE setBatchPresetId NOTIFY batchPresetIdChanged)
    Q_PROPERTY(bool isOnboardingComplete READ isOnboardingComplete NOTIFY isOnboardingCompleteChanged)
    Q_PROPERTY(bool aiDataConsentGranted READ aiDataConsentGranted NOTIFY aiDataConsentGrantedChanged)
    Q_PROPERTY(bool showUnsupportedFilesAlert READ showUnsupportedFilesAlert WRITE setShowUnsupportedFilesAlert NOTIFY
                   showUnsupportedFilesAlertChanged)
    Q_PROPERTY(QString unsupportedFilesAlertMessage READ unsupportedFilesAlertMessage NOTIFY
                   unsupportedFilesAlertMessageChanged)
    Q_PROPERTY(bool showAISetupProviderNudge READ showAISetupProviderNudge WRITE setShowAISetupProviderNudge NOTIFY
                   showAISetupProviderNudgeChanged)
    Q_PROPERTY(bool isOffline READ isOffline NOTIFY isOfflineChanged)

public:
    using FolderConfigs = QHash<QString, WatchedFolderConfig>;
    // Whether the secret store holds a key for the provider; reading it never
    // asks the user anything.
    using HasApiKey = std::function<QCoro::Task<bool>(AIProvider provider)>;

    static const QString HasLaunchedBeforeKey;
    static const QString HasAgreedToAIDataProcessingKey;
    static const QString HasTouchedAISetupProviderFeatureKey;

    // Without `hasApiKey` the key flags stay as stored.
    SettingsViewModel(Database &database,
                      UserDefaults &userDefaults,
                      UndoIgnoreService &undoIgnore,
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

    // True when this launch is the profile's first.
    bool isFirstLaunch() const { return m_isFirstLaunch; }

    const Settings &settings() const { return m_settings; }

    // In memory only; saveSettings() writes.
    void setSettings(const Settings &settings);
    // Writes the settings. On failure, logged, the value stays in memory and
    // the next save tries again. Callers that changed what the Monitor reads
    // ask for a watcher reconfiguration themselves.
    QCoro::Task<bool> saveSettings();

    const QList<Preset> &presets() const { return m_presets; }

    const FolderConfigs &folderConfigs() const { return m_folderConfigs; }

    // Null when AI Rename uses no template.
    QUuid batchPresetId() const { return m_batchPresetId; }

    void setBatchPresetId(const QUuid &id);

    bool isOnboardingComplete() const { return m_isOnboardingComplete; }

    bool aiDataConsentGranted() const { return m_aiDataConsentGranted; }

    bool showUnsupportedFilesAlert() const { return m_showUnsupportedFilesAlert; }

    void setShowUnsupportedFilesAlert(bool show);

    QString unsupportedFilesAlertMessage() const { return m_unsupportedFilesAlertMessage; }

    bool showAISetupProviderNudge() const { return m_showAISetupProviderNudge; }

    void setShowAISetupProviderNudge(bool show);

    bool isOffline() const { return m_isOffline; }

    ActivityViewModel &activity() { return m_activity; }

    HotkeyViewModel &hotkey() { return m_hotkey; }

    // What quick rename needs from the face that runs it: the analysis
    // service, the hotkey (null where the face has none), how a result is
    // told and what happens when consent is missing. The settings, consent
    // and processing come from here.
    struct QuickRenameServices
    {
        std::function<AIService *(QString *error)> aiService;
        std::function<HotkeyService *()> hotkeyService;
        std::function<void(const QString &title, const QString &body)> notify;
        std::function<void(HotkeyViewModel::Trigger)> requestConsentReview;
    };

    void setQuickRenameServices(QuickRenameServices services);

    // Effective settings: a file takes those of the watched folder holding
    // it, a folder its template and own overrides over the global record,
    // the batch its chosen template.
    EffectiveAnalysisSettings effectiveAnalysisForFile(const QString &path) const;
    EffectiveAnalysisSettings effectiveAnalysisForFolder(const QString &path) const;
    EffectiveAnalysisSettings effectiveAnalysisForBatch() const;
    EffectiveAnalysisSettings effectiveAnalysisGlobal() const;
    // The innermost watched folder holding the path, resolved; the file's own
    // name is kept even when it is a symbolic link.
    std::optional<QString> watchedFolder(const QString &path) const;

    // Renames a file the AI has analysed, with the settings its source calls
    // for: a watched file its folder's, a batch its template's, the rest the
    // global ones.
    QCoro::Task<FileProcessingResult> processAnalyzedFile(QString path,
                                                          ImageAnalysis analysis,
                                                          std::optional<QString> contentHash,
                                                          ProcessedFileSource source,
                                                          QString aiProvider);

    QCoro::Task<bool> createPreset(Preset preset);
    QCoro::Task<bool> updatePreset(Preset preset);
    // Folders that used the template go on with the global settings, and
    // AI Rename with none.
    QCoro::Task<bool> deletePreset(QUuid id);
    // Adds the demo templates that are missing; how many were added.
    QCoro::Task<int> restoreBundledPresets();

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

    // Keeps the user's key for a provider in custody and marks the settings
    // as holding one; false, with nothing marked, when custody refused it.
    // Goes through the key sync: the backend tries the key with its
    // provider, and only a key it took is kept in custody and flagged.
    QCoro::Task<Result<>> saveApiKey(KeySync &sync, AIProvider provider, QString key);
    // Takes the key out of custody; the flag follows what custody then
    // holds, and false means the key is still there.
    QCoro::Task<bool> removeApiKey(KeyCustody &custody, AIProvider provider);

    // Remembers that the user has been through the welcome window, so it
    // is not shown again, and lets the Monitor start.
    // The user's agreement to AI data processing, kept in the defaults file.
    // Every AI workflow checks it before anything leaves the machine.
    // Fail, and change nothing, when the choice cannot be stored.
    Result<> grantAIDataConsent();
    Result<> withdrawAIDataConsent();
    void completeOnboarding();

    // A drop for AI Rename held nothing it can name.
    void reportNoSupportedFiles();
    static QString unsupportedFilesAlertTitle();

Q_SIGNALS:
    void settingsChanged();
    void presetsChanged();
    void folderConfigsChanged();
    void batchPresetIdChanged();
    void isOnboardingCompleteChanged();
    void aiDataConsentGrantedChanged();
    void showUnsupportedFilesAlertChanged();
    void unsupportedFilesAlertMessageChanged();
    void showAISetupProviderNudgeChanged();
    void isOfflineChanged();
    // A short text for the user, such as "Demo templates are already present".
    void noticeRequested(const QString &text);
    // Hand-offs to the Monitor: the watched folders changed, or the network
    // came or went.
    void watcherReconfigurationRequested();
    void connectivityChanged(bool isConnected);
    // The activity log changed in a way the statistics count.
    void statisticsAffected();

private:
    EffectiveAnalysisSettings settingsFor(const QString &path, ProcessedFileSource source) const;
    const Preset *findPreset(const QUuid &id) const;
    // Empty on success, otherwise the store's message.
    QCoro::Task<QString> storeSettings(Settings settings);
    QCoro::Task<> bringKeyFlagsInLine();
    QCoro::Task<bool> markApiKey(AIProvider provider, bool has);
    void startConnectivityObservation();
    void setIsOffline(bool offline);
    void publishSettings(const Settings &settings);

    Database &m_database;
    UserDefaults &m_userDefaults;
    NetworkService &m_network;
    BookmarkService &m_bookmarks;
    HasApiKey m_hasApiKey;
    MigrationService::SaveApiKey m_saveApiKey;
    SettingsStore m_store;
    ActivityViewModel m_activity;
    HotkeyViewModel m_hotkey;
    ProcessAnalyzedFileUseCase m_processAnalyzedFile;

    Settings m_settings;
    QList<Preset> m_presets;
    FolderConfigs m_folderConfigs;
    QUuid m_batchPresetId;
    bool m_isFirstLaunch = false;
    bool m_isOnboardingComplete = false;
    bool m_aiDataConsentGranted = false;
    bool m_showUnsupportedFilesAlert = false;
    QString m_unsupportedFilesAlertMessage;
    bool m_showAISetupProviderNudge = false;
    bool m_isOffline = false;
};

} // namespace Nomly
