#include "cli/configcommand.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>

#include "ai/localollamaservice.h"
#include "ai/remoteconfigservice.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/settingvalue.h"
#include "cli/waitedresult.h"
#include "settings/settingsjson.h"

namespace Nomly {

namespace {

// Keys that other commands own: the key flags follow what the secret store
// holds (`nomly keys`), the watched folders pass the folder checks
// (`nomly folders`).
const QStringList ManagedElsewhere {
    QStringLiteral("hasGeminiApiKey"),           QStringLiteral("hasGroqApiKey"),
    QStringLiteral("hasOpenaiApiKey"),           QStringLiteral("hasClaudeApiKey"),
    QStringLiteral("hasOpenaiCompatibleApiKey"), QStringLiteral("watchedFolders"),
};

QString valueText(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QJsonValue::Double:
        return QString::number(value.toDouble());
    case QJsonValue::Array:
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    case QJsonValue::Object:
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    default:
        return QStringLiteral("(not set)");
    }
}

ExitStatus setValue(CliProfile &profile, const QString &key, const QString &text)
{
    QJsonObject json = toJson(profile.settings());
    const RemoteConfig remote = RemoteConfigService::cachedConfig(profile.userDefaults());
    const SettingRules rules { remote.promptMaxChars, remote.supportedExtensions() };
    const Result<QJsonValue> value = settingValue(key, text, json.value(key), rules);
    if (!value) {
        CliOutput::error(value.error() + QStringLiteral("; nothing was saved"));
        return ExitStatus::UsageError;
    }
    if (value.value().isNull())
        json.remove(key);
    else
        json.insert(key, value.value());

    QString error;
    const std::optional<Settings> decoded = settingsFromJson(json, &error);
    // A value that decoding quietly replaced would be saved as something the
    // user did not ask for.
    const QJsonValue stored = decoded ? toJson(*decoded).value(key) : QJsonValue();
    if (!decoded || (!value.value().isNull() && stored != value.value())) {
        CliOutput::error(QStringLiteral("'%1' is not a valid value for %2%3; nothing was saved")
                             .arg(text, key, error.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(error)));
        return ExitStatus::UsageError;
    }
    // The local route is switched on only where Ollama answers with a
    // model, so that the next rename doesn't fail on every file.
    if (decoded->aiProcessingMode == AIProcessingMode::Local
        && profile.settings().aiProcessingMode != AIProcessingMode::Local) {
        QNetworkAccessManager network;
        LocalOllamaService ollama(network);
        const Result<QStringList, LocalOllamaError> models
            = waitedResult(ollama.installedModels(decoded->localAIEndpoint));
        if (const std::optional<QString> refusal = LocalOllamaService::enableRefusal(models)) {
            CliOutput::error(*refusal + QStringLiteral(" (%1; nothing was saved)").arg(decoded->localAIEndpoint));
            return ExitStatus::ItemFailed;
        }
    }
    if (const auto saved = profile.saveSettings(*decoded); !saved) {
        CliOutput::error(QStringLiteral("the settings could not be saved: %1").arg(saved.error()));
        return ExitStatus::ItemFailed;
    }
    CliOutput::line(QStringLiteral("%1 = %2").arg(key, valueText(stored)));
    return ExitStatus::Success;
}

} // namespace

ExitStatus runConfigCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Show and change the global settings. Keys are the field names of the settings record "
                       "(namingPattern, namingCaseStyle, dateFormat, addFinderTags, ...); 'nomly config show' lists "
                       "them with their values.\n\n"
                       "  nomly config show [--json]\n"
                       "  nomly config get KEY\n"
                       "  nomly config set KEY VALUE    (VALUE 'none' clears an optional setting)\n\n"
                       "Separators take space, underscore, hyphen, dot or none; hotkeyShortcut takes keys such as "
                       "Ctrl+Shift+R; monitorFileExtensions takes extensions separated by commas. A value that does "
                       "not fit its key, or that the settings window would refuse (a prompt over the limit, an "
                       "extension Monitor does not take), is refused, and nothing is saved."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("With show: print the JSON record."));
    parser.addOption(jsonOption);
    parser.addPositionalArgument(
        QStringLiteral("ACTION"), QStringLiteral("show, get or set."), QStringLiteral("ACTION"));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const QStringList words = parser.positionalArguments();
    const QString action = words.value(0);
    const qsizetype expected = action == u"show" ? 1 : action == u"get" ? 2 : action == u"set" ? 3 : -1;
    if (expected < 0 || words.size() != expected) {
        CliOutput::error(QStringLiteral("usage: nomly config show | get KEY | set KEY VALUE"));
        return ExitStatus::UsageError;
    }
    const QString key = words.value(1);
    if (expected > 1 && !settingsFieldNames().contains(key)) {
        CliOutput::error(QStringLiteral("unknown setting '%1'; 'nomly config show' lists them").arg(key));
        return ExitStatus::UsageError;
    }
    if (action == u"set" && ManagedElsewhere.contains(key)) {
        CliOutput::error(
            QStringLiteral("%1 is changed through %2")
                .arg(key,
                     key == u"watchedFolders" ? QStringLiteral("'nomly folders'") : QStringLiteral("'nomly keys'")));
        return ExitStatus::UsageError;
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    if (action == u"set")
        return setValue(*profile, key, words.value(2));

    const QJsonObject json = toJson(profile->settings());
    if (action == u"get") {
        CliOutput::line(valueText(json.value(key)));
    } else if (parser.isSet(jsonOption)) {
        CliOutput::json(QJsonDocument(json));
    } else {
        for (const QString &name : settingsFieldNames())
            CliOutput::line(QStringLiteral("%1 = %2").arg(name, valueText(json.value(name))));
    }
    return ExitStatus::Success;
}

} // namespace Nomly
