#include "cli/renamecommand.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QSaveFile>
#include <QSet>
#include <QTextStream>
#include <climits>
#include <cstdio>

#include <unistd.h>

#include <qcoro/qcorosignal.h>

#include "ai/remoteconfigservice.h"
#include "app/airoute.h"
#include "app/appworkflows.h"
#include "cli/aicommandrun.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/consentcommand.h"
#include "cli/corelog.h"
#include "cli/templateoptions.h"
#include "cli/writeoptions.h"
#include "history/filehashservice.h"
#include "naming/filerenamer.h"
#include "platform/canonicalpath.h"
#include "platform/terminationsignals.h"
#include "workflows/batchdropsummary.h"
#include "workflows/batchnaming.h"
#include "workflows/batchoptions.h"
#include "workflows/batchrenameplan.h"
#include "workflows/batchrenameviewmodel.h"

namespace Nomly {

namespace {

// What the command tells as the batch goes: one line per item as soon as it
// is done, and on a terminal a progress line that the next line replaces.
class RenameReporter final
{
public:
    RenameReporter(bool dryRun, bool json)
        : m_dryRun(dryRun)
        , m_json(json)
        , m_progress(!json && ::isatty(STDOUT_FILENO) == 1)
    {}

    // An empty text takes the line away.
    void progress(const QString &text)
    {
        if (!m_progress)
            return;
        clearProgress();
        m_progressText = text;
        draw();
    }

    // Items not taken into any batch, such as a path that does not exist.
    void refused(const QString &path, const QString &reason)
    {
        ++m_total;
        ++m_failed;
        itemLine(path, QFileInfo(path).fileName(), {}, reason);
    }

    void addTotal(int count) { m_total += count; }

    // Tells an item once it has reached its end here.
    void item(const BatchRenameItem &item)
    {
        if (m_told.contains(item.id))
            return;
        switch (item.status) {
        case BatchRenameStatus::Completed:
            ++m_done;
            itemLine(item.originalPath, item.fileName, item.newName.value_or(QString()), {}, item);
            break;
        case BatchRenameStatus::Failed:
            ++m_failed;
            itemLine(item.originalPath, item.fileName, {}, item.error.value_or(QStringLiteral("Rename failed")), item);
            break;
        case BatchRenameStatus::Analyzed: {
            if (!m_dryRun)
                return;
            ++m_done;
            // As a real run would plan it: a name an earlier file of the run
            // takes gets the next suffix.
            const QString destination = BatchNaming::reservedDestination(BatchNaming::sanitizedName(*item.nameToUse()),
                                                                         FileRenamer::extensionOf(item.originalPath),
                                                                         QFileInfo(item.originalPath).absolutePath(),
                                                                         item.originalPath,
                                                                         m_reserved);
            m_reserved.insert(canonicalPath(destination));
            itemLine(item.originalPath, item.fileName, QFileInfo(destination).fileName(), {}, item);
            break;
        }
        default:
            return;
        }
        m_told.insert(item.id);
    }

    int failed() const { return m_failed; }

    int done() const { return m_done; }

