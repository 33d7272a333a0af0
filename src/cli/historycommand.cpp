#include "cli/historycommand.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QHash>
#include <QJsonArray>
#include <algorithm>

#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/recordids.h"
#include "history/processedfilejson.h"

namespace Nomly {

namespace {

QString localTime(const QString &processedAt)
{
    return QDateTime::fromString(processedAt, Qt::ISODate).toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

QString listLine(const ProcessedFile &record)
{
    return QStringLiteral("%1  %2  %3  %4 -> %5")
        .arg(record.id.value_or(0), 5)
        .arg(localTime(record.processedAt), rawValue(record.source), record.originalName, record.newName);
}

// The records of one run in the listing, newest first. A record without a run
// is a run of its own, as `nomly undo --last-run` takes it.
struct RunGroup
{
    QList<ProcessedFile> records;
    qsizetype shown = 0;
};

// Runs in the order of their newest records; `records` is newest first.
QList<RunGroup> groupedByRun(const QList<ProcessedFile> &records)
{
    QList<RunGroup> groups;
    QHash<QString, qsizetype> groupOfRun;
    for (const ProcessedFile &record : records) {
        if (record.runId) {
            if (const auto found = groupOfRun.constFind(*record.runId); found != groupOfRun.cend()) {
                groups[*found].records.append(record);
                continue;
            }
            groupOfRun.insert(*record.runId, groups.size());
        }
        groups.append(RunGroup { { record }, 0 });
    }
    return groups;
}

// When the run began, and how many files it renamed; a run that the limit
// cuts says how many of them are listed.
QString runHeader(const RunGroup &group)
{
    const qsizetype count = group.records.size();
    const QString files = count == 1 ? QStringLiteral("1 file") : QStringLiteral("%1 files").arg(count);
    const QString listed = group.shown < count ? QStringLiteral("%1 of ").arg(group.shown) : QString();
    return QStringLiteral("run %1 · %2%3").arg(localTime(group.records.constLast().processedAt), listed, files);
}

// `records` is every active record, newest first, so that each run is whole
// and its count true; `limit` bounds the record lines.
void printByRun(const QList<ProcessedFile> &records, std::optional<int> limit)
{
    qsizetype left = limit.value_or(records.size());
    QList<RunGroup> groups = groupedByRun(records);
    for (RunGroup &group : groups) {
        if (left == 0)
            break;
        group.shown = std::min(left, group.records.size());
        left -= group.shown;
        CliOutput::line(runHeader(group));
        for (qsizetype i = 0; i < group.shown; ++i)
            CliOutput::line(listLine(group.records.at(i)));
    }
}

ExitStatus removeRecords(CliProfile &profile, const QStringList &arguments)
{
    QString error;
    const auto ids = parseRecordIds(arguments, &error);
    if (!ids || ids->isEmpty()) {
        CliOutput::error(ids ? QStringLiteral("--remove needs at least one record id") : error);
        return ExitStatus::UsageError;
    }
    const auto records = profile.database().fetchProcessedFiles(true);
    if (!records) {
        CliOutput::error(records.error());
        return ExitStatus::ItemFailed;
    }
    bool anyFailed = false;
    for (const qint64 id : *ids) {
        const auto found = std::find_if(
            records.value().cbegin(), records.value().cend(), [id](const auto &record) { return record.id == id; });
        if (found == records.value().cend()) {
            CliOutput::error(QStringLiteral("%1: no such record").arg(id));
            anyFailed = true;
            continue;
        }
        if (!QCoro::waitFor(profile.activity().removeRecord(*found))) {
            CliOutput::error(QStringLiteral("%1: the record could not be removed").arg(id));
            anyFailed = true;
            continue;
        }
        CliOutput::line(QStringLiteral("%1: record removed; %2 keeps its name").arg(id).arg(found->newName));
    }
    return anyFailed ? ExitStatus::ItemFailed : ExitStatus::Success;
}

ExitStatus clearRecords(CliProfile &profile)
{
    const auto count = profile.database().countActiveProcessedFiles();
    if (!count || !QCoro::waitFor(profile.activity().clearAll())) {
        CliOutput::error(QStringLiteral("the activity could not be cleared%1")
                             .arg(count ? QString() : QStringLiteral(": ") + count.error()));
        return ExitStatus::ItemFailed;
    }
    CliOutput::line(
        QStringLiteral("Removed %1 activity records. File names on disk were not changed.").arg(count.value()));
    return ExitStatus::Success;
}

} // namespace

ExitStatus runHistoryCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("List the renames Nomly has made, newest first; undone ones are not shown. The renames of one "
                       "run (a command, batch or quick rename) stand together under a line with its start and "
                       "size. Each other line reads: id, time, source, old name -> new name. 'nomly undo ID' "
                       "takes a rename back, 'nomly undo --last-run' the newest run.\n"
                       "--remove and --clear forget records without renaming any file back."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print the records as a JSON array."));
    const QCommandLineOption limitOption(
        QStringLiteral("limit"), QStringLiteral("Show at most N records."), QStringLiteral("N"));
    const QCommandLineOption removeOption(QStringLiteral("remove"),
                                          QStringLiteral("Forget the records with the given ids."));
    const QCommandLineOption clearOption(QStringLiteral("clear"), QStringLiteral("Forget all records."));
    parser.addOptions({ jsonOption, limitOption, removeOption, clearOption });
    parser.addPositionalArgument(
        QStringLiteral("ID"), QStringLiteral("Record ids, with --remove."), QStringLiteral("[ID...]"));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const bool removing = parser.isSet(removeOption);
    const bool clearing = parser.isSet(clearOption);
    if ((removing && clearing) || ((removing || clearing) && (parser.isSet(jsonOption) || parser.isSet(limitOption)))) {
        CliOutput::error(QStringLiteral("--remove and --clear go alone"));
        return ExitStatus::UsageError;
    }
    if (!removing && !parser.positionalArguments().isEmpty()) {
        CliOutput::error(QStringLiteral("record ids go with --remove"));
        return ExitStatus::UsageError;
    }
    std::optional<int> limit;
    if (parser.isSet(limitOption)) {
        bool ok = false;
        limit = parser.value(limitOption).toInt(&ok);
        if (!ok || *limit < 1) {
            CliOutput::error(QStringLiteral("--limit needs a whole number of 1 or more"));
            return ExitStatus::UsageError;
        }
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    if (removing)
        return removeRecords(*profile, parser.positionalArguments());
    if (clearing)
        return clearRecords(*profile);

    // The listing reads every record, so that the runs the limit cuts still
    // say their size.
    const bool json = parser.isSet(jsonOption);
    const auto records = limit && json ? profile->database().fetchActiveProcessedFiles(*limit, 0)
                                       : profile->database().fetchProcessedFiles(false);
    if (!records) {
        CliOutput::error(records.error());
        return ExitStatus::ItemFailed;
    }
    if (json) {
        QJsonArray array;
        for (const ProcessedFile &record : records.value())
            array.append(toJson(record));
        CliOutput::json(QJsonDocument(array));
    } else if (records.value().isEmpty()) {
        CliOutput::line(QStringLiteral("No activity yet"));
    } else {
        printByRun(records.value(), limit);
    }
    return ExitStatus::Success;
}

} // namespace Nomly
