#include "cli/applycommand.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include "cli/analysisoptions.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/corelog.h"
#include "cli/templateoptions.h"
#include "cli/writeoptions.h"
#include "workflows/batchanalysisissues.h"
#include "workflows/processanalyzedfileusecase.h"

namespace Nomly {

namespace {

// Names the user gives by hand are recorded under this provider.
const QString ManualProvider = QStringLiteral("manual");

QStringList splitTags(const QString &text)
{
    QStringList tags;
    for (const QString &tag : text.split(u',')) {
        if (const QString trimmed = tag.trimmed(); !trimmed.isEmpty() && !tags.contains(trimmed))
            tags.append(trimmed);
    }
    return tags;
}

ImageAnalysis imageAnalysis(const CliAnalysis &given, const QString &description, const QStringList &tags)
{
    ImageAnalysis analysis;
    analysis.title = given.title;
    analysis.description = description;
    analysis.tags = tags;
    if (!given.type.isEmpty())
        analysis.type = given.type;
    if (!given.vendor.isEmpty())
        analysis.vendor = given.vendor;
    if (!given.amount.isEmpty())
        analysis.amount = given.amount;
    for (auto it = given.fields.cbegin(); it != given.fields.cend(); ++it)
        analysis.detectedFields.insert(it.key(), it.value());
    if (!given.currency.isEmpty())
        analysis.detectedFields.insert(QStringLiteral("currency"), given.currency);
    return analysis;
}

} // namespace

ExitStatus runApplyCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Rename files under a title you give, as Nomly would after an AI analysis, and record each "
                       "rename so that 'nomly undo' can take it back. A file already at the new name is never "
                       "replaced: the new name gets a _1, _2, ... suffix.\n"
                       "Prints 'old -> new' per file. A file that fails is reported and the others go on; the exit "
                       "status is 1 when any failed."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const TemplateOptions templateOptions(parser, TemplateOptions::StoredTemplate::Offered);
    const AnalysisOptions analysisOptions(parser, AnalysisOptions::Use::Rename);
    const QCommandLineOption descriptionOption(QStringLiteral("description"),
                                               QStringLiteral("Description, written as the file's comment."),
                                               QStringLiteral("TEXT"));
    const QCommandLineOption tagsOption(
        QStringLiteral("tags"), QStringLiteral("Tags, separated by commas: \"finance, q3\"."), QStringLiteral("LIST"));
    parser.addOptions({ descriptionOption, tagsOption });
    const WriteOptions writeOptions(parser);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Files to rename."), QStringLiteral("FILE..."));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    QString error;
    const auto preset = templateOptions.read(parser, &error);
    const auto given = preset ? analysisOptions.read(parser, &error) : std::nullopt;
    if (!preset || !given) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        CliOutput::error(QStringLiteral("no files given; run 'nomly apply --help'"));
        return ExitStatus::UsageError;
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    auto resolved = templateOptions.effectiveSettings(parser, *profile, *preset, &error);
    if (!resolved) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    const EffectiveAnalysisSettings settings = writeOptions.applied(parser, std::move(*resolved));
    ProcessAnalyzedFileUseCase useCase(profile->database(), profile->undoIgnore());
    WriteOptions::bind(useCase, settings);
    const ImageAnalysis analysis
        = imageAnalysis(*given, parser.value(descriptionOption), splitTags(parser.value(tagsOption)));

    bool anyFailed = false;
    for (const QString &file : files) {
        const QFileInfo info(file);
        if (info.isDir()) {
            CliOutput::error(QStringLiteral("%1: is a folder, not a file").arg(file));
            anyFailed = true;
            continue;
        }
        // Said as the other commands say it; a dangling link is still
        // refused below as what it is.
        if (!info.exists() && !info.isSymLink()) {
            CliOutput::error(QStringLiteral("%1: File not found").arg(file));
            anyFailed = true;
            continue;
        }
        // The core's account of a failure is the line printed here.
        CoreLog::Held held;
        const FileProcessingResult result = QCoro::waitFor(useCase.processAnalyzedFile(
            info.absoluteFilePath(), analysis, std::nullopt, ProcessedFileSource::Batch, ManualProvider));
        if (result.success) {
            CliOutput::line(QStringLiteral("%1 -> %2").arg(info.fileName(), result.newName.value_or(QString())));
        } else {
            held.failureReported();
            CliOutput::error(QStringLiteral("%1: %2").arg(file, result.error.value_or(QString())));
            profile->diagnostics().reportFailure(
                QStringLiteral("cli_apply"),
                BatchAnalysisIssues::renameFailureReason(result.error.value_or(QString())));
            anyFailed = true;
        }
    }
    return anyFailed ? ExitStatus::ItemFailed : ExitStatus::Success;
}

} // namespace Nomly
