#include "workflows/batchrenameviewmodel.h"

#include <QFileInfo>
#include <QPointer>
#include <algorithm>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>
#include <qcoro/qcorosignal.h>

#include "history/filehashservice.h"
#include "naming/filerenamer.h"
#include "naming/namingpattern.h"
#include "platform/canonicalpath.h"
#include "platform/logcategories.h"
#include "workflows/analyzefilesusecase.h"
#include "workflows/batchdropsummary.h"
#include "workflows/batchnaming.h"
#include "workflows/batchoptions.h"
#include "workflows/chunkanalyzer.h"
#include "workflows/journaledrename.h"
#include "workflows/regeneraterequest.h"

namespace Nomly {

namespace {

const QString NoAnalysisResult = QStringLiteral("No analysis result");
const QString MetadataProvider = QStringLiteral("file-metadata");

bool isDone(BatchRenameStatus status)
{
    return status == BatchRenameStatus::Completed || status == BatchRenameStatus::Failed;
}

bool hasBeenAnalyzed(BatchRenameStatus status)
{
    return status == BatchRenameStatus::Analyzed || status == BatchRenameStatus::Renaming
        || status == BatchRenameStatus::Completed;
}

} // namespace

struct BatchRenameViewModel::Resolution
{
    QString path;
    std::optional<QString> suggestedName;
    ImageAnalysis analysis;
    QString error;
};

BatchRenameViewModel::BatchRenameViewModel(Database &database, UndoIgnoreService &undoIgnore, QObject *parent)
    : QObject(parent)
    , m_database(database)
    , m_undoIgnore(undoIgnore)
    , m_runId(QUuid::createUuid().toString(QUuid::WithoutBraces))
{}

BatchRenameViewModel::~BatchRenameViewModel()
{
    if (m_intakeCancelled)
        m_intakeCancelled->store(true);
}

void BatchRenameViewModel::setDependencies(Dependencies dependencies)
{
    m_dependencies = std::move(dependencies);
}

int BatchRenameViewModel::indexOf(const QUuid &id) const
{
    for (int row = 0; row < m_items.size(); ++row) {
        if (m_items.at(row).id == id)
            return row;
    }
    return -1;
}

int BatchRenameViewModel::rowForPath(const QString &path) const
{
    const QString resolved = canonicalPath(path);
    for (int row = 0; row < m_items.size(); ++row) {
        const QString &original = m_items.at(row).originalPath;
        if (original == path || canonicalPath(original) == resolved)
            return row;
    }
    return -1;
}

int BatchRenameViewModel::analyzedCount() const
{
    const auto reached = std::count_if(
        m_items.cbegin(), m_items.cend(), [](const BatchRenameItem &item) { return hasBeenAnalyzed(item.status); });
    return std::max(int(reached), int(m_analyzedItemIds.size()));
}

int BatchRenameViewModel::processedCount() const
{
    return int(std::count_if(m_items.cbegin(), m_items.cend(), [](const BatchRenameItem &item) {
        return hasBeenAnalyzed(item.status) || item.status == BatchRenameStatus::Failed;
    }));
}

int BatchRenameViewModel::totalCount() const
{
    return std::max(int(m_items.size()), m_batchTotalCountSnapshot);
}

double BatchRenameViewModel::progress() const
{
    const int total = totalCount();
    return total == 0 ? 0.0 : double(processedCount()) / total;
}

bool BatchRenameViewModel::isBatchAnalyzing() const
{
    return std::any_of(m_items.cbegin(), m_items.cend(), [](const BatchRenameItem &item) {
        return item.status == BatchRenameStatus::Pending || item.status == BatchRenameStatus::Processing;
    });
}

bool BatchRenameViewModel::isBatchDone() const
{
    return !m_items.isEmpty() && std::all_of(m_items.cbegin(), m_items.cend(), [](const BatchRenameItem &item) {
        return isDone(item.status);
    });
}

bool BatchRenameViewModel::canAcceptNewFiles() const
{
    if (m_isConfirmingRenames)
        return false;
    return std::none_of(m_items.cbegin(), m_items.cend(), [](const BatchRenameItem &item) {
        return item.status == BatchRenameStatus::Renaming;
    });
}

std::optional<qint64> BatchRenameViewModel::elapsedSeconds(const QDateTime &now) const
{
    if (!m_batchAnalysisStartedAt)
        return std::nullopt;
    const QDateTime end = m_batchAnalysisEndedAt.value_or(now);
    return std::max<qint64>(0, m_batchAnalysisStartedAt->secsTo(end));
}

void BatchRenameViewModel::dismissBatchLimitAlert()
{
    if (!m_showBatchLimitAlert)
        return;
    m_showBatchLimitAlert = false;
    emit stateChanged();
}

void BatchRenameViewModel::showLimitAlert(const QString &message)
{
    m_batchLimitAlertMessage = message;
    m_showBatchLimitAlert = true;
    emit stateChanged();
}

bool BatchRenameViewModel::addFiles(const QStringList &paths, DropSource source, bool startAnalysis)
{
    if (!m_dependencies)
        return false;
    if (!m_dependencies->hasAIDataConsent()) {
        if (m_dependencies->requestConsentReview)
            m_dependencies->requestConsentReview(source == DropSource::Picker     ? ConsentReviewSource::Picker
                                                     : source == DropSource::Dock ? ConsentReviewSource::DockDrop
                                                                                  : ConsentReviewSource::BatchDrop);
        return false;
    }
    if (!canAcceptNewFiles())
        return false;
    // A finished batch makes way for the new files, unless files dropped
    // earlier are still being collected: they join it, and so do these.
    if (isBatchDone() && !m_intakeRunning)
        clearBatch();
    // New files are a new wish to have names: a stop asked for earlier is
    // over.
    m_stopRequested = false;
    m_intakes.append(Intake { paths, source, startAnalysis });
    runIntake();
    return true;
}

QCoro::Task<> BatchRenameViewModel::runIntake()
{
    if (m_intakeRunning)
        co_return;
    m_intakeRunning = true;
    const QPointer<BatchRenameViewModel> self(this);
    while (!m_intakes.isEmpty()) {
        const Intake intake = m_intakes.takeFirst();
        const quint64 generation = m_generation;
        const RemoteConfig remote = m_dependencies->remoteConfig();
        const int limit = std::max(0, remote.batchAnalysisLimit);
        const int remaining = std::max(0, limit - int(m_items.size()));
        if (remaining < 1) {
            showLimitAlert(QStringLiteral("Batch limit is %1 files. Remove some items to add more files.").arg(limit));
            continue;
        }
        const QStringList supportedList = remote.supportedExtensions();
        const QSet<QString> supported(supportedList.cbegin(), supportedList.cend());
        QSet<QString> existing;
        for (const BatchRenameItem &item : std::as_const(m_items))
            existing.insert(canonicalPath(item.originalPath));
        m_intakeCancelled = std::make_shared<std::atomic_bool>(false);
        auto collecting
            = QtConcurrent::run([paths = intake.paths, supported, existing, remaining, cancelled = m_intakeCancelled] {
                  return BatchDropSummary::collect(
                      paths, supported, existing, remaining, [cancelled] { return cancelled->load(); });
              });
        const BatchDropSummary summary = co_await collecting;
        if (!self)
            co_return;
        if (generation != m_generation)
            continue;
        if (summary.pathsToAdd.isEmpty()) {
            if (m_dependencies->onNoSupportedFilesFound)
                m_dependencies->onNoSupportedFilesFound(intake.source, summary.skippedCount);
            continue;
        }
        const int first = int(m_items.size());
        m_batchTotalCountSnapshot += int(summary.pathsToAdd.size());
        for (const QString &path : summary.pathsToAdd)
            m_items.append(BatchRenameItem::forFile(path));
        emit itemsInserted(first, int(m_items.size()) - 1);
        emit stateChanged();
        if (intake.startAnalysis)
            startBatchAnalysis();
        if (summary.didHitLimit)
            showLimitAlert(QStringLiteral("Batch limit is %1 files. Only the first %2 files were added.")
                               .arg(limit)
                               .arg(remaining));
    }
    m_intakeRunning = false;
    if (isIdle())
        emit becameIdle();
}

bool BatchRenameViewModel::addAnalyzedItems(const QList<BatchRenameItem> &items)
{
    if (!canAcceptNewFiles() || items.isEmpty())
        return false;
    // A finished batch makes way for the new files, unless files dropped
    // earlier are still being collected: they join it, and so do these.
    if (isBatchDone() && !m_intakeRunning)
        clearBatch();
    const int first = int(m_items.size());
    for (const BatchRenameItem &item : items) {
        m_items.append(item);
        if (item.status == BatchRenameStatus::Analyzed)
            m_analyzedItemIds.insert(item.id);
    }
    m_batchTotalCountSnapshot += int(items.size());
    emit itemsInserted(first, int(m_items.size()) - 1);
    emit stateChanged();
    return true;
}

void BatchRenameViewModel::startBatchAnalysis()
{
    if (!m_dependencies || m_analyzing)
        return;
    if (std::none_of(m_items.cbegin(), m_items.cend(), [](const BatchRenameItem &item) {
            return item.status == BatchRenameStatus::Pending;
        }))
        return;
    if (!m_batchAnalysisStartedAt || m_batchAnalysisEndedAt) {
        m_batchAnalysisStartedAt = QDateTime::currentDateTimeUtc();
        m_batchAnalysisEndedAt.reset();
    }
    runAnalysis();
}

void BatchRenameViewModel::stopAnalysis()
{
    m_stopRequested = true;
}

QCoro::Task<> BatchRenameViewModel::runAnalysis()
{
    m_analyzing = true;
    const QPointer<BatchRenameViewModel> self(this);
    const quint64 generation = m_generation;
    while (!m_stopRequested && generation == m_generation) {
        QList<QUuid> pending;
        for (const BatchRenameItem &item : std::as_const(m_items)) {
            if (item.status == BatchRenameStatus::Pending)
                pending.append(item.id);
        }
        if (pending.isEmpty())
            break;
        const bool local = batchOptions(m_dependencies->effectiveAnalysisForBatch()).usesLocalAI();
        const int size = AnalyzeFilesUseCase::chunkSizeFor(m_dependencies->remoteConfig().batchRenameChunkSize, local);
        const QList<QUuid> chunk = pending.first(std::min<qsizetype>(size, pending.size()));
        const QList<QUuid> next = pending.mid(chunk.size(), size);
        for (const QUuid &id : chunk) {
            // A slot of the signal below may change the batch.
            const int row = indexOf(id);
            if (row < 0)
                continue;
            m_items[row].status = BatchRenameStatus::Processing;
            emit itemChanged(row);
        }
        emit stateChanged();
        auto analysing = analyzeChunk(chunk, next);
        co_await analysing;
        if (!self)
            co_return;
        emit chunkAnalyzed();
    }
    if (std::shared_ptr<ChunkAnalyzer> analyzer = m_analyzer) {
        auto cancelling = analyzer->cancelPrefetch();
        co_await cancelling;
        if (!self)
            co_return;
    }
    m_analyzing = false;
    // A clear during the run has ended it; a new batch may have begun, and
    // its files wait for a run of their own.
    if (generation == m_generation) {
        finishAnalysis();
    } else if (!m_stopRequested) {
        startBatchAnalysis();
    }
    if (isIdle())
        emit becameIdle();
}

void BatchRenameViewModel::finishAnalysis()
{
    if (m_batchAnalysisStartedAt && !m_batchAnalysisEndedAt)
        m_batchAnalysisEndedAt = QDateTime::currentDateTimeUtc();
    emit stateChanged();
    const bool anyAnswered = std::any_of(m_items.cbegin(), m_items.cend(), [](const BatchRenameItem &item) {
        return item.status == BatchRenameStatus::Analyzed || item.status == BatchRenameStatus::Failed;
    });
    if (anyAnswered && !m_stopRequested && m_dependencies->notify)
        m_dependencies->notify(QStringLiteral("Batch Analysis Completed"),
                               QStringLiteral("Your files are ready to rename."));
}

QCoro::Task<> BatchRenameViewModel::analyzeChunk(QList<QUuid> chunk, QList<QUuid> next)
{
    const QPointer<BatchRenameViewModel> self(this);
    const quint64 generation = m_generation;
    const auto stillCurrent = [&] { return self && generation == m_generation; };
    const EffectiveAnalysisSettings effective = m_dependencies->effectiveAnalysisForBatch();
    const AnalyzeBatchOptions batch = batchOptions(effective);
    const QDateTime now = QDateTime::currentDateTime();
    QStringList paths;
    for (const QUuid &id : std::as_const(chunk)) {
        // Whoever watched the chunk start may have cleared the batch.
        if (const int row = indexOf(id); row >= 0)
            paths.append(m_items.at(row).originalPath);
    }
    if (paths.isEmpty())
        co_return;

    // A pattern that needs no AI names the files from their own facts; the
    // files for which it turns out to need a title go on to the AI.
    if (isMetadataOnlyPattern(effective.namingPattern)) {
        if (m_analyzer) {
            auto cancelling = m_analyzer->cancelPrefetch();
            co_await cancelling;
            if (!stillCurrent())
                co_return;
        }
        auto naming = QtConcurrent::run([paths, effective, now] {
            QList<Resolution> named;
            for (const QString &path : paths) {
                if (const std::optional<QString> name = BatchNaming::metadataOnlyName(path, effective, now)) {
                    ImageAnalysis analysis;
                    analysis.title = *name;
                    named.append(Resolution { path, name, analysis, QString() });
                }
            }
            return named;
        });
        const QList<Resolution> named = co_await naming;
        if (!stillCurrent())
            co_return;
        applyResolutions(named, {}, MetadataProvider);
        QStringList namedPaths;
        for (const Resolution &resolution : named)
            namedPaths.append(resolution.path);
        startBackgroundHashing(namedPaths);
        paths.removeIf([&namedPaths](const QString &path) { return namedPaths.contains(path); });
        if (paths.isEmpty())
            co_return;
    }

    QString unavailable;
    AIService *service = m_dependencies->aiService(&unavailable);
    if (!service) {
        for (const QString &path : std::as_const(paths))
            fail(rowForPath(path), unavailable);
        co_return;
    }
    if (!m_analyzer || m_analyzerService != service) {
        m_analyzer = std::make_shared<ChunkAnalyzer>(*service);
        m_analyzerService = service;
    }
    const std::shared_ptr<ChunkAnalyzer> analyzer = m_analyzer;

    ChunkAnalysisOptions options;
    options.batch = batch;
    options.extraction = m_dependencies->extractionOptions();
    // The hosted route prepares the next chunk while one is out; a call on
    // the user's own key or a local model does not.
    options.prefetch = !batch.usesLocalAI() && !(batch.byokEnabled && batch.aiProvider);
    QStringList nextPaths;
    for (const QUuid &id : std::as_const(next)) {
        if (const int row = indexOf(id); row >= 0 && m_items.at(row).status == BatchRenameStatus::Pending)
            nextPaths.append(m_items.at(row).originalPath);
    }
    auto analysing = analyzer->analyze(paths, options, nextPaths);
    const ChunkAnalysis analysed = co_await analysing;
    if (!stillCurrent())
        co_return;

    auto resolving = QtConcurrent::run([files = analysed.files, effective, now] {
        QList<Resolution> resolutions;
        for (const FileAnalysisOutcome &outcome : files) {
            Resolution resolution { outcome.path, std::nullopt, {}, outcome.error };
            if (outcome.succeeded()) {
                resolution.analysis = normalized(*outcome.analysis);
                const QString name = BatchNaming::suggestedName(outcome.path, resolution.analysis, effective, now);
                if (!name.isEmpty())
                    resolution.suggestedName = name;
            }
            if (!resolution.suggestedName && resolution.error.isEmpty())
                resolution.error = NoAnalysisResult;
            resolutions.append(resolution);
        }
        return resolutions;
    });
    const QList<Resolution> resolutions = co_await resolving;
    if (!stillCurrent())
        co_return;
    QHash<QString, QString> hashes;
    for (const FileAnalysisOutcome &outcome : analysed.files) {
        if (outcome.contentHash)
            hashes.insert(outcome.path, *outcome.contentHash);
    }
    applyResolutions(resolutions, hashes, BatchNaming::routeName(batch, analysed.effectiveProvider));
}

void BatchRenameViewModel::applyResolutions(const QList<Resolution> &resolutions,
                                            const QHash<QString, QString> &hashes,
                                            const QString &provider)
{
    for (const Resolution &resolution : resolutions) {
        const int row = rowForPath(resolution.path);
        if (row < 0)
            continue;
        if (!resolution.suggestedName) {
            fail(row, resolution.error.isEmpty() ? NoAnalysisResult : resolution.error);
            continue;
        }
        BatchRenameItem &item = m_items[row];
        item.analysis = resolution.analysis;
        item.suggestedName = resolution.suggestedName;
        if (const auto hash = hashes.constFind(resolution.path); hash != hashes.cend())
            item.contentHash = *hash;
        item.aiProvider = provider;
        item.status = BatchRenameStatus::Analyzed;
        item.error.reset();
        m_analyzedItemIds.insert(item.id);
        emit itemChanged(row);
    }
    emit stateChanged();
}

QCoro::Task<> BatchRenameViewModel::startBackgroundHashing(QStringList paths)
{
    if (paths.isEmpty())
        co_return;
    const quint64 generation = m_generation;
    const QPointer<BatchRenameViewModel> self(this);
    QFuture<QHash<QString, QString>> hashing = QtConcurrent::run([paths] { return FileHashService::hashes(paths); });
    m_backgroundHashing.append(hashing);
    const QHash<QString, QString> hashes = co_await hashing;
    if (!self)
        co_return;
    m_backgroundHashing.removeIf([](const QFuture<QHash<QString, QString>> &future) { return future.isFinished(); });
    if (generation != m_generation)
        co_return;
    for (auto it = hashes.cbegin(); it != hashes.cend(); ++it) {
        if (const int row = rowForPath(it.key()); row >= 0)
            m_items[row].contentHash = it.value();
    }
}

void BatchRenameViewModel::fail(int row, const QString &message)
{
    if (row < 0)
        return;
    BatchRenameItem &item = m_items[row];
    item.status = BatchRenameStatus::Failed;
    item.error = message;
    emit itemChanged(row);
}

void BatchRenameViewModel::clearBatch()
{
    ++m_generation;
    m_stopRequested = false;
    m_intakes.clear();
    if (m_intakeCancelled)
        m_intakeCancelled->store(true);
    m_analyzedItemIds.clear();
    m_items.clear();
    m_batchAnalysisStartedAt.reset();
    m_batchAnalysisEndedAt.reset();
    m_batchTotalCountSnapshot = 0;
    m_showBatchLimitAlert = false;
    m_batchLimitAlertMessage.clear();
    // Each batch is a run of its own in the history.
    m_runId = QUuid::createUuid().toString(QUuid::WithoutBraces);
    emit batchCleared();
    emit stateChanged();
}

void BatchRenameViewModel::removeItem(const QUuid &id)
{
    const int row = indexOf(id);
    if (row < 0)
        return;
    m_items.removeAt(row);
    m_analyzedItemIds.remove(id);
    if (m_items.isEmpty()) {
        m_analyzedItemIds.clear();
        m_batchAnalysisStartedAt.reset();
        m_batchAnalysisEndedAt.reset();
        m_batchTotalCountSnapshot = 0;
    } else {
        m_batchTotalCountSnapshot = std::max(m_batchTotalCountSnapshot - 1, int(m_items.size()));
    }
    emit itemRemoved(row);
    emit stateChanged();
}

void BatchRenameViewModel::updateEditedName(const QUuid &id, const QString &name)
{
    const int row = indexOf(id);
    if (row < 0)
        return;
    BatchRenameItem &item = m_items[row];
    const std::optional<QString> edited = name.trimmed().isEmpty() ? std::nullopt : std::optional(name);
    if (item.editedName == edited)
        return;
    item.editedName = edited;
    emit itemChanged(row);
}

AnalyzeBatchOptions BatchRenameViewModel::batchOptions(const EffectiveAnalysisSettings &effective) const
{
    if (m_dependencies->batchOptions)
        return m_dependencies->batchOptions(effective);
    return batchOptionsFor(m_dependencies->settingsProvider(), effective);
}

bool BatchRenameViewModel::canRetryFailure(const QUuid &id) const
{
    const int row = indexOf(id);
    return row >= 0 && BatchAnalysisIssues::canRetryFailure(m_items.at(row));
}

void BatchRenameViewModel::retry(const QUuid &id)
{
    if (canRetryFailure(id))
        regenerate(id);
}

QList<BatchAnalysisIssueSummary> BatchRenameViewModel::issueSummaries() const
{
    return BatchAnalysisIssues::issueSummaries(m_items);
}

QString BatchRenameViewModel::statusText() const
{
    return BatchAnalysisIssues::statusText(processedCount(), totalCount(), issueSummaries());
}

QString BatchRenameViewModel::issueDetails() const
{
    return BatchAnalysisIssues::issueDetails(issueSummaries());
}

QCoro::Task<> BatchRenameViewModel::regenerate(QUuid id)
{
    if (!m_dependencies)
        co_return;
    if (!m_dependencies->hasAIDataConsent()) {
        if (m_dependencies->requestConsentReview)
            m_dependencies->requestConsentReview(ConsentReviewSource::BatchRegenerate);
        co_return;
    }
    const QPointer<BatchRenameViewModel> self(this);
    const quint64 generation = m_generation;
    // Each wait may end with the item gone or the batch cleared.
    const auto rowAfterWait = [&] { return self && generation == m_generation ? indexOf(id) : -1; };
    int row = indexOf(id);
    if (row < 0 || m_items.at(row).status == BatchRenameStatus::Processing
        || m_items.at(row).status == BatchRenameStatus::Renaming)
        co_return;
    const QString path = m_items.at(row).originalPath;

    std::optional<QString> hash = m_items.at(row).contentHash;
    if (!hash) {
        auto hashing = QtConcurrent::run([path] { return FileHashService::hash(path); });
        hash = co_await hashing;
        if ((row = rowAfterWait()) < 0)
            co_return;
    }
    BatchRenameItem &item = m_items[row];
    QStringList rejected = item.rejectedSuggestedNames;
    if (item.suggestedName)
        rejected.append(*item.suggestedName);
    if (item.analysis && item.analysis->title)
        rejected.append(*item.analysis->title);
    rejected = RegenerateRequest::normalizedNames(rejected);
    item.status = BatchRenameStatus::Processing;
    item.editedName.reset();
    item.suggestedName.reset();
    item.analysis.reset();
    item.error.reset();
    item.rejectedSuggestedNames = rejected;
    item.contentHash = hash;
    emit itemChanged(row);
    emit stateChanged();

    QString unavailable;
    AIService *service = m_dependencies->aiService(&unavailable);
    if (!service) {
        fail(row, unavailable);
        emit stateChanged();
        co_return;
    }
    const EffectiveAnalysisSettings effective = m_dependencies->effectiveAnalysisForBatch();
    ChunkAnalysisOptions options;
    options.batch = batchOptions(effective);
    options.batch.regenerate = true;
    options.extraction = m_dependencies->extractionOptions();
    const int promptMaxChars = m_dependencies->remoteConfig().promptMaxChars;
    ChunkAnalyzer analyzer(*service);
    for (int attempt = 1; attempt <= 2; ++attempt) {
        options.batch.rejectedTitles = RegenerateRequest::rejectedTitles(rejected);
        options.batch.renamePromptOverride
            = RegenerateRequest::renamePrompt(effective.renamePromptOverride, rejected, promptMaxChars);
        qCInfo(lcProcessing).noquote() << QStringLiteral("Regenerate attempt %1 for %2. Rejected suggestions: %3")
                                              .arg(attempt)
                                              .arg(QFileInfo(path).fileName(), rejected.join(QStringLiteral(" | ")));
        auto analysing = analyzer.analyze({ path }, options);
        const ChunkAnalysis analysed = co_await analysing;
        if ((row = rowAfterWait()) < 0)
            co_return;
        const FileAnalysisOutcome outcome = analysed.files.value(0);
        if (!outcome.succeeded()) {
            fail(row, outcome.error.isEmpty() ? NoAnalysisResult : outcome.error);
            emit stateChanged();
            co_return;
        }
        const ImageAnalysis analysis = normalized(*outcome.analysis);
        const QDateTime now = QDateTime::currentDateTime();
        auto naming = QtConcurrent::run(
            [path, analysis, effective, now] { return BatchNaming::suggestedName(path, analysis, effective, now); });
        const QString suggestion = co_await naming;
        if ((row = rowAfterWait()) < 0)
            co_return;
        if (suggestion.isEmpty()) {
            fail(row, NoAnalysisResult);
            emit stateChanged();
            co_return;
        }
        const bool duplicate = RegenerateRequest::isDuplicate(suggestion, rejected);
        if (duplicate)
            rejected = RegenerateRequest::normalizedNames(rejected << suggestion);
        if (duplicate && attempt == 1) {
            qCInfo(lcProcessing).noquote() << QStringLiteral("Regenerate returned duplicate suggestion '%1' for %2, "
                                                             "retrying once")
                                                  .arg(suggestion, QFileInfo(path).fileName());
            continue;
        }
        BatchRenameItem &answered = m_items[row];
        answered.analysis = analysis;
        answered.suggestedName = suggestion;
        answered.aiProvider = BatchNaming::routeName(options.batch, analysed.effectiveProvider);
        answered.rejectedSuggestedNames = rejected;
        answered.status = BatchRenameStatus::Analyzed;
        m_analyzedItemIds.insert(answered.id);
        emit itemChanged(row);
        emit stateChanged();
        co_return;
    }
}

void BatchRenameViewModel::setConfirming(bool confirming)
{
    if (m_isConfirmingRenames == confirming)
        return;
    m_isConfirmingRenames = confirming;
    emit stateChanged();
}

QCoro::Task<> BatchRenameViewModel::untilIdle()
{
    if (isIdle())
        co_return;
    co_await qCoro(this, &BatchRenameViewModel::becameIdle);
}

QCoro::Task<> BatchRenameViewModel::renameAll()
{
    if (!m_dependencies || m_isConfirmingRenames)
        co_return;
    setConfirming(true);
    const QPointer<BatchRenameViewModel> self(this);
    // Hashes of metadata-only names are still being read: the records want
    // them, and the files must not move under the reader.
    for (QFuture<QHash<QString, QString>> hashing : QList(m_backgroundHashing)) {
        co_await hashing;
        if (!self)
            co_return;
    }
    const EffectiveAnalysisSettings effective = m_dependencies->effectiveAnalysisForBatch();
    const AnalyzeBatchOptions batch = batchOptions(effective);

    QList<QUuid> runIds;
    for (const BatchRenameItem &item : std::as_const(m_items)) {
        if (item.status == BatchRenameStatus::Analyzed && item.nameToUse() && item.analysis)
            runIds.append(item.id);
    }
    qCInfo(lcProcessing).noquote() << "Batch rename: renaming" << runIds.size() << "files";

    // Plans, one after the other, so that no two items of the run get the
    // same destination; the folder is looked at as it is now.
    QSet<QString> reserved;
    QList<JournaledMove> moves;
    QList<QUuid> planned;
    for (const QUuid &id : std::as_const(runIds)) {
        const int row = indexOf(id);
        if (row < 0)
            continue;
        m_items[row].status = BatchRenameStatus::Renaming;
        // A copy: a receiver of the signal may change the list.
        const BatchRenameItem item = m_items.at(row);
        emit itemChanged(row);
        const QFileInfo file(item.originalPath);
        if (!file.exists() && !file.isSymLink()) {
            fail(row, QStringLiteral("File not found"));
            continue;
        }
        if (m_dependencies->isMonitorProcessingPath
            && m_dependencies->isMonitorProcessingPath(canonicalPath(item.originalPath))) {
            fail(row, QStringLiteral("File is being processed by monitor"));
            continue;
        }
        const QString base = BatchNaming::sanitizedName(*item.nameToUse());
        if (base.isEmpty()) {
            fail(row, QStringLiteral("Invalid name"));
            continue;
        }
        const QString destination = BatchNaming::reservedDestination(
            base, FileRenamer::extensionOf(item.originalPath), file.absolutePath(), item.originalPath, reserved);
        reserved.insert(canonicalPath(destination));

        JournaledMove move;
        move.path = item.originalPath;
        move.destination = destination;
        move.analysis = *item.analysis;
        move.addTags = effective.addFinderTags;
        move.addComment = effective.addSpotlightMetadata;
        move.record.title = item.analysis->title.value_or(QString());
        move.record.description = item.analysis->description;
        move.record.tags = item.analysis->tags.join(QStringLiteral(", "));
        move.record.aiProvider = item.aiProvider.value_or(BatchNaming::routeName(batch, std::nullopt));
        move.record.contentHash = item.contentHash;
        move.record.source = ProcessedFileSource::Batch;
        move.record.runId = m_runId;
        moves.append(move);
        planned.append(id);
    }
    emit stateChanged();

    if (!moves.isEmpty()) {
        // Monitor leaves the run's files alone while they move.
        QStringList marked;
        for (const JournaledMove &move : std::as_const(moves))
            marked << canonicalPath(move.path) << canonicalPath(move.destination);
        for (const QString &path : std::as_const(marked))
            m_batchRenamingPaths.insert(path);
        if (m_dependencies->removeMonitorQueuePaths)
            m_dependencies->removeMonitorQueuePaths(marked);

        auto moving = QtConcurrent::run([database = &m_database, undoIgnore = &m_undoIgnore, moves] {
            return moveJournaled(*database, *undoIgnore, moves);
        });
        const QList<JournaledMoveOutcome> outcomes = co_await moving;
        if (!self)
            co_return;
        for (const QString &path : std::as_const(marked))
            m_batchRenamingPaths.remove(path);

        for (qsizetype i = 0; i < outcomes.size(); ++i) {
            const int row = indexOf(planned.at(i));
            if (row < 0)
                continue;
            const JournaledMoveOutcome &outcome = outcomes.at(i);
            BatchRenameItem &item = m_items[row];
            const QString newName = QFileInfo(moves.at(i).destination).fileName();
            if (outcome.record) {
                item.status = BatchRenameStatus::Completed;
                item.newName = newName;
                item.finalPath = moves.at(i).destination;
                item.error.reset();
                item.analysis.reset();
                item.rejectedSuggestedNames.clear();
                qCInfo(lcProcessing).noquote() << "Batch rename:" << item.fileName << "→" << newName;
                m_dependencies->addActivityFile(*outcome.record);
                emit itemChanged(row);
                continue;
            }
            if (outcome.movedWithoutRecord) {
                item.newName = newName;
                item.finalPath = moves.at(i).destination;
            }
            const QString message = outcome.failure ? outcome.failure->message : QStringLiteral("Rename failed");
            qCWarning(lcProcessing).noquote() << "Batch rename failed:" << message;
            fail(row, message);
        }
    }
    setConfirming(false);
    const bool allSucceeded = std::all_of(runIds.cbegin(), runIds.cend(), [this](const QUuid &id) {
        const int row = indexOf(id);
        return row >= 0 && m_items.at(row).status == BatchRenameStatus::Completed;
    });
    emit stateChanged();
    emit renameAllFinished(allSucceeded);
}

} // namespace Nomly
