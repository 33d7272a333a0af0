#include "history/statisticsviewmodel.h"

#include <QPointer>

#include <qcoro/qcorofuture.h>

#include "history/database.h"
#include "platform/logcategories.h"

namespace Nomly {

StatisticsViewModel::StatisticsViewModel(Database &database, QObject *parent)
    : QObject(parent)
    , m_database(database)
{
    m_reloadTimer.setSingleShot(true);
    m_reloadTimer.setInterval(ReloadDelay);
    connect(&m_reloadTimer, &QTimer::timeout, this, [this] {
        auto loading = reload();
        Q_UNUSED(loading);
    });
}

Result<StatsSnapshot> StatisticsViewModel::load(Database &database, const QDateTime &now, std::optional<int> windowDays)
{
    const StatsQueryBounds bounds = StatsQueryBounds::at(now, windowDays);
    const Result<StatsAggregates> aggregates
        = database.fetchStatsAggregates(bounds.monthStart, bounds.previousMonthStart, bounds.dailySince);
    if (!aggregates)
        return aggregates.failure();
    return StatsSnapshot::from(aggregates.value(), now.toLocalTime().date(), windowDays);
}

void StatisticsViewModel::scheduleReload()
{
    // A load in flight is overtaken: only a newer generation publishes.
    ++m_loadGeneration;
    m_reloadTimer.start();
}

void StatisticsViewModel::setDailyWindow(std::optional<int> days)
{
    if (days)
        days = std::max(*days, 1);
    if (days == m_dailyWindowDays)
        return;
    m_dailyWindowDays = days;
    scheduleReload();
}

QCoro::Task<> StatisticsViewModel::reload()
{
    m_reloadTimer.stop();
    const quint64 generation = ++m_loadGeneration;
    if (m_activeLoadCount++ == 0)
        emit loadingChanged();
    QPointer<StatisticsViewModel> self(this);
    const std::optional<int> window = m_dailyWindowDays;
    const QDateTime now = QDateTime::currentDateTime();
    auto loading = m_database.run([now, window](Database &database) { return load(database, now, window); });
    const Result<StatsSnapshot> built = co_await loading;
    if (!self)
        co_return;
    if (generation == m_loadGeneration) {
        if (built) {
            m_snapshot = built.value();
            m_hasLoadedAtLeastOnce = true;
            emit snapshotChanged();
        } else {
            qCCritical(lcDatabase).noquote() << "Failed to load stats aggregates:" << built.error();
            m_hasLoadedAtLeastOnce = true;
        }
    }
    if (--m_activeLoadCount == 0)
        emit loadingChanged();
}

} // namespace Nomly
