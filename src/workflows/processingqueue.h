#pragma once

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <functional>
#include <optional>

#include <qcoro/qcorotask.h>

namespace Nomly {

// The paths that wait for Monitor, in arrival order and each once. A worker
// hands them to the handler in groups, one group at a time, with a pause
// between groups, and counts what the session has seen and finished. The
// queue does no file work: what goes wrong in a group is the handler's, which
// enqueues again what it wants tried again.
//
// Lives on one thread; `changed` follows every change of what it shows.
class ProcessingQueue final : public QObject
{
    Q_OBJECT

public:
    using BatchHandler = std::function<QCoro::Task<>(QStringList paths)>;

    // How long the counters of a drained session stay shown.
    static constexpr std::chrono::seconds SessionTail { 5 };

    // Group size and pause between groups, asked each time they are needed.
    explicit ProcessingQueue(std::function<int()> maxConcurrentProcessing,
                             std::function<int()> processingDelayMs,
                             QObject *parent = nullptr);

    void setBatchHandler(BatchHandler handler) { m_handler = std::move(handler); }

    // Tests shorten it.
    void setSessionTail(std::chrono::milliseconds tail) { m_sessionEnd.setInterval(tail); }

    // Adds the paths not already waiting; a path in the group under way may
    // wait again. An empty list still makes sure a worker runs.
    void enqueue(const QStringList &paths);
    // Drops everything waiting and lets go of the group under way: whatever
    // it returns changes nothing here.
    void clear();
    // Takes paths out of what waits; the group under way keeps them.
    void remove(const QSet<QString> &paths);
    bool isProcessing(const QString &path) const;

    int queueCount() const { return int(m_pending.size()) - m_head; }

    std::optional<QString> currentlyProcessing() const { return m_currentlyProcessing; }

    QStringList currentBatch() const { return m_currentBatch; }

    int processedCount() const { return m_processedCount; }

    int totalFilesInSession() const { return m_totalFilesInSession; }

    bool isWorking() const { return m_isProcessing; }

    // Waiting paths, in order.
    QStringList waitingPaths() const { return m_pending.mid(m_head); }

signals:
    void changed();

private:
    void startWorker();
    QCoro::Task<> work(quint64 generation);
    void compact();
    void endSession(quint64 generation);

    std::function<int()> m_maxConcurrentProcessing;
    std::function<int()> m_processingDelayMs;
    BatchHandler m_handler;

    QStringList m_pending;
    int m_head = 0;
    QSet<QString> m_lookup;
    std::optional<QString> m_currentlyProcessing;
    QStringList m_currentBatch;
    int m_processedCount = 0;
    int m_totalFilesInSession = 0;
    bool m_isProcessing = false;
    quint64 m_generation = 0;
    QTimer m_sessionEnd;
    quint64 m_sessionEndGeneration = 0;
    QTimer m_pause;
    quint64 m_pauseGeneration = 0;
};

} // namespace Nomly
