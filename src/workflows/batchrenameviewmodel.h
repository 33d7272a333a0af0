#pragma once

#include <QDateTime>
#include <QFuture>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/analyzebatchoptions.h"
#include "ai/remoteconfig.h"
#include "content/fileextractionservice.h"
#include "history/processedfile.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/settings.h"
#include "workflows/batchanalysisissues.h"
#include "workflows/batchrenameitem.h"
#include "workflows/consentreviewsource.h"

namespace Nomly {

class AIService;
class ChunkAnalyzer;
class Database;
class UndoIgnoreService;

// AI Rename: files handed in by a drop, a picker, the command line or a
// second process become items; items are analysed chunk by chunk, each
// chunk's names shown as soon as it lands; the user edits what they like;
// rename all moves every analysed item at once, with the journal, and each
// item keeps its own outcome. Every face drives the same batch.
//
// Lives on the main thread; the work it starts runs on worker threads and
// comes back here before it touches an item. Clearing the batch bumps a
// generation, and late work of an older generation changes nothing.
class BatchRenameViewModel final : public QObject
{
    Q_OBJECT

public:
    // Where files came from; it picks what the consent request says.
    enum class DropSource
    {
        Dropzone,
        Picker,
        Dock,
        Window,
    };

    // What the batch needs from the application, given once after creation.
    // Until then every operation is a quiet no-op.
    struct Dependencies
    {
        std::function<Settings()> settingsProvider;
        std::function<EffectiveAnalysisSettings()> effectiveAnalysisForBatch;
        // Optional: what the AI is asked with; the settings' route when unset.
        std::function<AnalyzeBatchOptions(const EffectiveAnalysisSettings &)> batchOptions;
        std::function<bool()> hasAIDataConsent;
        std::function<RemoteConfig()> remoteConfig;
        std::function<ExtractionOptions()> extractionOptions;
        // Null, with the reason, when no route can be opened.
        std::function<AIService *(QString *error)> aiService;
        std::function<void(const ProcessedFile &)> addActivityFile;
        std::function<void(ConsentReviewSource)> requestConsentReview;
        std::function<void(DropSource, int skippedCount)> onNoSupportedFilesFound;
        // Optional: Monitor's hand in the same files.
        std::function<bool(const QString &resolvedPath)> isMonitorProcessingPath;
        std::function<void(const QStringList &resolvedPaths)> removeMonitorQueuePaths;
        // Optional: how the end of an analysis is told.
        std::function<void(const QString &title, const QString &body)> notify;
    };

    BatchRenameViewModel(Database &database, UndoIgnoreService &undoIgnore, QObject *parent = nullptr);
    ~BatchRenameViewModel() override;

    void setDependencies(Dependencies dependencies);

    const QList<BatchRenameItem> &items() const { return m_items; }

    // -1 when the item is gone.
    int indexOf(const QUuid &id) const;

    bool isConfirmingRenames() const { return m_isConfirmingRenames; }

    // What the screen counts: analysed at least once, done either way, and
    // the files of this batch so far (items removed still count).
    int analyzedCount() const;
    int processedCount() const;
    int totalCount() const;
    double progress() const;
    bool isBatchAnalyzing() const;
    bool isBatchDone() const;
    bool canAcceptNewFiles() const;
    // Whole seconds of the open or last analysis run; none before a start.
    std::optional<qint64> elapsedSeconds(const QDateTime &now) const;

    // The limit alert: set when a drop met the batch limit.
    bool showBatchLimitAlert() const { return m_showBatchLimitAlert; }

    QString batchLimitAlertMessage() const { return m_batchLimitAlertMessage; }

    void dismissBatchLimitAlert();

    // Whether the files were taken: false without consent (the review is
    // requested) or while renaming. A drop on a finished batch starts a new
    // one. Collection runs in the background; drops in a row run in order.
    bool addFiles(const QStringList &paths, DropSource source, bool startAnalysis = true);
    void startBatchAnalysis();
    // Items analysed before, such as those of a saved plan, join the batch
    // ready to rename. False while renaming.
    bool addAnalyzedItems(const QList<BatchRenameItem> &items);
    // Lets the chunk in flight land, then analyses nothing more; the items
    // not reached stay pending.
    void stopAnalysis();
    void clearBatch();
    void removeItem(const QUuid &id);
    // An empty name gives the suggestion back.
    void updateEditedName(const QUuid &id, const QString &name);

