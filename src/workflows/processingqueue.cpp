#include "workflows/processingqueue.h"

#include <QPointer>
#include <algorithm>

namespace Nomly {

namespace {

// A long queue is not shifted per group: the spent front goes only when it
// is large, or at least half of the list.
constexpr int CompactionThreshold = 511;

} // namespace

ProcessingQueue::ProcessingQueue(std::function<int()> maxConcurrentProcessing,
                                 std::function<int()> processingDelayMs,
                                 QObject *parent)
    : QObject(parent)
    , m_maxConcurrentProcessing(std::move(maxConcurrentProcessing))
    , m_processingDelayMs(std::move(processingDelayMs))
{
    m_sessionEnd.setSingleShot(true);
    m_sessionEnd.setInterval(SessionTail);
    connect(&m_sessionEnd, &QTimer::timeout, this, [this] { endSession(m_sessionEndGeneration); });
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, [this] {
        if (m_isProcessing && m_pauseGeneration == m_generation)
            work(m_generation);
    });
}

void ProcessingQueue::enqueue(const QStringList &paths)
{
    int added = 0;
    for (const QString &path : paths) {
        if (m_lookup.contains(path))
            continue;
        m_lookup.insert(path);
        m_pending.append(path);
        ++added;
    }
    m_totalFilesInSession += added;
    emit changed();
    startWorker();
}

void ProcessingQueue::clear()
{
    ++m_generation;
    m_sessionEnd.stop();
    m_pause.stop();
    m_pending.clear();
    m_lookup.clear();
    m_head = 0;
    m_totalFilesInSession = m_processedCount;
    m_currentBatch.clear();
    m_currentlyProcessing.reset();
    m_isProcessing = false;
    emit changed();
}

void ProcessingQueue::remove(const QSet<QString> &paths)
{
    if (paths.isEmpty())
        return;
    QStringList kept;
    int removed = 0;
    for (qsizetype i = m_head; i < m_pending.size(); ++i) {
        const QString &path = m_pending.at(i);
        if (paths.contains(path)) {
            m_lookup.remove(path);
            ++removed;
        } else {
            kept.append(path);
        }
    }
    m_pending = kept;
    m_head = 0;
    if (removed > 0)
        m_totalFilesInSession = std::max(m_totalFilesInSession - removed, 0);
    emit changed();
}

bool ProcessingQueue::isProcessing(const QString &path) const
{
    return m_currentlyProcessing == path || m_currentBatch.contains(path);
}

void ProcessingQueue::startWorker()
{
    if (m_isProcessing || queueCount() == 0)
        return;
    m_isProcessing = true;
    ++m_generation;
    // A file within the tail of the last session carries that session on.
    m_sessionEnd.stop();
    work(m_generation);
}

QCoro::Task<> ProcessingQueue::work(quint64 generation)
{
    const QPointer<ProcessingQueue> self(this);
    while (generation == m_generation) {
        if (queueCount() == 0) {
            m_isProcessing = false;
            m_sessionEndGeneration = generation;
            m_sessionEnd.start();
            emit changed();
            co_return;
        }
        const int take = std::min(std::max(m_maxConcurrentProcessing(), 1), queueCount());
        const QStringList group = m_pending.mid(m_head, take);
        for (const QString &path : group)
            m_lookup.remove(path);
        m_head += take;
        compact();
        m_currentBatch = group;
        m_currentlyProcessing = group.first();
        emit changed();

        if (m_handler)
            co_await m_handler(group);
        if (!self || generation != m_generation)
            co_return;
        m_currentBatch.clear();
        m_currentlyProcessing.reset();
        m_processedCount += int(group.size());
        emit changed();

        // The pause is a timer, not a suspended worker, so that a stop or
        // the end of the process finds nothing waiting mid-way.
        if (const int delay = m_processingDelayMs(); delay > 0) {
            m_pauseGeneration = generation;
            m_pause.start(std::chrono::milliseconds(delay));
            co_return;
        }
    }
}

void ProcessingQueue::compact()
{
    if (m_head > CompactionThreshold || (m_head >= 1 && m_head >= m_pending.size() / 2)) {
        m_pending.remove(0, m_head);
        m_head = 0;
    }
}

void ProcessingQueue::endSession(quint64 generation)
{
    if (generation != m_generation || queueCount() != 0 || !m_currentBatch.isEmpty())
        return;
    m_processedCount = 0;
    m_totalFilesInSession = 0;
    emit changed();
}

} // namespace Nomly
