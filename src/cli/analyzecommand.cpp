#include "cli/analyzecommand.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include "ai/imageanalysisjson.h"
#include "cli/aicommandrun.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/templateoptions.h"

namespace Nomly {

namespace {

void printAnalysis(const FileAnalysisOutcome &outcome)
{
    const QString name = QFileInfo(outcome.path).fileName();
    if (!outcome.succeeded()) {
        CliOutput::line(QStringLiteral("%1\n  error: %2").arg(name, outcome.error));
        return;
    }
    const ImageAnalysis &analysis = *outcome.analysis;
    QStringList lines { name, QStringLiteral("  title: ") + analysis.title.value_or(QString()) };
    if (!analysis.description.isEmpty())
        lines.append(QStringLiteral("  description: ") + analysis.description);
    if (!analysis.tags.isEmpty())
        lines.append(QStringLiteral("  tags: ") + analysis.tags.join(QStringLiteral(", ")));
    const std::pair<const char16_t *, const std::optional<QString> *> optionals[] = {
        { u"type", &analysis.type },
        { u"vendor", &analysis.vendor },
        { u"amount", &analysis.amount },
    };
    for (const auto &[label, value] : optionals) {
        if (*value && !(*value)->isEmpty())
            lines.append(QStringLiteral("  %1: %2").arg(QString::fromUtf16(label), **value));
    }
    for (auto it = analysis.detectedFields.cbegin(); it != analysis.detectedFields.cend(); ++it)
        lines.append(QStringLiteral("  field %1: %2").arg(it.key(), it.value()));
    CliOutput::line(lines.join(u'\n'));
}

} // namespace

ExitStatus runAnalyzeCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Ask the AI about files and print what it says (title, description, tags, type, vendor, "
                       "amount, naming fields) and the route that answered. Nothing is renamed.\n"
                       "Needs your agreement to AI data processing first ('nomly consent --agree').\n\n"
                       "The cloud route goes to the backend NOMLY_BACKEND_URL names, or to one built in that "
                       "calls your provider with your own key ('nomly keys set PROVIDER'). The local route asks "
                       "the Ollama server of the localAIEndpoint setting."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON instead of text."));
    parser.addOption(jsonOption);
    const RouteOptions routeOptions(parser);
    parser.addPositionalArgument(
        QStringLiteral("FILE"), QStringLiteral("Files to analyse."), QStringLiteral("FILE..."));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        CliOutput::error(QStringLiteral("no files given; run 'nomly analyze --help'"));
        return ExitStatus::UsageError;
    }
    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    const Settings &settings = profile->settings();
    QString error;
    auto options = routeOptions.read(parser, settings, TemplateOptions::resolve(settings, AnalysisSettings()), &error);
    if (!options) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    // Everything the AI can say is shown, whatever the settings write.
    options->outputOptions = AIAnalysisOutputOptions {};
    ExitStatus status = ExitStatus::Success;
    const auto result = runAnalysis(*profile, files, *options, &status);
    if (!result)
        return status;

    bool anyFailed = false;
    const QString route = routeDescription(*options, result->effectiveProvider);
    if (parser.isSet(jsonOption)) {
        QJsonArray entries;
        for (const FileAnalysisOutcome &outcome : result->files) {
            QJsonObject entry { { QStringLiteral("path"), outcome.path } };
            if (outcome.succeeded())
                entry.insert(QStringLiteral("analysis"), toJson(*outcome.analysis));
            else
                entry.insert(QStringLiteral("error"), outcome.error);
            anyFailed = anyFailed || !outcome.succeeded();
            entries.append(entry);
        }
        CliOutput::json(QJsonDocument(QJsonObject {
            { QStringLiteral("route"), route },
            { QStringLiteral("files"), entries },
        }));
    } else {
        for (const FileAnalysisOutcome &outcome : result->files) {
            printAnalysis(outcome);
            anyFailed = anyFailed || !outcome.succeeded();
        }
        CliOutput::line(QStringLiteral("route: ") + route);
    }
    return anyFailed ? ExitStatus::ItemFailed : ExitStatus::Success;
}

} // namespace Nomly
