#include "cli/keyscommand.h"

#include <QCommandLineParser>
#include <QNetworkAccessManager>
#include <QTextStream>
#include <cstdio>

#include <unistd.h>

#include "ai/cloudaiprobeservice.h"
#include "ai/keycustody.h"
#include "ai/secretstores.h"
#include "app/airoute.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/corelog.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

const QString Usage = QStringLiteral("usage: nomly keys list | set PROVIDER | test PROVIDER | remove PROVIDER");

// Keys come on standard input only: a key on the command line would stay in
// the shell's history and in the process list.
QString readKey()
{
    if (::isatty(STDIN_FILENO))
        CliOutput::error(QStringLiteral("paste the key and press Enter (it is not shown again):"));
    QTextStream in(stdin);
    return in.readLine().trimmed();
}

} // namespace

ExitStatus runKeysCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Your own API keys for the AI providers (%1), kept in the desktop's Secret Service, or where "
                       "none runs in a file only you can read ($XDG_CONFIG_HOME/Nomly/secrets.json).\n\n"
                       "  nomly keys list              which providers have a key (never the key)\n"
                       "  nomly keys set PROVIDER      reads the key from standard input; the provider is asked\n"
                       "                               first, and a key it refuses is not stored\n"
                       "  nomly keys test PROVIDER     tries the stored key with the provider's model list\n"
                       "                               (\"Connection OK\", or what the provider answered)\n"
                       "  nomly keys remove PROVIDER\n\n"
                       "Example: printf '%%s' \"$KEY\" | nomly keys set openai")
            .arg(aiProviderNames()));
    const QCommandLineOption helpOption = parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("ACTION"), QStringLiteral("list, set, test or remove."));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const QStringList words = parser.positionalArguments();
    const QString action = words.value(0);
    const bool takesProvider = action == u"set" || action == u"test" || action == u"remove";
    if ((!takesProvider && action != u"list") || words.size() != (takesProvider ? 2 : 1)) {
        CliOutput::error(Usage);
        return ExitStatus::UsageError;
    }
    const std::optional<AIProvider> named = takesProvider ? aiProviderNamed(words.at(1)) : std::nullopt;
    if (takesProvider && !named) {
        CliOutput::error(QStringLiteral("unknown provider '%1'; use one of: %2").arg(words.at(1), aiProviderNames()));
        return ExitStatus::UsageError;
    }
    // Listing needs none; every other action has one from here on.
    const AIProvider provider = named.value_or(AIProvider::Gemini);
    QString key;
    if (action == u"set") {
        key = readKey();
        if (key.isEmpty()) {
            CliOutput::error(QStringLiteral("no key on standard input; nothing was saved"));
            return ExitStatus::UsageError;
        }
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    SecretStores stores = SecretStores::forSession();
    KeyCustody custody(*stores.primary, stores.legacy.get());
    profile->tellWhereKeysAreKept(stores, CliProfile::FileFallbackNotice::Always);

    if (action == u"list") {
        for (const auto &[each, raw] : AIProviderRawValues) {
            const bool has = QCoro::waitFor(custody.has(each));
            CliOutput::line(QStringLiteral("%1  %2")
                                .arg(QString::fromUtf16(raw), -16)
                                .arg(has ? QStringLiteral("set") : QStringLiteral("not set")));
        }
        return ExitStatus::Success;
    }
    if (action == u"test") {
        const std::optional<QString> stored = QCoro::waitFor(custody.load(provider));
        QNetworkAccessManager network;
        CloudAIProbeService probe(network);
        const AIConnectionStatus status = QCoro::waitFor(
            probe.testKey(provider, stored.value_or(QString()), profile->settings().openaiCompatibleBaseUrl));
        if (status.kind == AIConnectionStatus::Kind::Ready) {
            CliOutput::line(status.text());
            return ExitStatus::Success;
        }
        CliOutput::error(QStringLiteral("%1: %2").arg(rawValue(provider), status.text()));
        return ExitStatus::ItemFailed;
    }
    if (action == u"set") {
        // The backend tries the key with the provider before anything is kept.
        Result<std::unique_ptr<AIRoute>> route = AIRoute::open(profile->userDefaults(), true);
        if (!route) {
            CliOutput::error(route.error());
            return ExitStatus::ItemFailed;
        }
        CoreLog::Held held;
        const Result<> saved = QCoro::waitFor(profile->state().saveApiKey(route.value()->keySync(), provider, key));
        if (!saved) {
            held.failureReported();
            CliOutput::error(
                QStringLiteral("the key for %1 was not stored: %2").arg(rawValue(provider), saved.error()));
            return ExitStatus::ItemFailed;
        }
        CliOutput::line(QStringLiteral("Stored the key for %1").arg(rawValue(provider)));
        return ExitStatus::Success;
    }
    if (!QCoro::waitFor(profile->state().removeApiKey(custody, provider))) {
        CliOutput::error(QStringLiteral("the key for %1 could not be removed").arg(rawValue(provider)));
        return ExitStatus::ItemFailed;
    }
    CliOutput::line(QStringLiteral("Removed the key for %1").arg(rawValue(provider)));
    return ExitStatus::Success;
}

} // namespace Nomly
