#include "app/settingsviewmodel.h"

#include <QPointer>

#include <qcoro/qcorofuture.h>

#include "ai/keycustody.h"
#include "ai/keysync.h"
#include "app/appworkflows.h"
#include "app/networkservice.h"
#include "app/watchedfoldernormalization.h"
#include "history/database.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"

namespace Nomly {

namespace {

// A route that needs no setup from us: the user's own key for the chosen
// provider, or a server of their own.
bool hasOwnRoute(const Settings &settings)
{
    return settings.ownProvider() || settings.aiProcessingMode == AIProcessingMode::Local;
}

} // namespace

const QString SettingsViewModel::HasTouchedAISetupProviderFeatureKey
    = QStringLiteral("hasTouchedAISetupProviderFeature.v1");

SettingsViewModel::SettingsViewModel(Database &database,
                                     UserDefaults &userDefaults,
                                     NetworkService &network,
                                     BookmarkService &bookmarks,
                                     HasApiKey hasApiKey,
                                     MigrationService::SaveApiKey saveApiKey,
                                     QObject *parent)
    : QObject(parent)
    , m_database(database)
    , m_userDefaults(userDefaults)
    , m_network(network)
    , m_hasApiKey(std::move(hasApiKey))
    , m_saveApiKey(std::move(saveApiKey))
    , m_store(database, userDefaults)
    , m_templates(database)
    , m_folders(database,
                bookmarks,
                {
                    [this] { return m_settings.watchedFolders; },
                    [this](QStringList folders) { return saveWatchedFolders(std::move(folders)); },
                })
    , m_consent(m_store)
{
    connect(&m_templates, &TemplateLibrary::presetDeleted, &m_folders, &WatchedFolders::forgetPreset);
    connect(&m_folders,
            &WatchedFolders::watcherReconfigurationRequested,
            this,
            &SettingsViewModel::watcherReconfigurationRequested);
    connect(&m_consent,
            &ConsentState::watcherReconfigurationRequested,
            this,
            &SettingsViewModel::watcherReconfigurationRequested);
}

QCoro::Task<> SettingsViewModel::setUp()
{
    m_consent.load();

    auto loading = m_database.run([store = &m_store](Database &) { return store->load(); });
    Settings settings = co_await loading;
    publishSettings(settings);

    auto migrating = m_database.run([store = &m_store, save = m_saveApiKey, settings](Database &) mutable {
        MigrationService(*store, save).run(settings);
        return settings;
    });
    settings = co_await migrating;
    publishSettings(settings);

    if (normalizeWatchedFolders(settings.watchedFolders)) {
        publishSettings(settings);
        auto storing = storeSettings(settings);
        if (const QString error = co_await storing; !error.isEmpty())
            qCCritical(lcConfig).noquote() << "Failed to save normalized watched folders:" << error;
    }

    auto flagging = bringKeyFlagsInLine();
    co_await flagging;

    auto loadingConfigs = m_folders.load();
    co_await loadingConfigs;

    auto loadingTemplates = m_templates.load(m_userDefaults);
    co_await loadingTemplates;

    // The Monitor, AI Rename and the hotkey get their dependencies here, and
    // the Monitor refreshes folder availability, once they exist.
    startConnectivityObservation();
}

void SettingsViewModel::publishSettings(const Settings &settings)
{
    if (m_settings == settings)
        return;
    m_settings = settings;
    emit settingsChanged();
}

SettingsViewModel::~SettingsViewModel()
{
    m_workflows.reset();
    m_database.waitForPendingWork();
}

AppWorkflows &SettingsViewModel::createWorkflows(UndoIgnoreService &undoIgnore, Diagnostics &diagnostics)
{
    Q_ASSERT(!m_workflows);
    m_workflows = std::make_unique<AppWorkflows>(*this, m_database, undoIgnore, m_userDefaults, diagnostics);
    return *m_workflows;
}

void SettingsViewModel::setSettings(const Settings &settings)
{
    publishSettings(settings);
}

QCoro::Task<QString> SettingsViewModel::storeSettings(Settings settings)
{
    auto storing = m_database.run(
        [store = &m_store, settings = std::move(settings)](Database &) { return store->save(settings).error(); });
    co_return co_await storing;
}

QCoro::Task<bool> SettingsViewModel::saveSettings()
{
    const Settings saved = m_settings;
    const QPointer<SettingsViewModel> self(this);
    auto storing = storeSettings(saved);
    const QString error = co_await storing;
    if (!self)
        co_return false;
    if (!error.isEmpty()) {
        qCCritical(lcConfig).noquote() << "Failed to save settings:" << error;
        co_return false;
    }
    // The crash-report context takes the new settings here once reporting
    // exists.
    // Once the user has a route of their own, the nudge towards setting one
    // up is never shown again.
    if (hasOwnRoute(saved))
        m_userDefaults.setValue(HasTouchedAISetupProviderFeatureKey, true);
    co_return true;
}

QCoro::Task<bool> SettingsViewModel::markApiKey(AIProvider provider, bool has)
{
    if (m_settings.hasApiKey(provider) == has)
        co_return true;
    Settings marked = m_settings;
    marked.hasApiKey(provider) = has;
    publishSettings(marked);
    auto saving = saveSettings();
    co_return co_await saving;
}

QCoro::Task<Result<>> SettingsViewModel::saveApiKey(KeySync &sync, AIProvider provider, QString key)
{
    QPointer<SettingsViewModel> self(this);
    auto saving
        = sync.saveKey(provider, std::move(key), m_settings.byokModel(provider), m_settings.openaiCompatibleBaseUrl);
    const Result<BYOKSyncResponse> saved = co_await saving;
    if (!saved)
        co_return saved.failure();
    if (!self)
        co_return Failure { QStringLiteral("Nomly is closing") };
    auto marking = markApiKey(provider, true);
    if (!co_await marking)
        co_return Failure { QStringLiteral("The key was stored, but the settings could not be saved") };
    co_return Result<>();
}

QCoro::Task<bool> SettingsViewModel::removeApiKey(KeyCustody &custody, AIProvider provider)
{
    QPointer<SettingsViewModel> self(this);
    auto removing = custody.remove(provider);
    co_await removing;
    // A locked or failing store may have kept the key; the flag says what
    // is there, not what was asked for.
    auto checking = custody.has(provider);
    const bool kept = co_await checking;
    if (!self)
        co_return false;
    auto marking = markApiKey(provider, kept);
    const bool marked = co_await marking;
    co_return marked && !kept;
}

QCoro::Task<> SettingsViewModel::bringKeyFlagsInLine()
{
    if (!m_hasApiKey)
        co_return;
    Settings flagged = m_settings;
    for (const auto &[provider, name] : AIProviderRawValues) {
        auto asking = m_hasApiKey(provider);
        flagged.hasApiKey(provider) = co_await asking;
    }
    if (flagged == m_settings)
        co_return;
    publishSettings(flagged);
    auto storing = storeSettings(flagged);
    if (const QString error = co_await storing; !error.isEmpty())
        qCCritical(lcConfig).noquote() << "Failed to persist Keychain API key flags:" << error;
}

void SettingsViewModel::setIsOffline(bool offline)
{
    if (m_isOffline == offline)
        return;
    m_isOffline = offline;
    emit isOfflineChanged();
}

void SettingsViewModel::startConnectivityObservation()
{
    setIsOffline(!m_network.isConnected());
    connect(&m_network, &NetworkService::isConnectedChanged, this, [this](bool isConnected) {
        qCInfo(lcNetwork) << "Breadcrumb network.state: connectivity_changed";
        setIsOffline(!isConnected);
        emit connectivityChanged(isConnected);
    });
}

EffectiveAnalysisSettings SettingsViewModel::effectiveAnalysisGlobal() const
{
    return resolveEffectiveAnalysisSettings(m_settings, std::nullopt, std::nullopt);
}

EffectiveAnalysisSettings SettingsViewModel::effectiveAnalysisForFolder(const QString &path) const
{
    const WatchedFolderConfig *config = m_folders.config(path);
    if (!config)
        return effectiveAnalysisGlobal();
    // A template that no longer exists counts as none.
    const Preset *preset = config->presetId ? m_templates.find(*config->presetId) : nullptr;
    return resolveEffectiveAnalysisSettings(
        m_settings, config->legacySettings, preset ? std::optional(preset->settings) : std::nullopt);
}

EffectiveAnalysisSettings SettingsViewModel::effectiveAnalysisForFile(const QString &path) const
{
    if (const std::optional<QString> folder = m_folders.watchedFolder(path))
        return effectiveAnalysisForFolder(*folder);
    return effectiveAnalysisGlobal();
}

EffectiveAnalysisSettings SettingsViewModel::effectiveAnalysisForBatch() const
{
    const Preset *preset = m_templates.find(m_templates.batchPresetId());
    return resolveEffectiveAnalysisSettings(
        m_settings, std::nullopt, preset ? std::optional(preset->settings) : std::nullopt);
}

EffectiveAnalysisSettings SettingsViewModel::effectiveAnalysisFor(const QString &path, ProcessedFileSource source) const
{
    switch (source) {
    case ProcessedFileSource::Watcher:
        return effectiveAnalysisForFile(path);
    case ProcessedFileSource::Batch:
        return effectiveAnalysisForBatch();
    case ProcessedFileSource::Hotkey:
    case ProcessedFileSource::FinderService:
        break;
    }
    return effectiveAnalysisGlobal();
}

QCoro::Task<bool> SettingsViewModel::saveWatchedFolders(QStringList folders)
{
    Settings changed = m_settings;
    changed.watchedFolders = std::move(folders);
    publishSettings(changed);
    auto saving = saveSettings();
    co_return co_await saving;
}

} // namespace Nomly
