#include "cli/undocommand.h"

#include <QCommandLineParser>

#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/corelog.h"
#include "cli/recordids.h"

namespace Nomly {

namespace {

// One line per record: what happened to it, in words.
QString outcomeLine(const ProcessedFile &record, const UndoOutcome &outcome)
{
    const QString subject = QStringLiteral("%1 -> %2").arg(record.newName, record.originalName);
    switch (outcome.kind) {
    case UndoOutcome::Kind::Undone:
        return subject + QStringLiteral(": undone");
    case UndoOutcome::Kind::FileMissing:
        return subject + QStringLiteral(": file missing at '%1'; the record was retired").arg(record.newPath);
    case UndoOutcome::Kind::OriginalOccupied:
        return subject
            + QStringLiteral(": original place occupied by another file at '%1'; both files are untouched")
                  .arg(record.originalPath);
    case UndoOutcome::Kind::Failed:
        return subject + QStringLiteral(": failed: ") + outcome.message;
    }
    return subject;
}

// Missing files are retired like undone ones; the user can do nothing more.
bool report(const ProcessedFile &record, const UndoOutcome &outcome)
{
    if (outcome.countsAsSuccess()) {
        CliOutput::line(outcomeLine(record, outcome));
        return true;
    }
    CliOutput::error(outcomeLine(record, outcome));
    return false;
}

enum class Chosen
{
    ById,
    Last,
    LastRun,
    All,
};

// Every record of the newest run; a newest record without a run stands alone.
Result<QList<ProcessedFile>> lastRun(Database &database)
{
    const Result<std::optional<QString>> runId = database.lastRunId();
    if (!runId)
        return runId.failure();
    if (runId.value())
        return database.fetchRunProcessedFiles(*runId.value());
    return database.fetchActiveProcessedFiles(1, 0);
}

std::optional<QList<ProcessedFile>> recordsToUndo(CliProfile &profile,
                                                  const QCommandLineParser &parser,
                                                  Chosen chosen,
                                                  bool *anyFailed)
{
    // Read here rather than inside the activity's own undo-all, which could
    // only log a database that refuses the read.
    if (chosen == Chosen::All) {
        auto records = profile.database().fetchProcessedFiles(false);
        if (!records) {
            CliOutput::error(records.error());
            return std::nullopt;
        }
        if (records.value().isEmpty())
            CliOutput::line(QStringLiteral("Nothing to undo"));
        return std::move(records).value();
    }
    if (chosen == Chosen::Last || chosen == Chosen::LastRun) {
        const auto newest
            = chosen == Chosen::Last ? profile.database().fetchActiveProcessedFiles(1, 0) : lastRun(profile.database());
        if (!newest) {
            CliOutput::error(newest.error());
            return std::nullopt;
        }
        if (newest.value().isEmpty())
            CliOutput::line(QStringLiteral("Nothing to undo"));
        return newest.value();
    }
    QString error;
    const auto ids = parseRecordIds(parser.positionalArguments(), &error);
    if (!ids) {
        CliOutput::error(error);
        return std::nullopt;
    }
    const auto all = profile.database().fetchProcessedFiles(true);
    if (!all) {
        CliOutput::error(all.error());
        return std::nullopt;
    }
    QList<ProcessedFile> records;
    for (const qint64 id : *ids) {
        const auto found = std::find_if(
            all.value().cbegin(), all.value().cend(), [id](const ProcessedFile &record) { return record.id == id; });
        if (found == all.value().cend()) {
            CliOutput::error(QStringLiteral("%1: no such record").arg(id));
            *anyFailed = true;
        } else if (found->isUndone) {
            CliOutput::error(QStringLiteral("%1: already undone").arg(id));
            *anyFailed = true;
        } else {
            records.append(*found);
        }
    }
    return records;
}

} // namespace

ExitStatus runUndoCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Take renames back: each file returns to its old name, with the tags, comment and title it "
                       "had before. A file is never moved onto another: when something else has the old name, both "
                       "stay as they are and the record is kept. 'nomly history' lists the record ids.\n"
                       "The exit status is 1 when any rename could not be taken back."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption lastOption(QStringLiteral("last"),
                                        QStringLiteral("Undo the newest rename: one file, even when the command "
                                                       "that made it renamed more."));
    const QCommandLineOption lastRunOption(
        QStringLiteral("last-run"),
        QStringLiteral("Undo everything the last command, batch or quick rename renamed, newest first. A rename "
                       "recorded before runs were kept counts as a run of its own."));
    const QCommandLineOption allOption(QStringLiteral("all"), QStringLiteral("Undo every rename, newest first."));
    parser.addOptions({ lastOption, lastRunOption, allOption });
    parser.addPositionalArgument(
        QStringLiteral("ID"), QStringLiteral("Record ids to undo."), QStringLiteral("[ID...]"));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const bool last = parser.isSet(lastOption);
    const bool lastRun = parser.isSet(lastRunOption);
    const bool all = parser.isSet(allOption);
    const bool byId = !parser.positionalArguments().isEmpty();
    if (int(last) + int(lastRun) + int(all) + int(byId) != 1) {
        CliOutput::error(QStringLiteral("give record ids, --last, --last-run or --all; run 'nomly undo --help'"));
        return ExitStatus::UsageError;
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    ActivityViewModel &activity = profile->activity();
    bool anyFailed = false;
    const Chosen chosen = all ? Chosen::All : last ? Chosen::Last : lastRun ? Chosen::LastRun : Chosen::ById;
    const auto records = recordsToUndo(*profile, parser, chosen, &anyFailed);
    if (!records)
        return ExitStatus::UsageError;
    for (const ProcessedFile &record : *records) {
        // A record that could not be undone is told by its line; what the
        // core logs of one that was (tags that could not be put back) is
        // told after it.
        CoreLog::Held held;
        const UndoOutcome outcome = QCoro::waitFor(activity.undo(record));
        if (!outcome.countsAsSuccess())
            held.failureReported();
        anyFailed = !report(record, outcome) || anyFailed;
    }
    return anyFailed ? ExitStatus::ItemFailed : ExitStatus::Success;
}

} // namespace Nomly
