// The statistics: the snapshot's rules on known aggregates, the texts, the
// days and month bounds of a real database in zones with and without a
// daylight-saving change, and the debounced reload.

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <ctime>

#include <qcoro/qcorotask.h>

#include "history/database.h"
#include "history/statisticsviewmodel.h"
#include "history/statstexts.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

const QDate Today(2026, 11, 24);

QString day(int daysBeforeToday)
{
    return Today.addDays(-daysBeforeToday).toString(Qt::ISODate);
}

// Puts the process in a time zone, for SQLite's localtime and Qt alike.
void useTimeZone(const QByteArray &zone)
{
    qputenv("TZ", zone);
    tzset();
}

ProcessedFile renamed(const QString &name, const QString &at, ProcessedFileSource source)
{
    ProcessedFile file;
    file.originalPath = u"/home/u/Downloads/"_s + name;
    file.newPath = u"/home/u/Downloads/renamed-"_s + name;
    file.originalName = name;
    file.newName = u"renamed-"_s + name;
    file.aiProvider = u"file-metadata"_s;
    file.processedAt = at;
    file.source = source;
    return file;
}

} // namespace

class StatisticsTest : public QObject
{
    Q_OBJECT

private slots:

    void cleanup() { useTimeZone("UTC"); }

    void streaks_data()
    {
        QTest::addColumn<QStringList>("activeDays");
        QTest::addColumn<int>("current");
        QTest::addColumn<int>("longest");
        QTest::newRow("alive through today") << QStringList { day(0), day(1), day(2) } << 3 << 3;
        QTest::newRow("today not yet") << QStringList { day(1), day(2) } << 2 << 2;
        QTest::newRow("broken, longest stays") << QStringList { day(2), day(3), day(4) } << 0 << 3;
        QTest::newRow("gap splits runs") << QStringList { day(0), day(2), day(3), day(10), day(11), day(12), day(13) }
                                         << 1 << 4;
        // Across a month's end, and a day that doesn't read.
        QTest::newRow("month end, junk") << QStringList { u"2026-10-31"_s, u"2026-11-01"_s, u"junk"_s } << 0 << 2;
        QTest::newRow("none") << QStringList {} << 0 << 0;
    }

    void streaks()
    {
        QFETCH(QStringList, activeDays);
        QFETCH(int, current);
        QFETCH(int, longest);
        QCOMPARE(currentStreak(activeDays, Today), current);
        QCOMPARE(longestStreak(activeDays), longest);
    }

    void dailySeries_data()
    {
        QTest::addColumn<QStringList>("days");
        QTest::addColumn<int>("window"); // 0: every day
        QTest::addColumn<int>("entries");
        QTest::addColumn<QDate>("first");
        QTest::newRow("week, no events") << QStringList {} << 7 << 7 << Today.addDays(-6);
        QTest::newRow("window below one") << QStringList { day(3) } << -4 << 1 << Today;
        QTest::newRow("all since ten days") << QStringList { day(10), day(2) } << 0 << 11 << Today.addDays(-10);
        QTest::newRow("all, empty") << QStringList {} << 0 << 0 << QDate();
        QTest::newRow("all, only an unreadable day") << QStringList { u"junk"_s } << 0 << 0 << QDate();
        // A moment that didn't read has no day and comes first.
        QTest::newRow("all, unreadable day first") << QStringList { QString(), day(3) } << 0 << 4 << Today.addDays(-3);
    }

    void dailySeries()
    {
        QFETCH(QStringList, days);
        QFETCH(int, window);
        QFETCH(int, entries);
        QFETCH(QDate, first);
        StatsAggregates aggregates;
        for (const QString &each : days)
            aggregates.dailyCounts.append({ each, 2 });
        const StatsSnapshot snapshot
            = StatsSnapshot::from(aggregates, Today, window == 0 ? std::nullopt : std::optional(window));
        QCOMPARE(snapshot.dailyCounts.size(), entries);
        if (entries == 0)
            return;
        QCOMPARE(snapshot.dailyCounts.first().date, first);
        QCOMPARE(snapshot.dailyCounts.last().date, Today);
        qint64 sum = 0;
        for (const DailyCount &each : snapshot.dailyCounts)
            sum += each.count;
        QCOMPARE(sum, 2 * std::count_if(days.begin(), days.end(), [&](const QString &d) {
                          return QDate::fromString(d, Qt::ISODate) >= first;
                      }));
    }

