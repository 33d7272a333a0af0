#include "cli/renamecommand.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include "cli/aicommandrun.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/corelog.h"
#include "cli/templateoptions.h"
#include "cli/writeoptions.h"
#include "workflows/processanalyzedfileusecase.h"

namespace Nomly {

ExitStatus runRenameCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Ask the AI about files and rename each under the name your template builds from the "
                       "answer; tags and the description are written as metadata when the settings (or "
                       "--write-tags, --write-comment) say so. Every rename is recorded as part of this command's "
                       "run: 'nomly undo --last-run' takes them all back. A file already at the new name is never "
                       "replaced.\n"
                       "Needs your agreement to AI data processing first ('nomly consent --agree'). Prints "
                       "'old -> new' per file; a file whose analysis failed is reported and left as it was."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const TemplateOptions templateOptions(parser, TemplateOptions::StoredTemplate::Offered);
    const RouteOptions routeOptions(parser);
    const WriteOptions writeOptions(parser);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Files to rename."), QStringLiteral("FILE..."));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    QString error;
    const auto given = templateOptions.read(parser, &error);
    if (!given) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        CliOutput::error(QStringLiteral("no files given; run 'nomly rename --help'"));
        return ExitStatus::UsageError;
    }
    for (const QString &file : files) {
        if (QFileInfo(file).isDir()) {
            CliOutput::error(QStringLiteral("%1: is a folder, not a file").arg(file));
            return ExitStatus::UsageError;
        }
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    auto resolved = templateOptions.effectiveSettings(parser, *profile, *given, &error);
    if (!resolved) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    const EffectiveAnalysisSettings settings = writeOptions.applied(parser, std::move(*resolved));
    auto options = routeOptions.read(parser, profile->settings(), settings, &error);
    if (!options) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }

    ExitStatus status = ExitStatus::Success;
    const auto result = runAnalysis(*profile, files, *options, &status);
    if (!result)
        return status;

    ProcessAnalyzedFileUseCase useCase(profile->database(), profile->undoIgnore());
    WriteOptions::bind(useCase, settings);
    const QString provider = result->effectiveProvider.value_or(options->usesLocalAI() ? QStringLiteral("ollama")
                                                                                       : QStringLiteral("hosted"));
    bool anyFailed = false;
    for (const FileAnalysisOutcome &outcome : result->files) {
        const QString name = QFileInfo(outcome.path).fileName();
        if (!outcome.succeeded()) {
            CliOutput::error(QStringLiteral("%1: %2").arg(name, outcome.error));
            anyFailed = true;
            continue;
        }
        CoreLog::Held held;
        const FileProcessingResult processed = QCoro::waitFor(useCase.processAnalyzedFile(
            outcome.path, *outcome.analysis, std::nullopt, ProcessedFileSource::Batch, provider));
        if (processed.success) {
            CliOutput::line(QStringLiteral("%1 -> %2").arg(name, processed.newName.value_or(QString())));
        } else {
            held.failureReported();
            CliOutput::error(QStringLiteral("%1: %2").arg(name, processed.error.value_or(QString())));
            anyFailed = true;
        }
    }
    return anyFailed ? ExitStatus::ItemFailed : ExitStatus::Success;
}

} // namespace Nomly
