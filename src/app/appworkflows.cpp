#include "app/appworkflows.h"

#include <QUuid>

#include "ai/remoteconfigservice.h"
#include "app/consentstate.h"
#include "app/settingsviewmodel.h"

namespace Nomly {

AppWorkflows::AppWorkflows(SettingsViewModel &state,
                           Database &database,
                           UndoIgnoreService &undoIgnore,
                           UserDefaults &defaults)
    : m_state(state)
    , m_defaults(defaults)
    , m_activity(database, undoIgnore)
    , m_processAnalyzedFile(database, undoIgnore)
{
    m_processAnalyzedFile.setDependencies({
        [this](const QString &path, ProcessedFileSource source) { return m_state.effectiveAnalysisFor(path, source); },
        [this](const ProcessedFile &record) { m_activity.addActivityFile(record); },
    });
}

QCoro::Task<FileProcessingResult> AppWorkflows::processAnalyzedFile(QString path,
                                                                    ImageAnalysis analysis,
                                                                    std::optional<QString> contentHash,
                                                                    ProcessedFileSource source,
                                                                    QString aiProvider)
{
    return m_processAnalyzedFile.processAnalyzedFile(
        std::move(path), std::move(analysis), std::move(contentHash), source, std::move(aiProvider));
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
    dependencies.requestConsentReview = std::move(services.requestConsentReview);
    dependencies.hotkeyService = std::move(services.hotkeyService);
    dependencies.aiService = std::move(services.aiService);
    dependencies.notify = std::move(services.notify);
    dependencies.extractionOptions = [this] {
        const RemoteConfig remote = RemoteConfigService::cachedConfig(m_defaults);
        ExtractionOptions options;
        options.pdfTextExtractionEnabled = remote.pdfTextExtractionEnabled;
        options.iWorkOnlinePreviewsEnabled = m_state.settings().iWorkOnlinePreviewsEnabled;
        options.imageExtensions = remote.imageExtensions;
        options.designExtensions = remote.designExtensions;
        return options;
    };
    dependencies.supportedExtensions
        = [this] { return RemoteConfigService::cachedConfig(m_defaults).supportedExtensions(); };
    m_hotkey.setDependencies(std::move(dependencies));
}

} // namespace Nomly