    // Ties fall to the group's order, then to the name with numbers by
    // value; an extension outside the table counts only in the total.
    void groupsAndExtensions()
    {
        StatsAggregates aggregates;
        aggregates.total = 19;
        aggregates.monthCount = 4;
        aggregates.previousMonthCount = 9;
        aggregates.extensionCounts = { { u"psd"_s, 3 }, { u"pdf"_s, 2 },  { u"PDF"_s, 1 }, { u"mp4"_s, 5 },
                                       { u"xyz"_s, 7 }, { u"3gp2"_s, 1 }, { u"3gp"_s, 1 } };
        const StatsSnapshot snapshot = StatsSnapshot::from(aggregates, Today, 7);
        QStringList order;
        for (const ExtensionSlice &slice : snapshot.byExtension)
            order.append(slice.ext);
        QCOMPARE(order, (QStringList { u".mp4"_s, u".pdf"_s, u".psd"_s, u".3gp"_s, u".3gp2"_s }));
        QCOMPARE(snapshot.byGroup,
                 (QList<GroupSlice> {
                     { FileTypeGroup::Image, 3 }, { FileTypeGroup::Design, 3 }, { FileTypeGroup::Video, 7 } }));
        QCOMPARE(snapshot.extensionTypeCount, 5);
        QCOMPARE(snapshot.totalRenamed, 19);
        QCOMPARE(snapshot.monthDelta, -5);
    }

    void texts_data()
    {
        QTest::addColumn<qint64>("renames");
        QTest::addColumn<QString>("timeSaved");
        QTest::newRow("seconds") << qint64(5) << u"50 sec"_s;
        QTest::newRow("one minute") << qint64(6) << u"1 min"_s;
        QTest::newRow("minutes, one decimal") << qint64(45) << u"7.5 min"_s;
        QTest::newRow("minutes, whole") << qint64(100) << u"17 min"_s;
        QTest::newRow("hours, one decimal") << qint64(1200) << u"3.3 hr"_s;
        QTest::newRow("hours, whole") << qint64(35999) << u"100 hr"_s;
        QTest::newRow("days") << qint64(36000) << u"4 days"_s;
    }

    void texts()
    {
        QFETCH(qint64, renames);
        QFETCH(QString, timeSaved);
        const QLocale english(QLocale::English, QLocale::UnitedStates);
        QCOMPARE(StatsTexts::duration(renames * StatsTexts::SecondsSavedPerRename, english), timeSaved);
    }

    void monthDeltaAndShare()
    {
        const QLocale english(QLocale::English, QLocale::UnitedStates);
        QCOMPARE(StatsTexts::monthDelta(0, english), QString());
        QCOMPARE(StatsTexts::monthDelta(3, english), u"↑ +3 this month"_s);
        QCOMPARE(StatsTexts::monthDelta(-1200, english), u"↓ -1.2K this month"_s);
        QCOMPARE(StatsTexts::monitorSharePercent(1, 3), 33);
        QCOMPARE(StatsTexts::monitorSharePercent(2, 3), 67);
        QCOMPARE(StatsTexts::monitorSharePercent(5, 0), 0);
    }

