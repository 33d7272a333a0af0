#include "cli/modelscommand.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>

#include "ai/cloudaiprobeservice.h"
#include "ai/keycustody.h"
#include "ai/secretstores.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/ollamacommand.h"
#include "cli/waitedresult.h"

namespace Nomly {

namespace {

// The address the profile holds for the user's own server; empty for the
// vendors, none (with the reason printed) when the profile can't be read.
std::optional<QString> ownServerUrl(AIProvider provider)
{
    if (provider != AIProvider::OpenAICompatible)
        return QString();
    const auto profile = CliProfile::open();
    if (!profile)
        return std::nullopt;
    return profile->settings().openaiCompatibleBaseUrl;
}

} // namespace

ExitStatus runModelsCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral(
            "List the models of a provider (%1) that your stored key can use for analyses, or with 'ollama' the "
            "models of the local Ollama. For a provider: the "
            "provider's own list, without models for speech, pictures, search or embeddings and "
            "without retired ones, sorted by id. 'nomly config set' with the provider's model key "
            "chooses one (byokOpenaiModel, byokOpenaiCompatibleModel, ...). For openaiCompatible the "
            "server at openaiCompatibleBaseUrl is asked, with its key when one is stored.")
            .arg(aiProviderNames()));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON instead of text."));
    parser.addOption(jsonOption);
    parser.addPositionalArgument(QStringLiteral("PROVIDER"), QStringLiteral("The provider."));
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const QStringList words = parser.positionalArguments();
    if (words == QStringList { QStringLiteral("ollama") })
        return printOllamaModels(parser.isSet(jsonOption));
    const auto provider = words.size() == 1 ? aiProviderNamed(words.first()) : std::nullopt;
    if (!provider) {
        CliOutput::error(
            QStringLiteral("usage: nomly models PROVIDER [--json]; PROVIDER is one of: %1").arg(aiProviderNames()));
        return ExitStatus::UsageError;
    }

    const std::optional<QString> serverUrl = ownServerUrl(*provider);
    if (!serverUrl)
        return ExitStatus::UsageError;
    SecretStores stores = SecretStores::forSession();
    KeyCustody custody(*stores.primary, stores.legacy.get());
    const std::optional<QString> key = QCoro::waitFor(custody.load(*provider));
    QNetworkAccessManager network;
    CloudAIProbeService probe(network);
    const Result<QList<ModelOption>, ModelListError> models
        = waitedResult(probe.loadModels(*provider, key.value_or(QString()), *serverUrl));
    if (!models) {
        CliOutput::error(QStringLiteral("%1: %2").arg(rawValue(*provider), models.error()));
        return ExitStatus::ItemFailed;
    }
    if (parser.isSet(jsonOption)) {
        QJsonArray list;
        for (const ModelOption &model : models.value())
            list.append(QJsonObject { { QStringLiteral("id"), model.id },
                                      { QStringLiteral("displayName"), model.displayName } });
        CliOutput::json(QJsonDocument(list));
        return ExitStatus::Success;
    }
    if (models.value().isEmpty())
        CliOutput::line(QStringLiteral("No compatible analysis models returned by provider"));
    for (const ModelOption &model : models.value())
        CliOutput::line(model.displayName == model.id ? model.id
                                                      : QStringLiteral("%1  (%2)").arg(model.id, model.displayName));
    return ExitStatus::Success;
}

} // namespace Nomly
