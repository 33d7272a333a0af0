#pragma once

#include <QObject>
#include <QTimer>
#include <optional>

#include <qcoro/qcorotask.h>

#include "history/statssnapshot.h"
#include "platform/result.h"

namespace Nomly {

class Database;

// The statistics of the renames, reloaded on demand. Lives on the main
// thread; the query and the building of the snapshot run on the database's
// thread, and only the latest of overlapping loads publishes.
class StatisticsViewModel final : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds ReloadDelay { 300 };
    static constexpr int DefaultWindowDays = 30;

    explicit StatisticsViewModel(Database &database, QObject *parent = nullptr);

    // One load: the aggregates for the local month and window of `now`, and
    // the snapshot built from them. Runs on the caller's thread.
    static Result<StatsSnapshot> load(Database &database, const QDateTime &now, std::optional<int> windowDays);

    const StatsSnapshot &snapshot() const { return m_snapshot; }

    bool isLoading() const { return m_activeLoadCount > 0; }

    bool hasLoadedAtLeastOnce() const { return m_hasLoadedAtLeastOnce; }

    // The chart's window in days; none for every day.
    std::optional<int> dailyWindowDays() const { return m_dailyWindowDays; }

    // Loads now; a pending delayed reload is dropped.
    QCoro::Task<> reload();
    // Loads once the window has stopped changing for ReloadDelay, so that
    // several changes cost one query.
    void scheduleReload();
    void setDailyWindow(std::optional<int> days);

signals:
    void snapshotChanged();
    void loadingChanged();

private:
    Database &m_database;
    StatsSnapshot m_snapshot;
    bool m_hasLoadedAtLeastOnce = false;
    std::optional<int> m_dailyWindowDays = DefaultWindowDays;
    quint64 m_loadGeneration = 0;
    int m_activeLoadCount = 0;
    QTimer m_reloadTimer;
};

} // namespace Nomly
