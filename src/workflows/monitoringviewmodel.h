#pragma once

#include <QFileSystemWatcher>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUuid>
#include <functional>
#include <memory>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/imageanalysis.h"
#include "ai/remoteconfig.h"
#include "content/fileextractionservice.h"
#include "history/processedfile.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/settings.h"
#include "workflows/fileprocessingresult.h"
#include "workflows/filewatcher.h"
#include "workflows/processingqueue.h"

namespace Nomly {

class Diagnostics;

class AIService;
class Database;
class UndoIgnoreService;

enum class MonitorQueueStatus
{
    Pending,
    Processing,
};

// A file in Monitor's pipeline, as the user sees it.
struct MonitorQueueItem
{
    QString id; // the canonical path
    QString path;
    QString fileName;
    MonitorQueueStatus status = MonitorQueueStatus::Pending;

    bool operator==(const MonitorQueueItem &) const = default;
};

// Monitor: watched folders whose new files are analysed and renamed with no
// one asking. Decides whether the watcher runs (onboarding, consent, folders,
// the pause, the AI mode and the network), turns settled files into queue
// entries, scans for what arrived shortly before a start, and takes each
// group the queue hands back through de-duplication, analysis per settings
// group and renaming, retrying what failed for a passing reason and pausing
// when the provider refuses for good.
//
// Lives on one thread. Until it has its dependencies every operation is a
// quiet no-op.
class MonitoringViewModel final : public QObject
{
    Q_OBJECT

public:
    struct Dependencies
    {
        std::function<Settings()> settingsProvider;
        std::function<EffectiveAnalysisSettings(const QString &path)> effectiveAnalysisForFile;
        std::function<bool()> isOnboardingComplete;
        std::function<bool()> isOffline;
        std::function<bool()> hasAIDataConsent;
        // Whether AI Rename holds this resolved path.
        std::function<bool(const QString &resolvedPath)> isBatchRenamePath;
        std::function<QCoro::Task<FileProcessingResult>(
            QString path, ImageAnalysis analysis, std::optional<QString> contentHash, QString aiProvider)>
            processAnalyzedFile;
        std::function<void(bool paused)> persistMonitoringPaused;
        std::function<RemoteConfig()> remoteConfig;
        std::function<ExtractionOptions()> extractionOptions;
        // Null, with the reason, when no route can be opened.
        std::function<AIService *(QString *error)> aiService;
        // The user is told through it; optional.
        std::function<void(const QString &title, const QString &body)> notify;
        // Where failures and pauses are recorded; optional.
        Diagnostics *diagnostics = nullptr;
    };

    // The delays of the rules, which tests shorten.
    struct Timing
    {
        std::chrono::milliseconds flush { 150 };
        std::chrono::milliseconds networkCalm { 2000 };
        std::chrono::milliseconds firstRetry { 500 };
        std::chrono::milliseconds settle = FileWatcher::DefaultSettleDelay;
    };

    static constexpr int MaxRetries = 3;
    static constexpr std::chrono::seconds CatchUpWindow { 600 };

    MonitoringViewModel(Database &database, UndoIgnoreService &undoIgnore, QObject *parent = nullptr);
    ~MonitoringViewModel() override;

    void setDependencies(Dependencies dependencies);

    void setTiming(Timing timing) { m_timing = timing; }

    // Starts the watcher when nothing holds Monitor back; a second call with
    // the same configuration does nothing.
    void startWatching();
    // After settings, onboarding or consent changed, or a watched folder went.
    void reconfigureWatcher();
    // Stops the watcher and forgets what waits; the next start begins anew.
    void stopWatching();
    void togglePause();
    // Follows a pause stored by another process.
    void setPaused(bool paused);
    // Only the last change within the calm takes effect.
    void handleNetworkChange(bool isConnected);
    // After the user added a folder: tells them Monitor watches it now, when
    // it does (set-up done, consent given, neither paused nor offline).
    void announceFolderReady(const QString &folder);
    // The folders that exist now; tells of those that went away when asked.
    QStringList refreshFolderAvailability(bool notify);

    bool isPaused() const { return m_isPaused; }

    bool isWatching() const;
    QStringList watchedFolders() const;
    // Off, or held back by the AI mode or the network.
    bool isBlockedByAIMode() const;

    const ProcessingQueue &queue() const { return m_queue; }

    ProcessingQueue &queue() { return m_queue; }

    const QList<MonitorQueueItem> &monitorQueueItems() const { return m_items; }

    QSet<QString> unavailableWatchedFolders() const { return m_unavailableFolders; }

    // Files in the pipeline that catch-up did not bring.
    bool hasNonCatchUpWork() const;

    // A group is being worked on (also one let go by a stop, until its file
    // in flight has its record).
    bool isBusy() const { return m_activeBatches > 0; }

    bool isProcessingPath(const QString &resolvedPath) const { return m_processingFiles.contains(resolvedPath); }

    // AI Rename takes these over.
    void removeQueuedPaths(const QStringList &resolvedPaths);

    // The settled-file callback of the watcher, also for tests.
    void bufferWatcherPath(const QString &path);
    // The group handler of the queue.
    QCoro::Task<> processBatch(QStringList paths);

signals:
    void stateChanged();
    void fileRenamed(const QString &oldPath, const QString &newPath);
    void fileFailed(const QString &path, const QString &message);
    // The pause after a provider refused, with its words.
    void pausedForFailure(const QString &message);

private:
    struct Retry;

    struct Candidate
    {
        QString path;
        QString canonical;
        QString hash;
    };

    bool hasDependencies() const { return m_dependencies != nullptr; }

    bool shouldNotStart() const;
    QSet<QString> watchedExtensions() const;
    FileWatcherFilter filter() const;
    void ensureWatcher();
    void clearMonitorState();
    void flushWatcherPaths();
    QCoro::Task<> catchUp(QStringList folders, FileWatcherFilter filter);
    void finishItems(const QStringList &canonicalPaths);
    void release(const QSet<QString> &canonicalPaths);
    void setItemStatus(const QString &canonical, MonitorQueueStatus status);
    QCoro::Task<> analyseGroup(QList<Candidate> group, bool *pausedOut);
    void handleFailures(const QList<QPair<Candidate, QString>> &failures, bool *pausedOut);
    void scheduleRetries(const QList<Candidate> &paths);
    void pauseForProviderFailure(const QString &message, const QString &reason);
    void post(const QString &title, const QString &body);
    void applyNetworkChange(bool isConnected);
    void watchForReturn(const QSet<QString> &missing);

    Database &m_database;
    UndoIgnoreService &m_undoIgnore;
    std::unique_ptr<Dependencies> m_dependencies;
    Timing m_timing;
    ProcessingQueue m_queue;
    std::unique_ptr<FileWatcher> m_watcher;
    bool m_isPaused = false;
    QList<MonitorQueueItem> m_items;
    QSet<QString> m_unavailableFolders;
    QSet<QString> m_processingFiles;
    QHash<QString, int> m_retryAttempts;
    QHash<QString, QString> m_retryFailureMessages;
    QHash<QUuid, QTimer *> m_retryTimers;
    QSet<QString> m_pendingWatcherPaths;
    QSet<QString> m_catchUpPaths;
    // The nearest existing folders above the missing watched ones, so that a
    // folder that comes back (a disk mounted again) is watched again.
    QFileSystemWatcher m_returnWatch;
    QTimer m_flush;
    QTimer m_networkCalm;
    bool m_lastConnected = true;
    // Bumped whenever Monitor stops, so that work begun before touches
    // nothing after.
    quint64 m_generation = 0;
    int m_activeBatches = 0;
};

} // namespace Nomly