    // Asks the AI again for one item, telling it the names turned down so
    // far (the present suggestion among them); a suggestion that repeats
    // one of them is asked for once more.
    QCoro::Task<> regenerate(QUuid id);
    // Regenerates a failed item whose failure a new call might cure.
    void retry(const QUuid &id);
    bool canRetryFailure(const QUuid &id) const;

    // The failures counted in words, for the screen's summary.
    QList<BatchAnalysisIssueSummary> issueSummaries() const;
    QString statusText() const;
    QString issueDetails() const;

    // Renames every analysed item that has a name, each to a destination
    // that no other item of the run takes. Everything it has to tell goes
    // into the items.
    QCoro::Task<> renameAll();

    // No intake and no analysis are running.
    bool isIdle() const { return !m_intakeRunning && !m_analyzing; }

    // Ends when no intake and no analysis are running.
    QCoro::Task<> untilIdle();

    // The run every record of this batch carries in the history.
    QString runId() const { return m_runId; }

    void setRunId(const QString &runId) { m_runId = runId; }

    // True while rename all moves the file at this resolved path; Monitor
    // leaves such files alone.
    bool isBatchRenamePath(const QString &resolvedPath) const { return m_batchRenamingPaths.contains(resolvedPath); }

Q_SIGNALS:
    void itemsInserted(int first, int last);
    void itemChanged(int row);
    void itemRemoved(int row);
    void batchCleared();
    // Counts, progress, the renaming state or the limit alert changed.
    void stateChanged();
    // A chunk's names have landed in the items.
    void chunkAnalyzed();
    // A run of analysis has ended, or intake ended with nothing to analyse.
    void becameIdle();
    void renameAllFinished(bool allSucceeded);

private:
    struct Intake
    {
        QStringList paths;
        DropSource source;
        bool startAnalysis;
    };
    struct Resolution;

    QCoro::Task<> runIntake();
    QCoro::Task<> runAnalysis();
    QCoro::Task<> analyzeChunk(QList<QUuid> chunk, QList<QUuid> next);
    void applyResolutions(const QList<Resolution> &resolutions,
                          const QHash<QString, QString> &hashes,
                          const QString &provider);
    // Metadata-only names are shown before the files are read; their hashes
    // follow.
    QCoro::Task<> startBackgroundHashing(QStringList paths);
    void finishAnalysis();
    void fail(int row, const QString &message);
    int rowForPath(const QString &path) const;
    void setConfirming(bool confirming);
    void showLimitAlert(const QString &message);
    AnalyzeBatchOptions batchOptions(const EffectiveAnalysisSettings &effective) const;

    Database &m_database;
    UndoIgnoreService &m_undoIgnore;
    std::optional<Dependencies> m_dependencies;
    QList<BatchRenameItem> m_items;
    QSet<QUuid> m_analyzedItemIds;
    bool m_isConfirmingRenames = false;
    std::optional<QDateTime> m_batchAnalysisStartedAt;
    std::optional<QDateTime> m_batchAnalysisEndedAt;
    int m_batchTotalCountSnapshot = 0;
    bool m_showBatchLimitAlert = false;
    QString m_batchLimitAlertMessage;
    quint64 m_generation = 0;
    QList<Intake> m_intakes;
    bool m_intakeRunning = false;
    bool m_analyzing = false;
    bool m_stopRequested = false;
    QSet<QString> m_batchRenamingPaths;
    QList<QFuture<QHash<QString, QString>>> m_backgroundHashing;
    QString m_runId;
    // Shared with the analysis in flight, which may outlive a clear.
    std::shared_ptr<ChunkAnalyzer> m_analyzer;
    AIService *m_analyzerService = nullptr;
    std::shared_ptr<std::atomic_bool> m_intakeCancelled;
};

} // namespace Nomly
