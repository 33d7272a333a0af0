#pragma once

#include <QDate>
#include <QList>
#include <QString>
#include <optional>

#include "history/filetypegroup.h"
#include "history/statsaggregates.h"

namespace Nomly {

struct DailyCount
{
    QDate date;
    qint64 count = 0;

    bool operator==(const DailyCount &) const = default;
};

struct GroupSlice
{
    FileTypeGroup group = FileTypeGroup::Image;
    qint64 count = 0;

    bool operator==(const GroupSlice &) const = default;
};

struct ExtensionSlice
{
    QString ext; // with its dot: ".pdf"
    FileTypeGroup group = FileTypeGroup::Image;
    qint64 count = 0;

    bool operator==(const ExtensionSlice &) const = default;
};

// What the statistics show, built from the aggregates of the rename events.
// Renames count as they happened: an undo or a cleared activity list lowers
// nothing.
struct StatsSnapshot
{
    qint64 totalRenamed = 0;
    qint64 monthDelta = 0; // this month's renames less the month before's
    qint64 monitorCount = 0;
    int currentStreakDays = 0;
    int longestStreakDays = 0;
    // One entry per local calendar day, oldest first, days without renames
    // included; the window's days, or from the first rename to today.
    QList<DailyCount> dailyCounts;
    QList<GroupSlice> byGroup; // groups with renames, in group order
    // Most renamed first; ties in group order, then by name with numbers
    // compared by value.
    QList<ExtensionSlice> byExtension;
    int extensionTypeCount = 0;

    // `today` is the local calendar's; `windowDays` the chart's window, none
    // for every day.
    static StatsSnapshot from(const StatsAggregates &aggregates, QDate today, std::optional<int> windowDays);

    bool operator==(const StatsSnapshot &) const = default;
};

// The streak that runs up to today, or to yesterday while today has no
// rename yet; days are "yyyy-MM-dd".
int currentStreak(const QStringList &activeDays, QDate today);
// The longest run of consecutive days; days that don't read are passed over.
int longestStreak(const QStringList &activeDays);

// The stored-form UTC bounds of the aggregate query for a moment: the start
// of its local month, of the month before, and of the chart's first day.
struct StatsQueryBounds
{
    QString monthStart;
    QString previousMonthStart;
    std::optional<QString> dailySince;

    static StatsQueryBounds at(const QDateTime &now, std::optional<int> windowDays);

    bool operator==(const StatsQueryBounds &) const = default;
};

} // namespace Nomly
