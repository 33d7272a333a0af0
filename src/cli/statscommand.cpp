#include "cli/statscommand.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonObject>

#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "history/statisticsviewmodel.h"
#include "history/statstexts.h"

namespace Nomly {

namespace {

// A century of days; more names no calendar anyone renamed files in.
constexpr int MaxWindowDays = 36500;

QJsonObject toJson(const StatsSnapshot &snapshot, std::optional<int> window)
{
    QJsonArray days;
    for (const DailyCount &day : snapshot.dailyCounts)
        days.append(QJsonObject { { QStringLiteral("date"), day.date.toString(Qt::ISODate) },
                                  { QStringLiteral("count"), day.count } });
    QJsonArray groups;
    for (const GroupSlice &slice : snapshot.byGroup)
        groups.append(QJsonObject { { QStringLiteral("group"), rawValue(slice.group) },
                                    { QStringLiteral("count"), slice.count } });
    QJsonArray extensions;
    for (const ExtensionSlice &slice : snapshot.byExtension)
        extensions.append(QJsonObject { { QStringLiteral("ext"), slice.ext },
                                        { QStringLiteral("group"), rawValue(slice.group) },
                                        { QStringLiteral("count"), slice.count } });
    const qint64 saved = snapshot.totalRenamed * StatsTexts::SecondsSavedPerRename;
    return {
        { QStringLiteral("totalRenamed"), snapshot.totalRenamed },
        { QStringLiteral("monthDelta"), snapshot.monthDelta },
        { QStringLiteral("monitorCount"), snapshot.monitorCount },
        { QStringLiteral("monitorSharePercent"),
          StatsTexts::monitorSharePercent(snapshot.monitorCount, snapshot.totalRenamed) },
        { QStringLiteral("timeSavedSeconds"), saved },
        { QStringLiteral("timeSaved"), StatsTexts::duration(saved) },
        { QStringLiteral("currentStreakDays"), snapshot.currentStreakDays },
        { QStringLiteral("longestStreakDays"), snapshot.longestStreakDays },
        { QStringLiteral("windowDays"), window ? QJsonValue(*window) : QJsonValue(QStringLiteral("all")) },
        { QStringLiteral("dailyCounts"), days },
        { QStringLiteral("byGroup"), groups },
        { QStringLiteral("byExtension"), extensions },
        { QStringLiteral("extensionTypeCount"), snapshot.extensionTypeCount },
    };
}

void printText(const StatsSnapshot &snapshot, std::optional<int> window)
{
    if (snapshot.totalRenamed == 0) {
        CliOutput::line(QStringLiteral("No statistics yet. Numbers will appear here as Nomly renames files."));
        return;
    }
    const QString delta = StatsTexts::monthDelta(snapshot.monthDelta);
    CliOutput::line(QStringLiteral("Files renamed:  %1%2")
                        .arg(snapshot.totalRenamed)
                        .arg(delta.isEmpty() ? QString() : QStringLiteral("   ") + delta));
    CliOutput::line(QStringLiteral("From Monitor:   %1 (%2% of all renames)")
                        .arg(snapshot.monitorCount)
                        .arg(StatsTexts::monitorSharePercent(snapshot.monitorCount, snapshot.totalRenamed)));
    CliOutput::line(QStringLiteral("Time saved:     %1")
                        .arg(StatsTexts::duration(snapshot.totalRenamed * StatsTexts::SecondsSavedPerRename)));
    CliOutput::line(QStringLiteral("Active streak:  %1 (longest: %2)")
                        .arg(snapshot.currentStreakDays == 0 ? QStringLiteral("No streak yet")
                                                             : StatsTexts::days(snapshot.currentStreakDays),
                             StatsTexts::days(snapshot.longestStreakDays)));

    const QList<DailyCount> &days = snapshot.dailyCounts;
    if (!days.isEmpty()) {
        const auto peak = std::max_element(
            days.begin(), days.end(), [](const DailyCount &a, const DailyCount &b) { return a.count < b.count; });
        qint64 sum = 0;
        for (const DailyCount &day : days)
            sum += day.count;
        CliOutput::line(QStringLiteral("Activity (%1): average %2 files/day · peak %3 on %4")
                            .arg(window ? QStringLiteral("last %1 days").arg(*window) : QStringLiteral("all time"))
                            .arg(QString::number(double(sum) / double(days.size()), 'f', 1))
                            .arg(peak->count)
                            .arg(peak->date.toString(Qt::ISODate)));
        for (const DailyCount &day : days) {
            if (day.count > 0)
                CliOutput::line(
                    QStringLiteral("  %1  %2  %3")
                        .arg(day.date.toString(Qt::ISODate))
                        .arg(day.count, 5)
                        .arg(QString(int(std::min<qint64>(day.count * 40 / std::max<qint64>(peak->count, 1), 40)),
                                     QLatin1Char('#'))));
        }
    }
    QStringList groups;
    for (const GroupSlice &slice : snapshot.byGroup)
        groups.append(QStringLiteral("%1 %2").arg(rawValue(slice.group)).arg(slice.count));
    if (!groups.isEmpty())
        CliOutput::line(QStringLiteral("File types:     ") + groups.join(QStringLiteral(", ")));
    QStringList extensions;
    for (const ExtensionSlice &slice : snapshot.byExtension.first(std::min<qsizetype>(10, snapshot.byExtension.size())))
        extensions.append(QStringLiteral("%1 %2").arg(slice.ext).arg(slice.count));
    if (!extensions.isEmpty())
        CliOutput::line(QStringLiteral("Top extensions: ") + extensions.join(QStringLiteral(", ")));
}

} // namespace

ExitStatus runStatsCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "What Nomly has done: files renamed (this month against the one before), how many by Monitor, the time "
        "saved (10 seconds a file), the streak of days with renames, renames per day, file types and the top "
        "extensions. Renames count as they happened: undoing one or clearing the history lowers nothing. "
        "Days are your local calendar's."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON instead of text."));
    const QCommandLineOption daysOption(QStringLiteral("days"),
                                        QStringLiteral("The days per day-count: 7, 30, 90, any number, or 'all' "
                                                       "from the first rename (default 30)."),
                                        QStringLiteral("N"),
                                        QString::number(StatisticsViewModel::DefaultWindowDays));
    parser.addOption(jsonOption);
    parser.addOption(daysOption);
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    if (!parser.positionalArguments().isEmpty()) {
        CliOutput::error(QStringLiteral("usage: nomly stats [--json] [--days N|all]"));
        return ExitStatus::UsageError;
    }
    std::optional<int> window;
    if (const QString days = parser.value(daysOption); days != u"all") {
        bool ok = false;
        window = days.toInt(&ok);
        if (!ok || *window < 1 || *window > MaxWindowDays) {
            CliOutput::error(QStringLiteral("--days takes a number of days from 1 to %1, or 'all', not '%2'")
                                 .arg(MaxWindowDays)
                                 .arg(days));
            return ExitStatus::UsageError;
        }
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    const Result<StatsSnapshot> snapshot
        = StatisticsViewModel::load(profile->database(), QDateTime::currentDateTime(), window);
    if (!snapshot) {
        CliOutput::error(QStringLiteral("the statistics could not be read: %1").arg(snapshot.error()));
        return ExitStatus::ItemFailed;
    }
    if (parser.isSet(jsonOption))
        CliOutput::json(QJsonDocument(toJson(snapshot.value(), window)));
    else
        printText(snapshot.value(), window);
    return ExitStatus::Success;
}

} // namespace Nomly
