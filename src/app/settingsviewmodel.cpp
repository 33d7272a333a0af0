#include "app/settingsviewmodel.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <algorithm>
#include <array>

#include <qcoro/qcorofuture.h>

#include "ai/keycustody.h"
#include "ai/keysync.h"
#include "ai/remoteconfigservice.h"
#include "app/bookmarkservice.h"
#include "app/bundledpresetseeding.h"
#include "app/folderclassification.h"
#include "app/networkservice.h"
#include "app/watchedfoldernormalization.h"
#include "history/database.h"
#include "platform/canonicalpath.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"
#include "settings/bundledpresets.h"

namespace Nomly {

namespace {

struct KeyFlag
{
    AIProvider provider;
    bool Settings::*flag;
};

constexpr std::array<KeyFlag, 4> KeyFlags { {
    { AIProvider::Gemini, &Settings::hasGeminiApiKey },
    { AIProvider::OpenAI, &Settings::hasOpenaiApiKey },
    { AIProvider::Claude, &Settings::hasClaudeApiKey },
    { AIProvider::Groq, &Settings::hasGroqApiKey },
} };

bool Settings::*keyFlag(AIProvider provider)
{
    const auto entry = std::find_if(KeyFlags.cbegin(), KeyFlags.cend(), [provider](const KeyFlag &candidate) {
        return candidate.provider == provider;
    });
    Q_ASSERT(entry != KeyFlags.cend());
    return entry->flag;
}

bool hasKeyFlag(const Settings &settings, AIProvider provider)
{
    return settings.*keyFlag(provider);
}

// A route that needs no setup from us: the user's own key for the chosen
// provider, or a local server.
bool hasOwnRoute(const Settings &settings)
{
    return (settings.byokEnabled && hasKeyFlag(settings, settings.aiProvider))
        || settings.aiProcessingMode == AIProcessingMode::Local;
}

enum class Text
{
    DemoTemplatesPresent,
    UnsupportedFilesTitle,
    UnsupportedFilesMessage,
    UnsupportedFilesExamples,
};

QString text(Text which)
{
    switch (which) {
    case Text::DemoTemplatesPresent:
        return QStringLiteral("Demo templates are already present");
    case Text::UnsupportedFilesTitle:
        return QStringLiteral("No supported files found");
    case Text::UnsupportedFilesMessage:
        return QStringLiteral("We couldn't find supported files in your selection. Try files or folders containing "
                              "supported formats like %1.");
    case Text::UnsupportedFilesExamples:
        return QStringLiteral("PDF, JPG, PNG, DOCX, TXT, MP3");
    }
    return {};
}

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

const QString SettingsViewModel::HasLaunchedBeforeKey = QStringLiteral("hasLaunchedNomlyBefore");
const QString SettingsViewModel::HasAgreedToAIDataProcessingKey = QStringLiteral("hasAgreedToAIDataProcessing");
const QString SettingsViewModel::HasTouchedAISetupProviderFeatureKey
    = QStringLiteral("hasTouchedAISetupProviderFeature.v1");

SettingsViewModel::SettingsViewModel(Database &database,
                                     UserDefaults &userDefaults,
                                     UndoIgnoreService &undoIgnore,
                                     NetworkService &network,
                                     BookmarkService &bookmarks,
                                     HasApiKey hasApiKey,
                                     MigrationService::SaveApiKey saveApiKey,
                                     QObject *parent)
    : QObject(parent)
    , m_database(database)
    , m_userDefaults(userDefaults)
    , m_network(network)
    , m_bookmarks(bookmarks)
    , m_hasApiKey(std::move(hasApiKey))
    , m_saveApiKey(std::move(saveApiKey))
    , m_store(database, userDefaults)
    , m_activity(database, undoIgnore)
    , m_processAnalyzedFile(database, undoIgnore)
{
    // The statistics view model, the Monitor, AI Rename and the hotkey take
    // their place beside the activity here once they exist.
    m_activity.setOnStatsAffectingChange([this] { emit statisticsAffected(); });
    m_processAnalyzedFile.setDependencies({
        [this](const QString &path, ProcessedFileSource source) { return settingsFor(path, source); },
        [this](const ProcessedFile &record) { m_activity.addActivityFile(record); },
    });
}

QCoro::Task<> SettingsViewModel::setUp()
{
    m_isFirstLaunch = !m_userDefaults.boolValue(HasLaunchedBeforeKey);
    m_userDefaults.setValue(HasLaunchedBeforeKey, true);

    auto loading = m_database.run([store = &m_store](Database &) { return store->load(); });
    Settings settings = co_await loading;
    publishSettings(settings);

    m_isOnboardingComplete = m_store.hasCompletedOnboarding();
    m_aiDataConsentGranted = m_userDefaults.boolValue(HasAgreedToAIDataProcessingKey);
    emit isOnboardingCompleteChanged();
    emit aiDataConsentGrantedChanged();

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

    auto loadingConfigs = m_database.run([](Database &database) {
        auto loaded = database.loadFolderConfigs();
        if (!loaded) {
            qCCritical(lcDatabase).noquote() << "Failed to load folder configs:" << loaded.error();
            return FolderConfigs();
        }
        return std::move(loaded).value();
    });
    m_folderConfigs = co_await loadingConfigs;
    emit folderConfigsChanged();

    auto seeding = m_database.run([defaults = &m_userDefaults](Database &database) {
        seedBundledPresetsOnce(database, *defaults);
        return loadUpgradedPresets(database);
    });
    m_presets = co_await seeding;
    emit presetsChanged();

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
    m_database.waitForPendingWork();
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
    if (hasOwnRoute(saved)) {
        setShowAISetupProviderNudge(false);
        m_userDefaults.setValue(HasTouchedAISetupProviderFeatureKey, true);
    }
    co_return true;
}

QCoro::Task<bool> SettingsViewModel::markApiKey(AIProvider provider, bool has)
{
    if (hasKeyFlag(m_settings, provider) == has)
        co_return true;
    Settings marked = m_settings;
    marked.*keyFlag(provider) = has;
    publishSettings(marked);
    auto saving = saveSettings();
    co_return co_await saving;
}

QCoro::Task<Result<>> SettingsViewModel::saveApiKey(KeySync &sync, AIProvider provider, QString key)
{
    QPointer<SettingsViewModel> self(this);
    auto saving = sync.saveKey(provider, std::move(key), m_settings.byokModel(provider));
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
    for (const KeyFlag &entry : KeyFlags) {
        auto asking = m_hasApiKey(entry.provider);
        flagged.*entry.flag = co_await asking;
    }
    if (flagged == m_settings)
        co_return;
    publishSettings(flagged);
    auto storing = storeSettings(flagged);
    if (const QString error = co_await storing; !error.isEmpty())
        qCCritical(lcConfig).noquote() << "Failed to persist Keychain API key flags:" << error;
}

void SettingsViewModel::setBatchPresetId(const QUuid &id)
{
    if (m_batchPresetId == id)
        return;
    m_batchPresetId = id;
    emit batchPresetIdChanged();
}

void SettingsViewModel::setShowUnsupportedFilesAlert(bool show)
{
    if (m_showUnsupportedFilesAlert == show)
        return;
    m_showUnsupportedFilesAlert = show;
    emit showUnsupportedFilesAlertChanged();
}

void SettingsViewModel::setShowAISetupProviderNudge(bool show)
{
    if (m_showAISetupProviderNudge == show)
        return;
    m_showAISetupProviderNudge = show;
    emit showAISetupProviderNudgeChanged();
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

void SettingsViewModel::reportNoSupportedFiles()
{
    const QString message = text(Text::UnsupportedFilesMessage).arg(text(Text::UnsupportedFilesExamples));
    if (m_unsupportedFilesAlertMessage != message) {
        m_unsupportedFilesAlertMessage = message;
        emit unsupportedFilesAlertMessageChanged();
    }
    setShowUnsupportedFilesAlert(true);
}

QString SettingsViewModel::unsupportedFilesAlertTitle()
{
    return text(Text::UnsupportedFilesTitle);
}

const Preset *SettingsViewModel::findPreset(const QUuid &id) const
{
    if (id.isNull())
        return nullptr;
    const auto found
        = std::find_if(m_presets.cbegin(), m_presets.cend(), [&id](const Preset &preset) { return preset.id == id; });
    return found == m_presets.cend() ? nullptr : &*found;
}

std::optional<QString> SettingsViewModel::watchedFolder(const QString &path) const
{
    const QString comparable = comparablePath(path);
    QStringList folders;
    for (const QString &folder : m_settings.watchedFolders)
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

EffectiveAnalysisSettings SettingsViewModel::effectiveAnalysisGlobal() const
{
    return resolveEffectiveAnalysisSettings(m_settings, std::nullopt, std::nullopt);
}

EffectiveAnalysisSettings SettingsViewModel::effectiveAnalysisForFolder(const QString &path) const
{
    auto config = m_folderConfigs.constFind(path);
    if (config == m_folderConfigs.cend())
        config = m_folderConfigs.constFind(canonicalPath(path));
    if (config == m_folderConfigs.cend())
        return effectiveAnalysisGlobal();
    // A template that no longer exists counts as none.
    const Preset *preset = config->presetId ? findPreset(*config->presetId) : nullptr;
    return resolveEffectiveAnalysisSettings(
        m_settings, config->legacySettings, preset ? std::optional(preset->settings) : std::nullopt);
}

EffectiveAnalysisSettings SettingsViewModel::effectiveAnalysisForFile(const QString &path) const
{
    if (const std::optional<QString> folder = watchedFolder(path))
        return effectiveAnalysisForFolder(*folder);
    return effectiveAnalysisGlobal();
}

EffectiveAnalysisSettings SettingsViewModel::effectiveAnalysisForBatch() const
{
    const Preset *preset = findPreset(m_batchPresetId);
    return resolveEffectiveAnalysisSettings(
        m_settings, std::nullopt, preset ? std::optional(preset->settings) : std::nullopt);
}

EffectiveAnalysisSettings SettingsViewModel::settingsFor(const QString &path, ProcessedFileSource source) const
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

QCoro::Task<bool> SettingsViewModel::createPreset(Preset preset)
{
    const QPointer<SettingsViewModel> self(this);
    auto saving = m_database.run([preset](Database &database) { return database.savePreset(preset).error(); });
    const QString error = co_await saving;
    if (!self)
        co_return false;
    if (!error.isEmpty()) {
        qCCritical(lcDatabase).noquote() << "Failed to create preset:" << error;
        co_return false;
    }
    m_presets.append(std::move(preset));
    emit presetsChanged();
    co_return true;
}

QCoro::Task<bool> SettingsViewModel::updatePreset(Preset preset)
{
    const QPointer<SettingsViewModel> self(this);
    auto saving = m_database.run([preset](Database &database) { return database.savePreset(preset).error(); });
    const QString error = co_await saving;
    if (!self)
        co_return false;
    if (!error.isEmpty()) {
        qCCritical(lcDatabase).noquote() << "Failed to update preset:" << error;
        co_return false;
    }
    const auto stored = std::find_if(
        m_presets.begin(), m_presets.end(), [&preset](const Preset &candidate) { return candidate.id == preset.id; });
    if (stored == m_presets.end())
        m_presets.append(std::move(preset));
    else
        *stored = std::move(preset);
    emit presetsChanged();
    co_return true;
}

QCoro::Task<bool> SettingsViewModel::deletePreset(QUuid id)
{
    const QPointer<SettingsViewModel> self(this);
    // The database drops the folder configurations that name the template
    // in the same transaction; the map follows below.
    auto deleting = m_database.run([id](Database &database) { return database.deletePreset(id).error(); });
    const QString error = co_await deleting;
    if (!self)
        co_return false;
    if (!error.isEmpty()) {
        qCCritical(lcDatabase).noquote() << "Failed to delete preset:" << error;
        co_return false;
    }
    if (m_presets.removeIf([&id](const Preset &preset) { return preset.id == id; }) > 0)
        emit presetsChanged();
    if (m_folderConfigs.removeIf([&id](const FolderConfigs::iterator &entry) { return entry->presetId == id; }) > 0)
        emit folderConfigsChanged();
    if (m_batchPresetId == id)
        setBatchPresetId(QUuid());
    co_return true;
}

QCoro::Task<int> SettingsViewModel::restoreBundledPresets()
{
    QList<Preset> missing = missingBundledPresets(m_presets);
    if (missing.isEmpty()) {
        emit noticeRequested(text(Text::DemoTemplatesPresent));
        co_return 0;
    }
    const QPointer<SettingsViewModel> self(this);
    auto restoring = m_database.run([missing = std::move(missing)](Database &database) {
        QList<Preset> restored;
        for (const Preset &preset : missing) {
            if (const auto saved = database.savePreset(preset); !saved)
                qCCritical(lcDatabase).noquote()
                    << "Failed to restore bundled preset"
                    << preset.bundledId.value_or(QString()) + QStringLiteral(": ") + saved.error();
            else
                restored.append(preset);
        }
        return restored;
    });
    const QList<Preset> restored = co_await restoring;
    if (!self)
        co_return 0;
    if (!restored.isEmpty()) {
        m_presets.append(restored);
        emit presetsChanged();
    }
    co_return int(restored.size());
}

QCoro::Task<bool> SettingsViewModel::saveFolderConfig(WatchedFolderConfig config)
{
    if (isEmptyConfig(config)) {
        auto deleting = deleteFolderConfig(config.path);
        co_return co_await deleting;
    }
    const QPointer<SettingsViewModel> self(this);
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

QCoro::Task<bool> SettingsViewModel::deleteFolderConfig(QString path)
{
    const QPointer<SettingsViewModel> self(this);
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

QCoro::Task<bool> SettingsViewModel::addWatchedFolder(QString path)
{
    const QString resolved = canonicalPath(path);
    for (const QString &folder : std::as_const(m_settings.watchedFolders)) {
        if (canonicalPath(folder) == resolved)
            co_return true;
    }
    Settings changed = m_settings;
    changed.watchedFolders.append(resolved);
    publishSettings(changed);
    auto saving = saveSettings();
    co_return co_await saving;
}

QCoro::Task<SettingsViewModel::FolderAddition> SettingsViewModel::addFolder(QString path)
{
    if (classifyFolder(path) == FolderClassification::Forbidden)
        co_return FolderAddition::Forbidden;
    const QString resolved = canonicalPath(path);
    const QPointer<SettingsViewModel> self(this);
    auto adding = addWatchedFolder(resolved);
    const bool added = co_await adding;
    if (!self || !added)
        co_return FolderAddition::NotSaved;
    m_bookmarks.saveBookmark(resolved);
    emit watcherReconfigurationRequested();
    co_return FolderAddition::Added;
}

void SettingsViewModel::setQuickRenameServices(QuickRenameServices services)
{
    HotkeyViewModel::Dependencies dependencies;
    dependencies.settingsProvider = [this] { return m_settings; };
    dependencies.hasAIDataConsent = [this] { return m_aiDataConsentGranted; };
    dependencies.processAnalyzedFile = [this](QString path,
                                              ImageAnalysis analysis,
                                              std::optional<QString> contentHash,
                                              ProcessedFileSource source,
                                              QString aiProvider) {
        return processAnalyzedFile(
            std::move(path), std::move(analysis), std::move(contentHash), source, std::move(aiProvider));
    };
    dependencies.requestConsentReview = std::move(services.requestConsentReview);
    dependencies.hotkeyService = std::move(services.hotkeyService);
    dependencies.aiService = std::move(services.aiService);
    dependencies.notify = std::move(services.notify);
    dependencies.extractionOptions = [this] {
        const RemoteConfig remote = RemoteConfigService::cachedConfig(m_userDefaults);
        ExtractionOptions options;
        options.pdfTextExtractionEnabled = remote.pdfTextExtractionEnabled;
        options.iWorkOnlinePreviewsEnabled = m_settings.iWorkOnlinePreviewsEnabled;
        options.imageExtensions = remote.imageExtensions;
        options.designExtensions = remote.designExtensions;
        return options;
    };
    dependencies.supportedExtensions
        = [this] { return RemoteConfigService::cachedConfig(m_userDefaults).supportedExtensions(); };
    m_hotkey.setDependencies(std::move(dependencies));
}

Result<> SettingsViewModel::grantAIDataConsent()
{
    if (Result<> saved = m_userDefaults.setValue(HasAgreedToAIDataProcessingKey, true); !saved) {
        qCCritical(lcGeneral).noquote() << "AI data processing consent not granted:" << saved.error();
        return saved;
    }
    if (!m_aiDataConsentGranted) {
        m_aiDataConsentGranted = true;
        emit aiDataConsentGrantedChanged();
    }
    emit watcherReconfigurationRequested();
    qCInfo(lcGeneral) << "AI data processing consent granted";
    return {};
}

Result<> SettingsViewModel::withdrawAIDataConsent()
{
    if (Result<> saved = m_userDefaults.setValue(HasAgreedToAIDataProcessingKey, false); !saved) {
        qCCritical(lcGeneral).noquote() << "AI data processing consent not withdrawn:" << saved.error();
        return saved;
    }
    if (m_aiDataConsentGranted) {
        m_aiDataConsentGranted = false;
        emit aiDataConsentGrantedChanged();
    }
    emit watcherReconfigurationRequested();
    qCInfo(lcGeneral) << "AI data processing consent withdrawn";
    return {};
}

void SettingsViewModel::completeOnboarding()
{
    m_store.setHasCompletedOnboarding(true);
    if (!m_isOnboardingComplete) {
        m_isOnboardingComplete = true;
        emit isOnboardingCompleteChanged();
    }
    emit watcherReconfigurationRequested();
    qCInfo(lcGeneral) << "Onboarding completed";
}

QCoro::Task<bool> SettingsViewModel::removeWatchedFolder(QString path)
{
    const QString resolved = canonicalPath(path);
    Settings changed = m_settings;
    QStringList removed;
    changed.watchedFolders.removeIf([&](const QString &folder) {
        if (canonicalPath(folder) != resolved)
            return false;
        removed.append(folder);
        return true;
    });
    if (removed.isEmpty())
        co_return true;
    bool ok = true;
    const QPointer<SettingsViewModel> self(this);
    for (const QString &folder : std::as_const(removed)) {
        m_bookmarks.removeBookmark(folder);
        auto deleting = deleteFolderConfig(folder);
        ok = co_await deleting && ok;
        if (!self)
            co_return false;
    }
    publishSettings(changed);
    auto saving = saveSettings();
    ok = co_await saving && ok;
    if (!self)
        co_return false;
    emit watcherReconfigurationRequested();
    co_return ok;
}

QCoro::Task<FileProcessingResult> SettingsViewModel::processAnalyzedFile(QString path,
                                                                         ImageAnalysis analysis,
                                                                         std::optional<QString> contentHash,
                                                                         ProcessedFileSource source,
                                                                         QString aiProvider)
{
    return m_processAnalyzedFile.processAnalyzedFile(
        std::move(path), std::move(analysis), std::move(contentHash), source, std::move(aiProvider));
}

} // namespace Nomly
