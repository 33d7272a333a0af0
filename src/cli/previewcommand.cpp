#include "cli/previewcommand.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include "cli/analysisoptions.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/templateoptions.h"
#include "content/patternmetadatareader.h"
#include "naming/builtinextensions.h"
#include "naming/detectedfields.h"
#include "naming/filerenamer.h"
#include "settings/patternrendersettings.h"
#include "settings/settings.h"

namespace Nomly {

ExitStatus runPreviewCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Print the name each file would get in its folder, one line per file. Nothing is renamed.\n"
                       "The template options override the global settings for this call; the analysis options stand in "
                       "for what the AI would say about the file. A file that is not there is reported as 'File not "
                       "found', the others are still shown, and the exit status is 1."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const TemplateOptions templateOptions(parser, TemplateOptions::StoredTemplate::Offered);
    const AnalysisOptions analysisOptions(parser, AnalysisOptions::Use::Preview);
    const QCommandLineOption jsonOption(QStringLiteral("json"),
                                        QStringLiteral("Print a JSON array of objects with file, name and "
                                                       "destination."));
    parser.addOption(jsonOption);
    parser.addPositionalArgument(
        QStringLiteral("FILE"), QStringLiteral("Files to preview."), QStringLiteral("FILE..."));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;

    QString error;
    const auto preset = templateOptions.read(parser, &error);
    const auto analysis = preset ? analysisOptions.read(parser, &error) : std::nullopt;
    if (!preset || !analysis) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        CliOutput::error(QStringLiteral("no files given; run 'nomly preview --help'"));
        return ExitStatus::UsageError;
    }
    for (const QString &file : files) {
        if (QFileInfo(file).isDir()) {
            CliOutput::error(QStringLiteral("'%1' is a folder, not a file").arg(file));
            return ExitStatus::UsageError;
        }
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    auto resolved = templateOptions.effectiveSettings(parser, *profile, *preset, &error);
    if (!resolved) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    const EffectiveAnalysisSettings effective = std::move(*resolved);
    PatternRenderInput input = patternRenderInput(effective);
    input.title = analysis->title;
    input.type = analysis->type;
    input.vendor = analysis->vendor;
    input.amount = analysis->amount;
    input.currency = analysis->currency;
    input.now = analysis->now;

    QMap<QString, QString> fields;
    for (auto it = analysis->fields.cbegin(); it != analysis->fields.cend(); ++it)
        fields.insert(it.key(), it.value());
    if (!analysis->currency.isEmpty())
        fields.insert(QStringLiteral("currency"), analysis->currency);

    QJsonArray results;
    PatternMetadataOptions factOptions;
    factOptions.dateFormat = effective.dateFormat;
    factOptions.imageExtensions = BuiltInExtensions::image();
    bool anyFailed = false;
    for (const QString &file : files) {
        // A missing file is one item that failed, as in the other commands;
        // the rest are still shown.
        if (!QFileInfo::exists(file)) {
            CliOutput::error(QStringLiteral("%1: File not found").arg(file));
            anyFailed = true;
            continue;
        }
        // The file's own facts, with the values given on the command line
        // merged over them as an analysis's are.
        PatternRenderInput forFile = input;
        forFile.metadata = PatternMetadataReader::read(file, factOptions);
        forFile = DetectedFields::withAnalysis(std::move(forFile), fields);
        const QString destination = FileRenamer::destination(file, forFile);
        const QString name = QFileInfo(destination).fileName();
        if (parser.isSet(jsonOption)) {
            results.append(QJsonObject {
                { QStringLiteral("file"), QFileInfo(file).absoluteFilePath() },
                { QStringLiteral("name"), name },
                { QStringLiteral("destination"), destination },
            });
        } else {
            CliOutput::line(name);
        }
    }
    if (parser.isSet(jsonOption))
        CliOutput::json(QJsonDocument(results));
    return anyFailed ? ExitStatus::ItemFailed : ExitStatus::Success;
}

} // namespace Nomly
