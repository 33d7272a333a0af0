#include "workflows/monitoringviewmodel.h"

#include <QDateTime>
#include <QDirIterator>
#include <QFileInfo>
#include <QPointer>
#include <QScopeGuard>
#include <algorithm>
#include <cmath>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "ai/aiservice.h"
#include "history/database.h"
#include "history/filehashservice.h"
#include "history/undoignoreservice.h"
#include "platform/canonicalpath.h"
#include "platform/diagnostics.h"
#include "platform/logcategories.h"
#include "workflows/analyzefilesusecase.h"
#include "workflows/batchanalysisissues.h"
#include "workflows/batchdropsummary.h"
#include "workflows/batchnaming.h"
#include "workflows/batchoptions.h"
#include "workflows/providerrefusal.h"

namespace Nomly {

namespace {

const QString PausedTitle = QStringLiteral("Monitoring Paused");
const QString DefaultRefusal
    = QStringLiteral("AI provider request failed. Check your API key or billing, then resume monitoring.");
constexpr qsizetype FailureTextLimit = 512;

bool hasPrefix(const QString &path, const QString &prefix)
{
    return prefix.isEmpty() || QFileInfo(path).fileName().startsWith(prefix, Qt::CaseSensitive);
}

// The files that arrived within the window before a start, as the watcher
// would have let them through.
QStringList recentFiles(const QStringList &folders, const FileWatcherFilter &filter, const QDateTime &cutoff, int max)
{
    QStringList found;
    if (max < 1)
        return found;
    for (const QString &folder : folders) {
        const auto flags = filter.monitorSubfolders ? QDirIterator::Subdirectories : QDirIterator::NoIteratorFlags;
        QDirIterator it(folder, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, flags);
        while (it.hasNext()) {
            const QString path = it.next();
            const QFileInfo info = it.fileInfo();
            const QString name = info.fileName();
            // Hidden folders and document bundles are walked by the
            // iterator, but what lies inside them is not the user's file.
            const QString relative = path.mid(folder.size());
            if (relative.contains(QStringLiteral("/.")))
                continue;
            if (info.isDir() || !info.isFile())
                continue;
            if (BatchDropSummary::isDocumentBundle(info.absolutePath()) && info.absolutePath() != folder)
                continue;
            if (name.startsWith(u'.') || !hasPrefix(path, filter.filePrefix))
                continue;
            if (!filter.fileExtensions.isEmpty() && !filter.fileExtensions.contains(info.suffix().toLower()))
                continue;
            const QDateTime modified = info.lastModified();
            const QDateTime born = info.birthTime();
            const QDateTime date = born.isValid() && born > modified ? born : modified;
            if (date.isValid() && date >= cutoff) {
                found.append(path);
                if (found.size() >= max)
                    return found;
            }
        }
    }
    return found;
}

} // namespace

MonitoringViewModel::MonitoringViewModel(Database &database, UndoIgnoreService &undoIgnore, QObject *parent)
    : QObject(parent)
    , m_database(database)
    , m_undoIgnore(undoIgnore)
    , m_queue([this] { return m_dependencies ? m_dependencies->remoteConfig().maxConcurrentProcessing : 1; },
              [this] { return m_dependencies ? m_dependencies->remoteConfig().processingDelayMs : 0; })
{
    m_flush.setSingleShot(true);
    connect(&m_flush, &QTimer::timeout, this, &MonitoringViewModel::flushWatcherPaths);
    m_networkCalm.setSingleShot(true);
    connect(&m_networkCalm, &QTimer::timeout, this, [this] { applyNetworkChange(m_lastConnected); });
    connect(&m_queue, &ProcessingQueue::changed, this, &MonitoringViewModel::stateChanged);
    connect(&m_returnWatch, &QFileSystemWatcher::directoryChanged, this, [this] {
        for (const QString &folder : std::as_const(m_unavailableFolders)) {
            if (QFileInfo(canonicalPath(folder)).isDir()) {
                reconfigureWatcher();
                return;
            }
        }
    });
}

MonitoringViewModel::~MonitoringViewModel()
{
    // The queue's worker may be inside a group; it must find its handler gone.
    m_queue.setBatchHandler({});
    m_queue.clear();
}

void MonitoringViewModel::setDependencies(Dependencies dependencies)
{
    m_dependencies = std::make_unique<Dependencies>(std::move(dependencies));
    m_isPaused = m_dependencies->settingsProvider().monitoringPaused;
    // The queue is a member, so the handler never outlives this.
    m_queue.setBatchHandler([this](QStringList paths) { return processBatch(std::move(paths)); });
}

bool MonitoringViewModel::isBlockedByAIMode() const
{
    if (!m_dependencies)
        return true;
    switch (m_dependencies->settingsProvider().aiProcessingMode) {
    case AIProcessingMode::Off:
        return true;
    case AIProcessingMode::Cloud:
        return m_dependencies->isOffline();
    case AIProcessingMode::Local:
        return false;
    }
    return false;
}

bool MonitoringViewModel::isWatching() const
{
    return m_watcher && m_watcher->isRunning();
}

QStringList MonitoringViewModel::watchedFolders() const
{
    return isWatching() ? m_watcher->watchedFolders() : QStringList();
}

bool MonitoringViewModel::hasNonCatchUpWork() const
{
    return std::any_of(m_items.cbegin(), m_items.cend(), [this](const MonitorQueueItem &item) {
        return !m_catchUpPaths.contains(item.id);
    });
}

bool MonitoringViewModel::shouldNotStart() const
{
    return !m_dependencies->isOnboardingComplete() || !m_dependencies->hasAIDataConsent()
        || m_dependencies->settingsProvider().watchedFolders.isEmpty() || m_isPaused || isBlockedByAIMode();
}

QSet<QString> MonitoringViewModel::watchedExtensions() const
{
    const RemoteConfig remote = m_dependencies->remoteConfig();
    QSet<QString> supported;
    for (const QStringList *list : { &remote.imageExtensions,
                                     &remote.designExtensions,
                                     &remote.documentExtensions,
                                     &remote.videoExtensions,
                                     &remote.audioExtensions }) {
        for (const QString &extension : *list)
            supported.insert(extension.toLower());
    }
    const std::optional<QStringList> chosen = m_dependencies->settingsProvider().monitorFileExtensions;
    if (!chosen)
        return supported;
    QSet<QString> kept;
    for (const QString &extension : *chosen) {
        if (supported.contains(extension.toLower()))
            kept.insert(extension.toLower());
    }
    return kept;
}

FileWatcherFilter MonitoringViewModel::filter() const
{
    const Settings settings = m_dependencies->settingsProvider();
    return FileWatcherFilter { settings.monitorSubfolders, settings.monitorFilePrefix, watchedExtensions() };
}

void MonitoringViewModel::ensureWatcher()
{
    if (m_watcher)
        return;
    const QPointer<MonitoringViewModel> self(this);
    m_watcher = std::make_unique<FileWatcher>(
        m_undoIgnore,
        [self](const QString &path) {
            if (self)
                self->bufferWatcherPath(path);
        },
        [self] {
            if (self)
                QMetaObject::invokeMethod(self, &MonitoringViewModel::reconfigureWatcher, Qt::QueuedConnection);
        },
        [self] {
            // The kernel dropped events: what it did not tell is found as
            // after a start.
            if (self && self->isWatching())
                self->catchUp(self->m_watcher->watchedFolders(), self->filter());
        });
    m_watcher->setSettleDelay(m_timing.settle);
}

void MonitoringViewModel::startWatching()
{
    if (!m_dependencies || shouldNotStart())
        return;
    const QStringList folders = refreshFolderAvailability(true);
    if (folders.isEmpty())
        return;
    const FileWatcherFilter wanted = filter();
    ensureWatcher();
    if (m_watcher->isRunning(folders, wanted)) {
        qCDebug(lcFileWatcher) << "File watcher already running with current configuration";
        return;
    }
    m_watcher->stop();
    m_watcher->configure(wanted);
    m_watcher->start(folders);
    if (m_watcher->isRunning())
        catchUp(folders, wanted);
    emit stateChanged();
}

void MonitoringViewModel::reconfigureWatcher()
{
    if (!m_dependencies)
        return;
    if (!m_watcher) {
        startWatching();
        return;
    }
    if (!m_dependencies->isOnboardingComplete() || !m_dependencies->hasAIDataConsent() || m_isPaused
        || isBlockedByAIMode()) {
        stopWatching();
        return;
    }
    const QStringList folders = refreshFolderAvailability(true);
    const FileWatcherFilter wanted = filter();
    if (!folders.isEmpty() && m_watcher->isRunning(folders, wanted))
        return;
    m_watcher->stop();
    m_watcher->configure(wanted);
    if (!folders.isEmpty())
        m_watcher->start(folders);
    emit stateChanged();
}

void MonitoringViewModel::stopWatching()
{
    ++m_generation;
    if (m_watcher)
        m_watcher->stop();
    m_queue.clear();
    m_flush.stop();
    m_pendingWatcherPaths.clear();
    clearMonitorState();
    emit stateChanged();
}

void MonitoringViewModel::clearMonitorState()
{
    m_items.clear();
    m_retryAttempts.clear();
    m_retryFailureMessages.clear();
    m_catchUpPaths.clear();
    for (QTimer *timer : std::as_const(m_retryTimers))
        delete timer;
    m_retryTimers.clear();
}

void MonitoringViewModel::togglePause()
{
    if (!m_dependencies)
        return;
    setPaused(!m_isPaused);
    m_dependencies->persistMonitoringPaused(m_isPaused);
    if (m_isPaused && m_dependencies->diagnostics)
        m_dependencies->diagnostics->track(QStringLiteral("monitoring_paused"),
                                           { { QStringLiteral("reason"), QStringLiteral("manual") } });
}

void MonitoringViewModel::setPaused(bool paused)
{
    if (!m_dependencies || paused == m_isPaused)
        return;
    m_isPaused = paused;
    m_networkCalm.stop();
    if (paused) {
        stopWatching();
        post(PausedTitle, QStringLiteral("Monitoring is off. New files will not be renamed until you resume."));
        qCInfo(lcFileWatcher) << "Watching paused, queue cleared";
        return;
    }
    if (isBlockedByAIMode()) {
        qCInfo(lcFileWatcher) << "Resume requested but offline, will start when network is available";
        emit stateChanged();
        return;
    }
    startWatching();
    post(QStringLiteral("Monitoring Resumed"), QStringLiteral("Nomly is watching your folders again."));
    qCInfo(lcFileWatcher) << "Watching resumed";
    emit stateChanged();
}

void MonitoringViewModel::handleNetworkChange(bool isConnected)
{
    m_lastConnected = isConnected;
    m_networkCalm.start(std::max(m_timing.networkCalm, std::chrono::milliseconds(0)));
}

void MonitoringViewModel::applyNetworkChange(bool isConnected)
{
    if (!m_dependencies)
        return;
    if (isConnected) {
        if (!m_isPaused) {
            startWatching();
            qCInfo(lcNetwork) << "Network restored, resuming watcher";
        }
        return;
    }
    if (!isBlockedByAIMode()) {
        qCInfo(lcNetwork) << "Network lost, continuing watcher with local AI";
        return;
    }
    const bool wasWatching = isWatching();
    stopWatching();
    if (wasWatching && m_dependencies->isOnboardingComplete()
        && !m_dependencies->settingsProvider().watchedFolders.isEmpty() && !m_isPaused)
        post(PausedTitle, QStringLiteral("No internet connection. Monitoring paused."));
    qCInfo(lcNetwork) << "Network lost, watcher stopped";
}

QStringList MonitoringViewModel::refreshFolderAvailability(bool notify)
{
    if (!m_dependencies)
        return {};
    const QStringList configured = m_dependencies->settingsProvider().watchedFolders;
    QStringList available;
    QSet<QString> unavailable;
    for (const QString &folder : configured) {
        const QString resolved = canonicalPath(folder);
        if (QFileInfo(resolved).isDir())
            available.append(resolved);
        else
            unavailable.insert(folder);
    }
    QStringList newlyUnavailable;
    for (const QString &folder : std::as_const(unavailable)) {
        if (!m_unavailableFolders.contains(folder))
            newlyUnavailable.append(folder);
    }
    const bool changed = unavailable != m_unavailableFolders;
    m_unavailableFolders = unavailable;
    if (changed)
        watchForReturn(unavailable);
    const bool held = m_isPaused || isBlockedByAIMode();
    if (notify && m_dependencies->isOnboardingComplete() && !newlyUnavailable.isEmpty() && !held) {
        std::sort(newlyUnavailable.begin(), newlyUnavailable.end());
        for (const QString &folder : std::as_const(newlyUnavailable)) {
            const QString body = available.isEmpty()
                ? QStringLiteral("%1 is unavailable. Monitoring is waiting for a valid folder.")
                : QStringLiteral("%1 is unavailable. Monitoring continues for your other folders.");
            post(QStringLiteral("Monitored Folder Unavailable"), body.arg(folder));
        }
    }
    if (!held && !configured.isEmpty() && available.isEmpty() && isWatching()) {
        stopWatching();
        qCCritical(lcFileWatcher) << "All monitored folders are unavailable";
    }
    if (changed)
        emit stateChanged();
    return available;
}

void MonitoringViewModel::watchForReturn(const QSet<QString> &missing)
{
    QStringList above;
    for (const QString &folder : missing) {
        QDir parent(QFileInfo(folder).absolutePath());
        while (!parent.exists() && !parent.isRoot())
            parent.setPath(QFileInfo(parent.absolutePath()).absolutePath());
        if (!above.contains(parent.absolutePath()))
            above.append(parent.absolutePath());
    }
    if (!m_returnWatch.directories().isEmpty())
        m_returnWatch.removePaths(m_returnWatch.directories());
    if (!above.isEmpty())
        m_returnWatch.addPaths(above);
}

void MonitoringViewModel::removeQueuedPaths(const QStringList &resolvedPaths)
{
    QSet<QString> taken(resolvedPaths.cbegin(), resolvedPaths.cend());
    QSet<QString> waiting;
    for (const QString &path : m_queue.waitingPaths()) {
        if (taken.contains(canonicalPath(path)))
            waiting.insert(path);
    }
    m_queue.remove(waiting);
}

void MonitoringViewModel::bufferWatcherPath(const QString &path)
{
    const QString resolved = canonicalPath(path);
    m_pendingWatcherPaths.insert(resolved);
    qCInfo(lcFileWatcher).noquote() << "Watcher buffered file:" << resolved;
    if (!m_flush.isActive())
        m_flush.start(m_timing.flush);
}

void MonitoringViewModel::flushWatcherPaths()
{
    QStringList snapshot(m_pendingWatcherPaths.cbegin(), m_pendingWatcherPaths.cend());
    m_pendingWatcherPaths.clear();
    if (!m_dependencies || m_isPaused || isBlockedByAIMode())
        return;
    std::sort(snapshot.begin(), snapshot.end());
    const QString prefix = m_dependencies->settingsProvider().monitorFilePrefix;
    const QSet<QString> ignored = m_undoIgnore.ignoredPaths();
    QStringList kept;
    for (const QString &path : std::as_const(snapshot)) {
        if (ignored.contains(path) || m_dependencies->isBatchRenamePath(path) || !hasPrefix(path, prefix))
            continue;
        kept.append(path);
    }
    if (kept.isEmpty())
        return;
    qCInfo(lcFileWatcher).noquote() << QStringLiteral("Watcher enqueuing %1 file(s)").arg(kept.size());
    m_queue.enqueue(kept);
}

QCoro::Task<> MonitoringViewModel::catchUp(QStringList folders, FileWatcherFilter filter)
{
    const QPointer<MonitoringViewModel> self(this);
    const quint64 generation = m_generation;
    const QDateTime cutoff = QDateTime::currentDateTimeUtc().addSecs(-CatchUpWindow.count());
    const int max = std::max(m_dependencies->remoteConfig().batchAnalysisLimit, 0);
    auto scanning
        = QtConcurrent::run([folders, filter, cutoff, max] { return recentFiles(folders, filter, cutoff, max); });
    const QStringList found = co_await scanning;
    if (!self || generation != m_generation || found.isEmpty())
        co_return;
    qCInfo(lcFileWatcher).noquote() << QStringLiteral("Watcher catch-up enqueuing %1 recent file(s)").arg(found.size());
    for (const QString &path : found)
        m_catchUpPaths.insert(canonicalPath(path));
    m_queue.enqueue(found);
}

void MonitoringViewModel::finishItems(const QStringList &canonicalPaths)
{
    if (canonicalPaths.isEmpty())
        return;
    const QSet<QString> done(canonicalPaths.cbegin(), canonicalPaths.cend());
    m_items.removeIf([&](const MonitorQueueItem &item) { return done.contains(item.id); });
    for (const QString &path : done) {
        m_retryAttempts.remove(path);
        m_retryFailureMessages.remove(path);
        m_catchUpPaths.remove(path);
    }
    emit stateChanged();
}

void MonitoringViewModel::release(const QSet<QString> &canonicalPaths)
{
    for (const QString &path : canonicalPaths)
        m_processingFiles.remove(path);
}

void MonitoringViewModel::setItemStatus(const QString &canonical, MonitorQueueStatus status)
{
    for (MonitorQueueItem &item : m_items) {
        if (item.id == canonical && item.status != status) {
            item.status = status;
            emit stateChanged();
        }
    }
}

QCoro::Task<> MonitoringViewModel::processBatch(QStringList paths)
{
    if (!m_dependencies || !m_dependencies->hasAIDataConsent() || m_isPaused || isBlockedByAIMode())
        co_return;
    const QPointer<MonitoringViewModel> self(this);
    const quint64 generation = m_generation;
    const auto gone = [&] { return !self || generation != m_generation; };
    ++m_activeBatches;
    const auto leaving = qScopeGuard([self] {
        if (self) {
            --self->m_activeBatches;
            emit self->stateChanged();
        }
    });

    // Files gone, taken by AI Rename, already in a group, or just put in
    // place by an undo are not new files.
    QSet<QString> heldElsewhere = m_processingFiles;
    for (const QString &path : std::as_const(paths)) {
        const QString resolved = canonicalPath(path);
        if (m_dependencies->isBatchRenamePath(resolved))
            heldElsewhere.insert(resolved);
    }
    const QSet<QString> ignored = m_undoIgnore.ignoredPaths();
    auto filtering = QtConcurrent::run([paths, heldElsewhere, ignored] {
        QList<Candidate> kept;
        for (const QString &path : paths) {
            const QFileInfo file(path);
            if (!file.exists())
                continue;
            const QString resolved = canonicalPath(path);
            if (heldElsewhere.contains(resolved) || ignored.contains(resolved))
                continue;
            kept.append(Candidate { path, resolved, QString() });
        }
        return kept;
    });
    const QList<Candidate> existing = co_await filtering;
    if (gone())
        co_return;

    QList<Candidate> claimed;
    QSet<QString> claims;
    for (const Candidate &candidate : existing) {
        if (m_dependencies->isBatchRenamePath(candidate.canonical) || m_processingFiles.contains(candidate.canonical))
            continue;
        m_processingFiles.insert(candidate.canonical);
        claims.insert(candidate.canonical);
        claimed.append(candidate);
    }
    if (claimed.isEmpty())
        co_return;

    // A name the program gave, or content already renamed, is not new.
    const QSet<QString> ignoredHashes = m_undoIgnore.ignoredHashes();
    // Off the database's own thread: hashing a large file must not hold up
    // everyone else's queries.
    auto checking = QtConcurrent::run([&database = m_database, claimed, ignoredHashes] {
        QList<Candidate> fresh;
        for (Candidate candidate : claimed) {
            const auto givenName = database.isPathProcessed(candidate.path);
            const auto givenResolved = database.isPathProcessed(candidate.canonical);
            if ((givenName.ok() && givenName.value()) || (givenResolved.ok() && givenResolved.value()))
                continue;
            const std::optional<QString> hash = FileHashService::hash(candidate.path);
            if (!hash) {
                qCCritical(lcProcessing).noquote() << "Failed to compute hash for:" << candidate.path;
                continue;
            }
            if (ignoredHashes.contains(*hash))
                continue;
            if (const auto seen = database.isHashProcessed(*hash); seen.ok() && seen.value()) {
                qCInfo(lcProcessing).noquote()
                    << "File already processed (by content hash), skipping:" << candidate.path;
                continue;
            }
            // An undo from any process: the user kept this file's name.
            if (const auto undone = database.isHashUndone(*hash); undone.ok() && undone.value()) {
                qCInfo(lcProcessing).noquote() << "File was renamed and undone before, skipping:" << candidate.path;
                continue;
            }
            candidate.hash = *hash;
            fresh.append(candidate);
        }
        return fresh;
    });
    const QList<Candidate> fresh = co_await checking;
    if (!self)
        co_return;
    QSet<QString> skipped = claims;
    for (const Candidate &candidate : fresh)
        skipped.remove(candidate.canonical);
    release(skipped);
    if (gone() || fresh.isEmpty()) {
        release(claims);
        co_return;
    }

    for (const Candidate &candidate : fresh) {
        const bool listed = std::any_of(m_items.cbegin(), m_items.cend(), [&](const MonitorQueueItem &item) {
            return item.id == candidate.canonical;
        });
        if (!listed)
            m_items.append(MonitorQueueItem { candidate.canonical,
                                              candidate.path,
                                              QFileInfo(candidate.path).fileName(),
                                              MonitorQueueStatus::Pending });
    }
    emit stateChanged();
    if (!m_dependencies->hasAIDataConsent()) {
        QStringList canonical;
        for (const Candidate &candidate : fresh)
            canonical.append(candidate.canonical);
        finishItems(canonical);
        release(claims);
        co_return;
    }

    // One request covers only files that share a pattern, a language and a
    // prompt; groups keep the order of their first file.
    QList<QPair<EffectiveAnalysisSettings, QList<Candidate>>> groups;
    for (const Candidate &candidate : fresh) {
        const EffectiveAnalysisSettings effective = m_dependencies->effectiveAnalysisForFile(candidate.path);
        auto group = std::find_if(groups.begin(), groups.end(), [&](const auto &g) { return g.first == effective; });
        if (group == groups.end())
            groups.append({ effective, { candidate } });
        else
            group->second.append(candidate);
    }
    for (const auto &group : std::as_const(groups)) {
        bool paused = false;
        auto analysing = analyseGroup(group.second, &paused);
        co_await analysing;
        if (!self)
            co_return;
        if (paused || generation != m_generation)
            break;
    }
    release(claims);
}

QCoro::Task<> MonitoringViewModel::analyseGroup(QList<Candidate> group, bool *pausedOut)
{
    const QPointer<MonitoringViewModel> self(this);
    const quint64 generation = m_generation;
    QList<QPair<Candidate, QString>> failures;
    QString unavailable;
    AIService *service = m_dependencies->aiService(&unavailable);
    if (!service) {
        for (const Candidate &candidate : group)
            failures.append({ candidate, unavailable });
        handleFailures(failures, pausedOut);
        co_return;
    }

    const Settings settings = m_dependencies->settingsProvider();
    const EffectiveAnalysisSettings effective = m_dependencies->effectiveAnalysisForFile(group.first().path);
    const AnalyzeBatchOptions options = batchOptionsFor(settings, effective);
    QStringList paths;
    QHash<QString, Candidate> byPath;
    for (const Candidate &candidate : group) {
        paths.append(candidate.path);
        byPath.insert(candidate.path, candidate);
    }
    AnalyzeFilesUseCase analysis(*service, m_dependencies->extractionOptions());
    analysis.setChunkSize(int(paths.size()));
    auto analysing = analysis.analyze(paths, options);
    const AnalyzeFilesResult analysed = co_await analysing;
    if (!self || generation != m_generation)
        co_return;
    const QString provider = BatchNaming::routeName(options, analysed.effectiveProvider);
    qCDebug(lcProcessing).noquote() << QStringLiteral("AI batch analysis completed for group of %1.").arg(paths.size());

    QStringList unreadable;
    for (const FileAnalysisOutcome &outcome : analysed.files) {
        const Candidate candidate = byPath.value(outcome.path);
        if (outcome.preparationFailed) {
            unreadable.append(candidate.canonical);
            emit fileFailed(candidate.path, outcome.error);
            continue;
        }
        if (!outcome.succeeded()) {
            failures.append({ candidate, outcome.error });
            continue;
        }
        setItemStatus(candidate.canonical, MonitorQueueStatus::Processing);
        auto renaming
            = m_dependencies->processAnalyzedFile(candidate.path, *outcome.analysis, candidate.hash, provider);
        const FileProcessingResult result = co_await renaming;
        if (!self)
            co_return;
        if (result.success) {
            finishItems({ candidate.canonical });
            emit fileRenamed(candidate.path, result.newPath.value_or(candidate.path));
        } else {
            failures.append({ candidate, result.error.value_or(QStringLiteral("Rename failed")) });
        }
        if (generation != m_generation)
            co_return;
    }
    if (!unreadable.isEmpty()) {
        qCCritical(lcAI).noquote()
            << QStringLiteral("Watcher skipped %1 files during extraction").arg(unreadable.size());
        finishItems(unreadable);
    }
    handleFailures(failures, pausedOut);
}

void MonitoringViewModel::handleFailures(const QList<QPair<Candidate, QString>> &failures, bool *pausedOut)
{
    if (failures.isEmpty())
        return;
    for (const auto &failure : failures) {
        if (const std::optional<QString> reason = providerRefusalReason(failure.second)) {
            const QString text = failure.second.trimmed();
            pauseForProviderFailure(text.isEmpty() ? DefaultRefusal : text, *reason);
            *pausedOut = true;
            return;
        }
    }
    QList<Candidate> retryable;
    QStringList exhausted;
    for (const auto &[candidate, message] : failures) {
        const QString text = message.trimmed();
        if (!text.isEmpty())
            m_retryFailureMessages.insert(candidate.canonical, text.left(FailureTextLimit));
        if (m_retryAttempts.value(candidate.canonical) >= MaxRetries) {
            qCCritical(lcProcessing).noquote() << "Monitoring gave up after retries:" << candidate.path << "-"
                                               << m_retryFailureMessages.value(candidate.canonical);
            emit fileFailed(candidate.path, text);
            exhausted.append(candidate.canonical);
            if (m_dependencies->diagnostics)
                m_dependencies->diagnostics->reportFailure(
                    QStringLiteral("monitoring_batch"),
                    QStringLiteral("retry_exhausted"),
                    { { QStringLiteral("last_reason"),
                        BatchAnalysisIssues::failureReason(text, QStringLiteral("unknown")) } });
        } else {
            retryable.append(candidate);
        }
    }
    if (!retryable.isEmpty()) {
        qCWarning(lcProcessing).noquote() << QStringLiteral("Monitoring will retry %1 file(s)").arg(retryable.size());
        if (m_dependencies->diagnostics)
            m_dependencies->diagnostics->reportWarning(
                QStringLiteral("monitoring_batch"),
                QStringLiteral("retry_scheduled"),
                { { QStringLiteral("count"), QString::number(retryable.size()) } });
        scheduleRetries(retryable);
    }
    finishItems(exhausted);
}

void MonitoringViewModel::scheduleRetries(const QList<Candidate> &candidates)
{
    QMap<qint64, QList<Candidate>> byDelay;
    for (const Candidate &candidate : candidates) {
        setItemStatus(candidate.canonical, MonitorQueueStatus::Pending);
        const int attempt = ++m_retryAttempts[candidate.canonical];
        // 0.5, 1 and 2 seconds with the usual first delay; never above 5.
        const double factor = std::pow(2.0, attempt - 1);
        const qint64 delay = std::min<qint64>(qint64(factor * double(m_timing.firstRetry.count())), 5000);
        byDelay[delay].append(candidate);
    }
    for (auto it = byDelay.cbegin(); it != byDelay.cend(); ++it) {
        const QUuid id = QUuid::createUuid();
        auto *timer = new QTimer(this);
        timer->setSingleShot(true);
        const QList<Candidate> waiting = it.value();
        connect(timer, &QTimer::timeout, this, [this, id, waiting] {
            if (QTimer *done = m_retryTimers.take(id))
                done->deleteLater();
            if (m_isPaused || isBlockedByAIMode())
                return;
            QStringList again;
            QStringList dropped;
            for (const Candidate &candidate : waiting) {
                if (m_dependencies->isBatchRenamePath(candidate.canonical) || !QFileInfo::exists(candidate.path))
                    dropped.append(candidate.canonical);
                else
                    again.append(candidate.path);
            }
            finishItems(dropped);
            if (!again.isEmpty())
                m_queue.enqueue(again);
        });
        m_retryTimers.insert(id, timer);
        timer->start(std::chrono::milliseconds(it.key()));
    }
}

void MonitoringViewModel::pauseForProviderFailure(const QString &message, const QString &reason)
{
    if (!m_isPaused)
        m_isPaused = true;
    stopWatching();
    m_dependencies->persistMonitoringPaused(true);
    post(PausedTitle, message);
    qCCritical(lcAI).noquote() << "Monitoring paused after non-retryable provider failure:" << reason;
    if (m_dependencies->diagnostics) {
        m_dependencies->diagnostics->reportFailure(QStringLiteral("monitoring_batch"), reason);
        m_dependencies->diagnostics->track(QStringLiteral("monitoring_paused"),
                                           { { QStringLiteral("reason"), reason } });
    }
    emit pausedForFailure(message);
    emit stateChanged();
}

void MonitoringViewModel::announceFolderReady(const QString &folder)
{
    if (!m_dependencies || shouldNotStart())
        return;
    post(QStringLiteral("Nomly is Ready!"), QStringLiteral("Now watching %1 for new supported files").arg(folder));
}

void MonitoringViewModel::post(const QString &title, const QString &body)
{
    if (m_dependencies && m_dependencies->notify)
        m_dependencies->notify(title, body);
}

} // namespace Nomly