    void summary(bool interrupted)
    {
        clearProgress();
        if (m_json)
            return;
        QString text = m_dryRun ? QStringLiteral("Proposed names for %1 of %2 files").arg(m_done).arg(m_total)
                                : QStringLiteral("Renamed %1 of %2 files").arg(m_done).arg(m_total);
        if (m_failed > 0)
            text += QStringLiteral("; %1 failed").arg(m_failed);
        if (const int untouched = m_total - m_done - m_failed; interrupted && untouched > 0)
            text = QStringLiteral("Interrupted. ") + text + QStringLiteral("; %1 not reached").arg(untouched);
        CliOutput::line(text + (m_dryRun ? QStringLiteral("; nothing was moved.") : QStringLiteral(".")));
    }

private:
    void itemLine(const QString &path,
                  const QString &name,
                  const QString &newName,
                  const QString &error,
                  const std::optional<BatchRenameItem> &item = std::nullopt)
    {
        clearProgress();
        if (m_json) {
            QJsonObject object { { QStringLiteral("file"), path } };
            if (error.isEmpty()) {
                object.insert(QStringLiteral("status"),
                              m_dryRun ? QStringLiteral("proposed") : QStringLiteral("renamed"));
                object.insert(QStringLiteral("newName"), newName);
                if (item && item->finalPath)
                    object.insert(QStringLiteral("newPath"), *item->finalPath);
            } else {
                object.insert(QStringLiteral("status"), QStringLiteral("failed"));
                object.insert(QStringLiteral("error"), error);
            }
            if (item && item->aiProvider)
                object.insert(QStringLiteral("provider"), *item->aiProvider);
            CliOutput::line(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
        } else if (error.isEmpty()) {
            CliOutput::line(QStringLiteral("%1 -> %2").arg(name, newName));
        } else {
            CliOutput::error(QStringLiteral("%1: %2").arg(name, error));
        }
        draw();
    }

    void draw()
    {
        if (!m_progress || m_progressText.isEmpty())
            return;
        const QByteArray bytes = "\r\033[K" + m_progressText.toUtf8();
        std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
        std::fflush(stdout);
    }

    void clearProgress()
    {
        if (!m_progress || m_progressText.isEmpty())
            return;
        std::fputs("\r\033[K", stdout);
        std::fflush(stdout);
    }

    bool m_dryRun;
    bool m_json;
    bool m_progress;
    QString m_progressText;
    QSet<QUuid> m_told;
    QSet<QString> m_reserved; // destinations the proposals so far take
    int m_total = 0;
    int m_done = 0;
    int m_failed = 0;
};

QString withDot(const QString &extension)
{
    return extension.isEmpty() ? QString() : u'.' + extension;
}

// The files the arguments name, folders walked the way AI Rename takes a
// drop; paths that do not exist come back apart.
// The files the arguments name, folders walked the way AI Rename takes a
// drop. Paths that do not exist, and files given by name that no reader
// takes, come back apart with the reason.
QStringList collectFiles(const QStringList &arguments,
                         const RemoteConfig &remote,
                         QList<QPair<QString, QString>> *refused)
{
    QStringList existing;
    for (const QString &argument : arguments) {
        const QFileInfo info(argument);
        if (info.exists() || info.isSymLink())
            existing.append(info.absoluteFilePath());
        else
            refused->append({ argument, QStringLiteral("File not found") });
    }
    const QStringList supported = remote.supportedExtensions();
    const QStringList collected
        = BatchDropSummary::collect(existing, QSet<QString>(supported.cbegin(), supported.cend()), {}, INT_MAX)
              .pathsToAdd;
    for (const QString &path : std::as_const(existing)) {
        if (!QFileInfo(path).isDir() && !collected.contains(path))
            refused->append({ path, QStringLiteral("Unsupported file type") });
    }
    return collected;
}

} // namespace

ExitStatus runRenameCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Ask the AI about files, and the files in folders and their subfolders (hidden files skipped), and rename "
        "each under the name your template builds from the answer. Files go in chunks; each file's line "
        "('old -> new', or 'old: reason') is printed as soon as it is renamed, and on a terminal a progress line "
        "shows how far the run is. Two files given the same name in one folder become 'Name' and 'Name_1'. A file "
        "already at the new name is never replaced. Tags and the description are written as metadata when the "
        "settings (or --write-tags, --write-comment) say so.\n"
        "Every rename is recorded with its run: 'nomly undo --last-run' takes the whole run back. Ctrl-C stops "
        "after the files in flight; what was renamed stays renamed and recorded (exit status 130).\n"
        "Needs your agreement to AI data processing first ('nomly consent --agree'). A template that needs no AI "
        "(only dates, the original name, file facts) names files without asking it."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption dryRunOption(QStringLiteral("dry-run"),
                                          QStringLiteral("Analyse and print each proposal ('old -> proposed'); "
                                                         "move nothing."));
    const QCommandLineOption jsonOption(QStringLiteral("json"),
                                        QStringLiteral("One JSON object per line for each file: file, status "
                                                       "(renamed, proposed or failed), newName, newPath, error."));
    const QCommandLineOption savePlanOption(
        QStringLiteral("save-plan"),
        QStringLiteral("Analyse, move nothing, and write the proposals to FILE as JSON (each file with its "
                       "suggestedName, an editedName to fill in, the analysis and the content hash)."),
        QStringLiteral("FILE"));
    const QCommandLineOption planOption(
        QStringLiteral("plan"),
        QStringLiteral("Rename as a plan from --save-plan says, without asking the AI again: an editedName in the "
                       "file wins over the suggestion; a file changed since the plan was made is left as it is."),
        QStringLiteral("FILE"));
    const QCommandLineOption interactiveOption(
        { QStringLiteral("i"), QStringLiteral("interactive") },
        QStringLiteral("Walk through the proposals one by one (Enter or a accepts, e edits the name, r asks the AI "
                       "for another, s skips the file), then rename what was accepted."));
    parser.addOptions({ dryRunOption, jsonOption, savePlanOption, planOption, interactiveOption });
    const TemplateOptions templateOptions(parser, TemplateOptions::StoredTemplate::Offered);
    const RouteOptions routeOptions(parser);
    const WriteOptions writeOptions(parser);
    parser.addPositionalArgument(
        QStringLiteral("PATH"), QStringLiteral("Files, and folders whose files to rename."), QStringLiteral("PATH..."));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    QString error;
    const auto given = templateOptions.read(parser, &error);
    if (!given) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    const bool fromPlan = parser.isSet(planOption);
    if (fromPlan
        && (!parser.positionalArguments().isEmpty() || parser.isSet(savePlanOption) || parser.isSet(dryRunOption)
            || parser.isSet(interactiveOption))) {
        CliOutput::error(QStringLiteral("--plan renames what the plan says: it takes no files, no --save-plan, no "
                                        "--dry-run and no -i"));
        return ExitStatus::UsageError;
    }
    if (parser.isSet(interactiveOption) && parser.isSet(jsonOption)) {
        CliOutput::error(QStringLiteral("-i asks on the terminal; it cannot be combined with --json"));
        return ExitStatus::UsageError;
    }
    if (!fromPlan && parser.positionalArguments().isEmpty()) {
        CliOutput::error(QStringLiteral("no files given; run 'nomly rename --help'"));
        return ExitStatus::UsageError;
    }
    QList<BatchRenameItem> planned;
    if (fromPlan) {
        QFile file(parser.value(planOption));
        if (!file.open(QIODevice::ReadOnly)) {
            CliOutput::error(QStringLiteral("cannot read the plan '%1': %2").arg(file.fileName(), file.errorString()));
            return ExitStatus::UsageError;
        }
        Result<QList<BatchRenameItem>> read = BatchRenamePlan::fromJson(file.readAll());
        if (!read) {
            CliOutput::error(QStringLiteral("%1: %2").arg(file.fileName(), read.error()));
            return ExitStatus::UsageError;
        }
        planned = std::move(read).value();
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    auto resolved = templateOptions.effectiveSettings(parser, *profile, *given, &error);
    if (!resolved) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    const EffectiveAnalysisSettings effective = writeOptions.applied(parser, std::move(*resolved));
    const auto options = routeOptions.read(parser, profile->settings(), effective, &error);
    if (!options) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    if (!fromPlan && !profile->state().consent().aiDataConsentGranted()) {
        CliOutput::error(consentMissingText());
        return ExitStatus::UsageError;
    }

    RemoteConfig remote = RemoteConfigService::cachedConfig(profile->userDefaults());
    // The command goes through any number of files, a batch at a time.
    remote.batchAnalysisLimit = std::max(1, remote.batchAnalysisLimit);
    QList<QPair<QString, QString>> refused;
    const QStringList files = collectFiles(parser.positionalArguments(), remote, &refused);
    const bool savesPlan = parser.isSet(savePlanOption);
    const bool dryRun = parser.isSet(dryRunOption) || savesPlan;
    const bool interactive = parser.isSet(interactiveOption) && !dryRun;
    RenameReporter reporter(dryRun, parser.isSet(jsonOption));
    for (const auto &[path, reason] : std::as_const(refused))
        reporter.refused(path, reason);

    LazyAIRoute route;
    BatchRenameViewModel batch(profile->database(), profile->undoIgnore());
    BatchRenameViewModel::Dependencies dependencies;
    dependencies.settingsProvider = [&profile] { return profile->settings(); };
    dependencies.effectiveAnalysisForBatch = [&effective] { return effective; };
    dependencies.batchOptions = [&options](const EffectiveAnalysisSettings &) { return *options; };
    dependencies.hasAIDataConsent = [] { return true; };
    dependencies.remoteConfig = [&remote] { return remote; };
    dependencies.extractionOptions = [&remote, &profile] { return extractionOptionsFor(remote, profile->settings()); };
    dependencies.aiService
        = [&route, &profile, &options](QString *why) { return route.service(*profile, !options->usesLocalAI(), why); };
    dependencies.addActivityFile
        = [&profile](const ProcessedFile &record) { profile->activity().addActivityFile(record); };
    batch.setDependencies(std::move(dependencies));

    const int limit = remote.batchAnalysisLimit;
    const QString runId = batch.runId();
    int earlierSlices = 0; // files of the batches before this one
    QObject::connect(&batch, &BatchRenameViewModel::itemChanged, &batch, [&](int row) {
        reporter.item(batch.items().at(row));
        const int total = int(files.size());
        if (batch.isConfirmingRenames())
            reporter.progress(QStringLiteral("renaming %1/%2").arg(reporter.done()).arg(total));
        else
            reporter.progress(QStringLiteral("analysing %1/%2").arg(earlierSlices + batch.processedCount()).arg(total));
    });
    bool interrupted = false;
    TerminationSignals termination;
    if (termination.install()) {
        QObject::connect(&termination, &TerminationSignals::terminationRequested, &batch, [&] {
            interrupted = true;
            batch.stopAnalysis();
        });
    }
    // Each chunk is renamed as soon as it lands, so a long run has renamed
    // most of its files by the time it ends, and an interruption keeps them.
    if (!dryRun && !interactive) {
        QObject::connect(&batch, &BatchRenameViewModel::chunkAnalyzed, &batch, [&] {
            if (!interrupted && !batch.isConfirmingRenames())
                batch.renameAll();
        });
    }

    CoreLog::Held held;
    QList<BatchRenameItem> reviewed; // for the plan
    const auto renamePlan = [&]() -> QCoro::Task<> {
        batch.setRunId(runId);
        reporter.addTotal(int(planned.size()));
        // A file that changed since its plan was made is no longer the file
        // the name was chosen for.
        for (BatchRenameItem &item : planned) {
            const QFileInfo file(item.originalPath);
            if (!file.exists()) {
                item.status = BatchRenameStatus::Failed;
                item.error = QStringLiteral("File not found");
            } else if (item.contentHash && FileHashService::hash(item.originalPath) != item.contentHash) {
                item.status = BatchRenameStatus::Failed;
                item.error = QStringLiteral("changed since the plan was made; left as it is");
            }
        }
        batch.addAnalyzedItems(planned);
        auto renaming = batch.renameAll();
        co_await renaming;
        for (const BatchRenameItem &item : batch.items())
            reporter.item(item);
    };
    // The user's word on each proposal, read from standard input.
    QTextStream input(stdin);
    const auto ask = [&](const QString &question) {
        reporter.progress({});
        std::fputs(question.toUtf8().constData(), stdout);
        std::fflush(stdout);
        return input.readLine();
    };
    // Each proposal in turn. The end of the input, or q, skips the rest; an
    // answer it does not know is asked again. Ctrl-C, seen between answers,
    // ends the review with nothing renamed.
    const auto review = [&]() -> QCoro::Task<> {
        QList<QUuid> proposed;
        for (const BatchRenameItem &item : batch.items()) {
            if (item.status == BatchRenameStatus::Analyzed)
                proposed.append(item.id);
        }
        bool skipRest = false;
        for (const QUuid &id : std::as_const(proposed)) {
            while (!interrupted) {
                const int row = batch.indexOf(id);
                if (row < 0 || batch.items().at(row).status != BatchRenameStatus::Analyzed)
                    break;
                if (skipRest) {
                    batch.removeItem(id);
                    break;
                }
                const BatchRenameItem &item = batch.items().at(row);
                const QString line = ask(
                    QStringLiteral("%1 -> %2   [a]ccept, [e]dit, [r]egenerate, [s]kip, [q]uit? ")
                        .arg(item.fileName, *item.nameToUse() + withDot(FileRenamer::extensionOf(item.originalPath))));
                QCoreApplication::processEvents();
                const QString answer = line.trimmed().toLower();
                if (interrupted)
                    break;
                if (line.isNull() || answer == u"q") {
                    skipRest = true;
                    continue;
                }
                if (answer == u"e") {
                    const QString name = ask(QStringLiteral("New name, without the extension: "));
                    if (!name.isNull())
                        batch.updateEditedName(id, name.trimmed());
                } else if (answer == u"r") {
                    auto regenerating = batch.regenerate(id);
                    co_await regenerating;
                    continue;
                } else if (answer == u"s") {
                    batch.removeItem(id);
                } else if (!answer.isEmpty() && answer != u"a") {
                    continue;
                }
                break;
            }
        }
    };
    const auto run = [&]() -> QCoro::Task<> {
        for (qsizetype start = 0; start < files.size() && !interrupted; start += limit) {
            batch.clearBatch();
            batch.setRunId(runId);
            const QStringList slice = files.mid(start, limit);
            reporter.addTotal(int(slice.size()));
            batch.addFiles(slice, BatchRenameViewModel::DropSource::Picker);
            auto idle = batch.untilIdle();
            co_await idle;
            while (batch.isConfirmingRenames())
                co_await qCoro(&batch, &BatchRenameViewModel::renameAllFinished);
            if (interactive && !interrupted) {
                auto reviewing = review();
                co_await reviewing;
            }
            // What landed before a Ctrl-C is renamed, unless the user was
            // still deciding on it.
            if (!dryRun && !(interactive && interrupted)) {
                auto renaming = batch.renameAll();
                co_await renaming;
            }
            for (const BatchRenameItem &item : batch.items()) {
                reporter.item(item);
                if (savesPlan)
                    reviewed.append(item);
            }
            earlierSlices += int(slice.size());
        }
    };
    QCoro::waitFor(fromPlan ? renamePlan() : run());
    if (savesPlan) {
        // A name from the file's own facts is shown before its hash is read;
        // the plan needs the hash to know the file again.
        for (BatchRenameItem &item : reviewed) {
            if (!item.contentHash)
                item.contentHash = FileHashService::hash(item.originalPath);
        }
        QSaveFile plan(parser.value(savePlanOption));
        if (!plan.open(QIODevice::WriteOnly) || plan.write(BatchRenamePlan::toJson(reviewed)) < 0 || !plan.commit()) {
            CliOutput::error(QStringLiteral("cannot write the plan '%1': %2").arg(plan.fileName(), plan.errorString()));
            return ExitStatus::ItemFailed;
        }
        if (!parser.isSet(jsonOption))
            CliOutput::line(QStringLiteral("The proposals are in '%1'; fill in an editedName where you like, then run "
                                           "'nomly rename --plan %1'.")
                                .arg(plan.fileName()));
    }
    if (reporter.failed() > 0)
        held.failureReported();
    reporter.summary(interrupted);
    if (interrupted)
        return ExitStatus::Interrupted;
    return reporter.failed() > 0 ? ExitStatus::ItemFailed : ExitStatus::Success;
}

} // namespace Nomly
