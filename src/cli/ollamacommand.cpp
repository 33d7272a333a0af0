#include "cli/ollamacommand.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>

#include "ai/localollamaservice.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/waitedresult.h"

namespace Nomly {

namespace {

struct OllamaState
{
    QString endpoint;
    QString model;
    Result<QStringList, LocalOllamaError> models;
};

std::optional<OllamaState> currentState()
{
    const auto profile = CliProfile::open();
    if (!profile)
        return std::nullopt;
    const Settings &settings = profile->settings();
    QNetworkAccessManager network;
    LocalOllamaService ollama(network);
    return OllamaState { settings.localAIEndpoint,
                         settings.localAIModel,
                         waitedResult(ollama.installedModels(settings.localAIEndpoint)) };
}

} // namespace

ExitStatus printOllamaModels(bool json)
{
    const std::optional<OllamaState> state = currentState();
    if (!state)
        return ExitStatus::UsageError;
    if (!state->models) {
        CliOutput::error(QStringLiteral("%1 at %2").arg(state->models.error(), state->endpoint));
        return ExitStatus::ItemFailed;
    }
    if (json) {
        CliOutput::json(QJsonDocument(QJsonArray::fromStringList(state->models.value())));
        return ExitStatus::Success;
    }
    if (state->models.value().isEmpty())
        CliOutput::line(QStringLiteral("No models installed"));
    for (const QString &name : state->models.value())
        CliOutput::line(name);
    return ExitStatus::Success;
}

ExitStatus runOllamaCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "The local Ollama the local route uses (the localAIEndpoint setting): whether it is installed (an "
        "'ollama' program on the PATH or a systemd unit), whether it answers, its models, and whether the chosen "
        "model (localAIModel) is among them.\n\n"
        "  nomly ollama status [--json]\n"
        "  nomly models ollama [--json]    the installed models alone"));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON instead of text."));
    parser.addOption(jsonOption);
    parser.addPositionalArgument(QStringLiteral("ACTION"), QStringLiteral("status."));
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    if (parser.positionalArguments() != QStringList { QStringLiteral("status") }) {
        CliOutput::error(QStringLiteral("usage: nomly ollama status [--json]"));
        return ExitStatus::UsageError;
    }
    const std::optional<OllamaState> state = currentState();
    if (!state)
        return ExitStatus::UsageError;
    const OllamaAvailability availability
        = state->models ? OllamaAvailability::Reachable : state->models.failure().availability;
    const std::optional<QString> modelProblem
        = state->models ? LocalOllamaService::modelCheck(state->models.value(), state->model) : std::nullopt;
    if (parser.isSet(jsonOption)) {
        QJsonObject out { { QStringLiteral("endpoint"), state->endpoint },
                          { QStringLiteral("availability"), telemetryWord(availability) },
                          { QStringLiteral("installed"), LocalOllamaService::isInstalled() },
                          { QStringLiteral("model"), state->model } };
        if (state->models)
            out.insert(QStringLiteral("models"), QJsonArray::fromStringList(state->models.value()));
        else
            out.insert(QStringLiteral("error"), state->models.error());
        if (modelProblem)
            out.insert(QStringLiteral("modelProblem"), *modelProblem);
        CliOutput::json(QJsonDocument(out));
        return state->models ? ExitStatus::Success : ExitStatus::ItemFailed;
    }
    if (!state->models) {
        CliOutput::line(QStringLiteral("%1 at %2").arg(state->models.error(), state->endpoint));
        return ExitStatus::ItemFailed;
    }
    CliOutput::line(QStringLiteral("Ollama answers at %1").arg(state->endpoint));
    CliOutput::line(state->models.value().isEmpty()
                        ? QStringLiteral("No models installed")
                        : QStringLiteral("Models: %1").arg(state->models.value().join(QStringLiteral(", "))));
    CliOutput::line(QStringLiteral("Chosen model: %1%2")
                        .arg(state->model, modelProblem ? QStringLiteral(" (%1)").arg(*modelProblem) : QString()));
    return ExitStatus::Success;
}

} // namespace Nomly