    void localDaysOfARealDatabase_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QStringList>("dayCounts"); // "day=count" for days with renames
        QTest::addColumn<QString>("monthStart");
        QTest::addColumn<qint64>("monthCount");
        QTest::addColumn<int>("currentStreak");
        // New York leaves daylight time at 06:00Z on 1 November: the local
        // day has 25 hours, and two renames fall in the repeated hour.
        QTest::newRow("New York, DST ends")
            << QByteArray("America/New_York") << QStringList { u"2026-10-31=1"_s, u"2026-11-01=3"_s, u"2026-11-03=1"_s }
            << u"2026-11-01T04:00:00Z"_s << qint64(4) << 1;
        QTest::newRow("Tokyo, no DST") << QByteArray("Asia/Tokyo")
                                       << QStringList { u"2026-11-01=3"_s, u"2026-11-02=1"_s, u"2026-11-03=1"_s }
                                       << u"2026-10-31T15:00:00Z"_s << qint64(5) << 3;
    }

    void localDaysOfARealDatabase()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QStringList, dayCounts);
        QFETCH(QString, monthStart);
        QFETCH(qint64, monthCount);
        QFETCH(int, currentStreak);
        useTimeZone(zone);
        QTemporaryDir dir;
        auto opened = Database::open(dir.path());
        QVERIFY2(opened, qPrintable(opened.error()));
        Database &database = *opened.value();
        const QStringList moments { u"2026-11-01T03:30:00Z"_s,
                                    u"2026-11-01T05:30:00Z"_s,
                                    u"2026-11-01T06:30:00Z"_s,
                                    u"2026-11-02T04:30:00Z"_s,
                                    u"2026-11-03T12:00:00Z"_s };
        for (qsizetype i = 0; i < moments.size(); ++i) {
            const auto source = i == 0 ? ProcessedFileSource::Watcher : ProcessedFileSource::Batch;
            QVERIFY(database.insertProcessedFile(renamed(u"scan-%1.PDF"_s.arg(i), moments.at(i), source)));
        }
        // Noon on 3 November, local.
        const QDateTime now = QDate(2026, 11, 3).startOfDay().addSecs(12 * 3600);
        const StatsQueryBounds bounds = StatsQueryBounds::at(now, std::nullopt);
        QCOMPARE(bounds.monthStart, monthStart);
        const Result<StatsSnapshot> snapshot = StatisticsViewModel::load(database, now, std::nullopt);
        QVERIFY2(snapshot, qPrintable(snapshot.error()));
        QStringList seen;
        for (const DailyCount &each : snapshot.value().dailyCounts) {
            if (each.count > 0)
                seen.append(u"%1=%2"_s.arg(each.date.toString(Qt::ISODate)).arg(each.count));
        }
        QCOMPARE(seen, dayCounts);
        QCOMPARE(snapshot.value().totalRenamed, 5);
        QCOMPARE(snapshot.value().monthDelta, monthCount - (5 - monthCount));
        QCOMPARE(snapshot.value().monitorCount, 1);
        QCOMPARE(snapshot.value().currentStreakDays, currentStreak);
        QCOMPARE(snapshot.value().byExtension, (QList<ExtensionSlice> { { u".pdf"_s, FileTypeGroup::Image, 5 } }));
    }

    // Changes of the window within the delay cost one load, and a load
    // overtaken by a newer one never publishes.
    void debouncedReload()
    {
        QTemporaryDir dir;
        auto opened = Database::open(dir.path());
        QVERIFY(opened);
        StatisticsViewModel model(*opened.value());
        QSignalSpy published(&model, &StatisticsViewModel::snapshotChanged);
        auto first = model.reload();
        Q_UNUSED(first);
        model.setDailyWindow(7);
        model.setDailyWindow(90);
        model.setDailyWindow(0);
        QCOMPARE(model.dailyWindowDays(), std::optional(1));
        QTRY_VERIFY(model.hasLoadedAtLeastOnce() && !model.isLoading());
        QTest::qWait(int(StatisticsViewModel::ReloadDelay.count()) + 100);
        QCOMPARE(published.size(), 1);
        QCOMPARE(model.snapshot().dailyCounts.size(), 1);
    }
};

QTEST_GUILESS_MAIN(StatisticsTest)
#include "statisticstest.moc"
