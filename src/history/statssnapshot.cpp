#include "history/statssnapshot.h"

#include <QCollator>
#include <QHash>
#include <QTimeZone>
#include <algorithm>

#include "naming/naturalorder.h"

namespace Nomly {

namespace {

QDate dayOf(const QString &text)
{
    return QDate::fromString(text, Qt::ISODate);
}

QString storedForm(const QDateTime &moment)
{
    return moment.toUTC().toString(Qt::ISODate);
}

QDateTime localStartOf(QDate day)
{
    return day.startOfDay(QTimeZone::systemTimeZone());
}

QList<DailyCount> dailySeries(const StatsAggregates &aggregates, QDate today, std::optional<int> windowDays)
{
    QHash<QDate, qint64> counts;
    for (const auto &[day, count] : aggregates.dailyCounts)
        counts.insert(dayOf(day), count);
    QDate start;
    if (windowDays) {
        start = today.addDays(1 - std::max(*windowDays, 1));
    } else {
        // Rows come oldest first; one whose moment didn't read has no day
        // and sorts before them all.
        for (const auto &[day, count] : aggregates.dailyCounts) {
            if ((start = dayOf(day)).isValid())
                break;
        }
        if (!start.isValid())
            return {};
        start = std::min(start, today);
    }
    QList<DailyCount> days;
    days.reserve(start.daysTo(today) + 1);
    for (QDate day = start; day <= today; day = day.addDays(1))
        days.append({ day, counts.value(day) });
    return days;
}

} // namespace

int currentStreak(const QStringList &activeDays, QDate today)
{
    QSet<QDate> active;
    for (const QString &day : activeDays)
        active.insert(dayOf(day));
    QDate day = active.contains(today) ? today : today.addDays(-1);
    int streak = 0;
    for (; active.contains(day); day = day.addDays(-1))
        ++streak;
    return streak;
}

int longestStreak(const QStringList &activeDays)
{
    QList<QDate> days;
    for (const QString &text : activeDays) {
        if (const QDate day = dayOf(text); day.isValid())
            days.append(day);
    }
    std::sort(days.begin(), days.end());
    days.erase(std::unique(days.begin(), days.end()), days.end());
    int longest = days.isEmpty() ? 0 : 1;
    int run = 1;
    for (qsizetype i = 1; i < days.size(); ++i) {
        run = days.at(i - 1).daysTo(days.at(i)) == 1 ? run + 1 : 1;
        longest = std::max(longest, run);
    }
    return longest;
}

StatsSnapshot StatsSnapshot::from(const StatsAggregates &aggregates, QDate today, std::optional<int> windowDays)
{
    StatsSnapshot snapshot;
    snapshot.totalRenamed = aggregates.total;
    snapshot.monthDelta = aggregates.monthCount - aggregates.previousMonthCount;
    snapshot.monitorCount = aggregates.monitorCount;
    snapshot.currentStreakDays = currentStreak(aggregates.activeDays, today);
    snapshot.longestStreakDays = longestStreak(aggregates.activeDays);
    snapshot.dailyCounts = dailySeries(aggregates, today, windowDays);

    QHash<QString, ExtensionSlice> slices;
    for (const auto &[extension, count] : aggregates.extensionCounts) {
        const QString lowered = extension.toLower();
        const std::optional<FileTypeGroup> group = fileTypeGroupOf(lowered);
        if (!group)
            continue;
        ExtensionSlice &slice = slices[lowered];
        slice = { QLatin1Char('.') + lowered, *group, slice.count + count };
    }
    std::array<qint64, FileTypeGroupRawValues.size()> perGroup {};
    for (const ExtensionSlice &slice : std::as_const(slices)) {
        perGroup.at(static_cast<std::size_t>(slice.group)) += slice.count;
        snapshot.byExtension.append(slice);
    }
    for (const auto &[group, name] : FileTypeGroupRawValues) {
        if (const qint64 count = perGroup.at(static_cast<std::size_t>(group)); count > 0)
            snapshot.byGroup.append({ group, count });
    }
    const QCollator collator = naturalOrderCollator();
    std::sort(snapshot.byExtension.begin(),
              snapshot.byExtension.end(),
              [&collator](const ExtensionSlice &a, const ExtensionSlice &b) {
                  if (a.count != b.count)
                      return a.count > b.count;
                  if (a.group != b.group)
                      return a.group < b.group;
                  return collator.compare(a.ext, b.ext) < 0;
              });
    snapshot.extensionTypeCount = int(snapshot.byExtension.size());
    return snapshot;
}

StatsQueryBounds StatsQueryBounds::at(const QDateTime &now, std::optional<int> windowDays)
{
    const QDate today = now.toLocalTime().date();
    QDateTime monthStart = localStartOf(QDate(today.year(), today.month(), 1));
    if (!monthStart.isValid())
        monthStart = now;
    QDateTime previousMonthStart = localStartOf(monthStart.toLocalTime().date().addMonths(-1));
    if (!previousMonthStart.isValid())
        previousMonthStart = monthStart;
    StatsQueryBounds bounds { storedForm(monthStart), storedForm(previousMonthStart), std::nullopt };
    if (windowDays)
        bounds.dailySince = storedForm(localStartOf(today.addDays(1 - std::max(*windowDays, 1))));
    return bounds;
}

} // namespace Nomly
