#pragma once

#include <QList>
#include <QPair>
#include <QString>

namespace Nomly {

// The numbers the statistics screen shows, read from the rename events in one
// pass. Days are local-time "yyyy-MM-dd" strings.
struct StatsAggregates
{
    qint64 total = 0;
    qint64 monthCount = 0;
    qint64 previousMonthCount = 0;
    qint64 monitorCount = 0;
    QList<QPair<QString, qint64>> dailyCounts; // ordered by day
    QStringList activeDays;
    QList<QPair<QString, qint64>> extensionCounts;

    bool operator==(const StatsAggregates &) const = default;
};

} // namespace Nomly
