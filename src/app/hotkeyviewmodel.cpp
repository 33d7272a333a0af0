#include "app/hotkeyviewmodel.h"

#include <QFileInfo>
#include <QHash>

#include "ai/aimessagelocalizer.h"
#include "ai/aiservice.h"
#include "app/hotkeyservice.h"
#include "content/extensiontables.h"
#include "platform/canonicalpath.h"
#include "platform/logcategories.h"
#include "platform/symboliclink.h"
#include "settings/effectiveanalysissettings.h"
#include "workflows/analyzefilesusecase.h"
#include "workflows/batchoptions.h"

namespace Nomly {

namespace {

QString logWord(HotkeyViewModel::Trigger trigger)
{
    return trigger == HotkeyViewModel::Trigger::Hotkey ? QStringLiteral("Hotkey") : QStringLiteral("Finder service");
}

ProcessedFileSource sourceOf(HotkeyViewModel::Trigger trigger)
{
    return trigger == HotkeyViewModel::Trigger::Hotkey ? ProcessedFileSource::Hotkey
                                                       : ProcessedFileSource::FinderService;
}

const QString RenameFailedTitle = QStringLiteral("Rename Failed");
const QString GenericFailure = QStringLiteral("An error occurred. Please try again.");

} // namespace

void HotkeyViewModel::registerHotkey()
{
    if (!m_dependencies)
        return;
    HotkeyService *service = m_dependencies->hotkeyService ? m_dependencies->hotkeyService() : nullptr;
    if (!service)
        return;
    const Settings settings = m_dependencies->settingsProvider();
    service->setup(settings.hotkeyEnabled, settings.hotkeyShortcut);
    disconnect(m_hotkeyConnection);
    m_hotkeyConnection = connect(service, &HotkeyService::hotkeyPressed, this, [this] { runHotkeyFlow(); });
}

QCoro::Task<QuickRenameOutcome> HotkeyViewModel::runHotkeyFlow()
{
    if (!m_dependencies)
        co_return QuickRenameOutcome {};
    HotkeyService *service = m_dependencies->hotkeyService ? m_dependencies->hotkeyService() : nullptr;
    if (!service)
        co_return QuickRenameOutcome {};
    qCInfo(lcProcessing) << "Hotkey triggered, getting selected files";
    const QPointer<HotkeyViewModel> self(this);
    auto reading = service->selectedFiles();
    QStringList paths = co_await reading;
    if (!self)
        co_return QuickRenameOutcome {};
    auto processing = processFiles(std::move(paths), Trigger::Hotkey);
    co_return co_await processing;
}

QCoro::Task<QuickRenameOutcome> HotkeyViewModel::processFinderServiceFiles(QStringList paths)
{
    auto processing = processFiles(std::move(paths), Trigger::FinderService);
    co_return co_await processing;
}

QCoro::Task<QuickRenameOutcome> HotkeyViewModel::processFiles(QStringList paths, Trigger trigger)
{
    if (!m_dependencies)
        co_return QuickRenameOutcome {};
    const Dependencies dependencies = *m_dependencies;

    if (paths.isEmpty()) {
        qCInfo(lcProcessing) << "No files selected";
        co_return post(QStringLiteral("No Files Selected"),
                       QStringLiteral("Select files in your file manager and try again."));
    }
    // Each selected entry stands for the file it leads to, once: a file
    // selected twice, or with a link to it, is analysed and renamed once,
    // and the selected links follow it to its new name.
    const QStringList supported = dependencies.supportedExtensions();
    QStringList files;
    QHash<QString, QStringList> linksTo;
    for (const QString &path : std::as_const(paths)) {
        const QFileInfo entry(path);
        const QString file = canonicalPath(entry.absoluteFilePath());
        if (entry.isSymLink())
            linksTo[file].append(entry.absoluteFilePath());
        if (!files.contains(file) && supported.contains(contentExtension(file)))
            files.append(file);
    }
    if (files.isEmpty()) {
        qCInfo(lcProcessing) << "No supported files in selection";
        co_return post(QStringLiteral("No Supported Files Found"),
                       QStringLiteral("Select supported files in your file manager and try again."));
    }
    qCInfo(lcProcessing).noquote()
        << QStringLiteral("Processing %1 files via %2").arg(files.size()).arg(logWord(trigger));

    if (!dependencies.hasAIDataConsent()) {
        if (dependencies.requestConsentReview)
            dependencies.requestConsentReview(trigger);
        co_return QuickRenameOutcome {};
    }

    const QPointer<HotkeyViewModel> self(this);
    if (dependencies.startRun)
        dependencies.startRun();
    setProcessing(true);
    QuickRenameOutcome outcome;
    QString lastError;
    do {
        QString unavailable;
        AIService *service = dependencies.aiService(&unavailable);
        if (!service) {
            qCCritical(lcAI).noquote() << logWord(trigger) << "processing error:" << unavailable;
            lastError = unavailable;
            outcome.failed = int(files.size());
            break;
        }

        // Every selected file is analysed in chunks, the next chunk prepared
        // while one is out, as AI Rename does.
        const Settings settings = dependencies.settingsProvider();
        const EffectiveAnalysisSettings effective = resolveEffectiveAnalysisSettings(settings, {}, {});
        const AnalyzeBatchOptions options = batchOptionsFor(settings, effective);
        AnalyzeFilesUseCase analysis(*service, dependencies.extractionOptions());
        auto analysing = analysis.analyze(files, options);
        const AnalyzeFilesResult analysed = co_await analysing;
        if (!self)
            co_return QuickRenameOutcome {};

        QString provider;
        if (options.usesLocalAI())
            provider = QStringLiteral("ollama:") + options.localAIModel;
        else
            provider = analysed.effectiveProvider.value_or(rawValue(settings.aiProvider));

        for (const FileAnalysisOutcome &file : analysed.files) {
            if (!file.succeeded()) {
                ++outcome.failed;
                lastError = file.error;
                qCCritical(lcAI).noquote() << logWord(trigger) << "processing error:" << file.error;
                continue;
            }
            const QString &path = file.path;
            auto renaming
                = dependencies.processAnalyzedFile(path, *file.analysis, file.contentHash, sourceOf(trigger), provider);
            const FileProcessingResult result = co_await renaming;
            if (!self)
                co_return QuickRenameOutcome {};
            if (result.success) {
                ++outcome.renamed;
                for (const QString &link : linksTo.value(path)) {
                    if (const Result<> followed = SymbolicLink::retarget(link, result.newPath.value_or(path));
                        !followed)
                        qCWarning(lcProcessing).noquote() << followed.error();
                }
            } else {
                ++outcome.failed;
                lastError = result.error.value_or(GenericFailure);
            }
        }
    } while (false);
    setProcessing(false);

    QuickRenameOutcome posted;
    if (outcome.failed == 0) {
        posted = post(QStringLiteral("Rename Complete"),
                      QStringLiteral("Successfully renamed %1 files.").arg(outcome.renamed));
    } else if (outcome.renamed > 0) {
        posted = post(QStringLiteral("Rename Complete"),
                      QStringLiteral("Rename completed with errors. Success: %1, Failed: %2.")
                          .arg(outcome.renamed)
                          .arg(outcome.failed));
    } else {
        posted = post(RenameFailedTitle, lastError.isEmpty() ? GenericFailure : lastError);
    }
    posted.renamed = outcome.renamed;
    posted.failed = outcome.failed;
    co_return posted;
}

QuickRenameOutcome HotkeyViewModel::post(const QString &title, const QString &body)
{
    if (m_dependencies && m_dependencies->notify)
        m_dependencies->notify(title, body);
    return QuickRenameOutcome { 0, 0, title, body };
}

void HotkeyViewModel::setProcessing(bool processing)
{
    const bool was = isHotkeyProcessing();
    m_processingRuns += processing ? 1 : -1;
    if (was != isHotkeyProcessing())
        emit isHotkeyProcessingChanged();
}

} // namespace Nomly
