#include "cli/historycommand.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QJsonArray>

#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/recordids.h"
#include "history/processedfilejson.h"

namespace Nomly {

namespace {

QString listLine(const ProcessedFile &record)
{
    const QString when = QDateTime::fromString(record.processedAt, Qt::ISODate)
                             .toLocalTime()
                             .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    return QStringLiteral("%1  %2  %3  %4 -> %5")
        .arg(record.id.value_or(0), 5)
        .arg(when, rawValue(record.source), record.originalName, record.newName);
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
        QStringLiteral("List the renames Nomly has made, newest first; undone ones are not shown. Each line reads: "
                       "id, time, source, old name -> new name. 'nomly undo ID' takes a rename back.\n"
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

    const auto records = limit ? profile->database().fetchActiveProcessedFiles(*limit, 0)
                               : profile->database().fetchProcessedFiles(false);
    if (!records) {
        CliOutput::error(records.error());
        return ExitStatus::ItemFailed;
    }
    if (parser.isSet(jsonOption)) {
        QJsonArray array;
        for (const ProcessedFile &record : records.value())
            array.append(toJson(record));
        CliOutput::json(QJsonDocument(array));
    } else if (records.value().isEmpty()) {
        CliOutput::line(QStringLiteral("No activity yet"));
    } else {
        for (const ProcessedFile &record : records.value())
            CliOutput::line(listLine(record));
    }
    return ExitStatus::Success;
}

} // namespace Nomly
