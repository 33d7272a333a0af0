#include "app/appworkflows.h"

#include <QUuid>

#include "ai/remoteconfigservice.h"
#include "app/consentstate.h"
#include "app/diagnosticsparameters.h"
#include "app/settingsviewmodel.h"
#include "app/watchedfolders.h"
#include "platform/diagnostics.h"
#include "workflows/batchanalysisissues.h"
#include "workflows/batchoptions.h"

namespace Nomly {

namespace {

// The area of a failed rename, by the workflow that asked for it.
QString renameArea(ProcessedFileSource source)
{
    switch (source) {
    case ProcessedFileSource::Watcher:
        return QStringLiteral("monitoring_rename");
    case ProcessedFileSource::Batch:
        return QStringLiteral("ai_rename_rename");
    case ProcessedFileSource::Hotkey:
    case ProcessedFileSource::FinderService:
        return QStringLiteral("quick_rename");
    }
    Q_UNREACHABLE();
}

} // namespace

AppWorkflows::AppWorkflows(SettingsViewModel &state,
                           Database &database,
                           UndoIgnoreService &undoIgnore,
                           UserDefaults &defaults,
                           Diagnostics &diagnostics)
    : m_state(state)
    , m_defaults(defaults)
    , m_diagnostics(diagnostics)
    , m_activity(database, undoIgnore)
    , m_statistics(database)
    , m_processAnalyzedFile(database, undoIgnore)
    , m_batchRename(database, undoIgnore)
    , m_monitoring(database, undoIgnore)
{
    m_processAnalyzedFile.setDependencies({
        [this](const QString &path, ProcessedFileSource source) { return m_state.effectiveAnalysisFor(path, source); },
        [this](const ProcessedFile &record) { m_activity.addActivityFile(record); },
    });
    m_activity.setOnStatsAffectingChange([this] { m_statistics.scheduleReload(); });
    // Recorded when it changes, so a report reads each failure against the
    // route it happened on.
    QObject::connect(&m_state, &SettingsViewModel::settingsChanged, &m_activity, [this] {
        DiagnosticsParameters context = diagnosticsContext(m_state.settings());
        if (context == m_context)
            return;
        m_context = context;
        m_diagnostics.addBreadcrumb(QStringLiteral("context_refreshed"), QStringLiteral("app.context"), context);
    });
    m_diagnostics.setCommonParameters([this] {
        return diagnosticsCommonParameters(
            m_state.settings(), m_state.consent().isOnboardingComplete(), m_state.consent().aiDataConsentGranted());
    });
}

AppWorkflows::~AppWorkflows()
{
    // The service outlives this run's state.
    m_diagnostics.setCommonParameters({});
}

QCoro::Task<FileProcessingResult> AppWorkflows::processAnalyzedFile(QString path,
                                                                    ImageAnalysis analysis,
                                                                    std::optional<QString> contentHash,
                                                                    ProcessedFileSource source,
                                                                    QString aiProvider)
{
    FileProcessingResult result = co_await m_processAnalyzedFile.processAnalyzedFile(
        std::move(path), std::move(analysis), std::move(contentHash), source, std::move(aiProvider));
    if (!result.success)
        m_diagnostics.reportFailure(renameArea(source),
                                    BatchAnalysisIssues::renameFailureReason(result.error.value_or(QString())));
    co_return result;
}

ExtractionOptions AppWorkflows::extractionOptions() const
{
    return extractionOptionsFor(RemoteConfigService::cachedConfig(m_defaults), m_state.settings());
}

void AppWorkflows::setBatchRenameServices(BatchRenameServices services)
{
    BatchRenameViewModel::Dependencies dependencies;
    dependencies.settingsProvider = [this] { return m_state.settings(); };
    dependencies.effectiveAnalysisForBatch = [this] { return m_state.effectiveAnalysisForBatch(); };
    dependencies.hasAIDataConsent = [this] { return m_state.consent().aiDataConsentGranted(); };
    dependencies.remoteConfig = [this] { return RemoteConfigService::cachedConfig(m_defaults); };
    dependencies.extractionOptions = [this] { return extractionOptions(); };
    dependencies.aiService = std::move(services.aiService);
    dependencies.addActivityFile = [this](const ProcessedFile &record) { m_activity.addActivityFile(record); };
    dependencies.requestConsentReview = std::move(services.requestConsentReview);
    dependencies.onNoSupportedFilesFound = std::move(services.onNoSupportedFilesFound);
    dependencies.notify = std::move(services.notify);
    // Monitor and AI Rename stay out of each other's files, when both run.
    dependencies.isMonitorProcessingPath
        = [this](const QString &path) { return m_hasMonitor && m_monitoring.isProcessingPath(path); };
    dependencies.removeMonitorQueuePaths = [this](const QStringList &paths) {
        if (m_hasMonitor)
            m_monitoring.removeQueuedPaths(paths);
    };
    m_batchRename.setDependencies(std::move(dependencies));
}

void AppWorkflows::setMonitorServices(MonitorServices services)
{
    MonitoringViewModel::Dependencies dependencies;
    dependencies.settingsProvider = [this] { return m_state.settings(); };
    dependencies.effectiveAnalysisForFile
        = [this](const QString &path) { return m_state.effectiveAnalysisFor(path, ProcessedFileSource::Watcher); };
    dependencies.isOnboardingComplete = std::move(services.isOnboardingComplete);
    dependencies.isOffline = std::move(services.isOffline);
    dependencies.hasAIDataConsent = [this] { return m_state.consent().aiDataConsentGranted(); };
    dependencies.isBatchRenamePath = [this](const QString &path) { return m_batchRename.isBatchRenamePath(path); };
    dependencies.processAnalyzedFile
        = [this](QString path, ImageAnalysis analysis, std::optional<QString> contentHash, QString aiProvider) {
              return processAnalyzedFile(std::move(path),
                                         std::move(analysis),
                                         std::move(contentHash),
                                         ProcessedFileSource::Watcher,
                                         std::move(aiProvider));
          };
    dependencies.persistMonitoringPaused = [this](bool paused) {
        Settings settings = m_state.settings();
        if (settings.monitoringPaused == paused)
            return;
        settings.monitoringPaused = paused;
        m_state.setSettings(settings);
        m_state.saveSettings();
    };
    dependencies.remoteConfig = [this] { return RemoteConfigService::cachedConfig(m_defaults); };
    dependencies.extractionOptions = [this] { return extractionOptions(); };
    dependencies.aiService = std::move(services.aiService);
    dependencies.notify = std::move(services.notify);
    dependencies.diagnostics = &m_diagnostics;
    m_monitoring.setDependencies(std::move(dependencies));
    QObject::connect(&m_state.folders(),
                     &WatchedFolders::folderAdded,
                     &m_monitoring,
                     &MonitoringViewModel::announceFolderReady,
                     Qt::UniqueConnection);
    m_hasMonitor = true;
}

void AppWorkflows::setQuickRenameServices(QuickRenameServices services)
{
    HotkeyViewModel::Dependencies dependencies;
    dependencies.settingsProvider = [this] { return m_state.settings(); };
    dependencies.hasAIDataConsent = [this] { return m_state.consent().aiDataConsentGranted(); };
    dependencies.processAnalyzedFile = [this](QString path,
                                              ImageAnalysis analysis,
                                              std::optional<QString> contentHash,
                                              ProcessedFileSource source,
                                              QString aiProvider) {
        return processAnalyzedFile(
            std::move(path), std::move(analysis), std::move(contentHash), source, std::move(aiProvider));
    };
    dependencies.startRun
        = [this] { m_processAnalyzedFile.setRunId(QUuid::createUuid().toString(QUuid::WithoutBraces)); };
    dependencies.requestConsentReview
        = [request = std::move(services.requestConsentReview)](HotkeyViewModel::Trigger trigger) {
              if (request)
                  request(trigger == HotkeyViewModel::Trigger::Hotkey ? ConsentReviewSource::Hotkey
                                                                      : ConsentReviewSource::FinderService);
          };
    dependencies.hotkeyService = std::move(services.hotkeyService);
    dependencies.aiService = std::move(services.aiService);
    dependencies.notify = std::move(services.notify);
    dependencies.extractionOptions = [this] { return extractionOptions(); };
    dependencies.supportedExtensions
        = [this] { return RemoteConfigService::cachedConfig(m_defaults).supportedExtensions(); };
    m_hotkey.setDependencies(std::move(dependencies));
}

} // namespace Nomly
