#include "cli/aicommandrun.h"

#include <QFileInfo>
#include <algorithm>

#include "ai/cloudproviderendpoint.h"
#include "ai/remoteconfigservice.h"
#include "app/airoute.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/consentcommand.h"
#include "cli/corelog.h"
#include "settings/aiprocessingmode.h"
#include "workflows/batchanalysisissues.h"
#include "workflows/batchoptions.h"

namespace Nomly {

RouteOptions::RouteOptions(QCommandLineParser &parser)
    : m_mode(QStringLiteral("mode"),
             QStringLiteral("cloud (the hosted backend, or your own key) or local (an Ollama server). Default: the "
                            "aiProcessingMode setting."),
             QStringLiteral("MODE"))
    , m_provider(QStringLiteral("provider"),
                 QStringLiteral("Use your own key for this provider (%1), saved with 'nomly keys set'; "
                                "openaiCompatible is your own server at openaiCompatibleBaseUrl (LM Studio, vLLM, "
                                "llama.cpp's server, LocalAI), with a key only if it wants one. "
                                "NOMLY_OPENAI_BASE_URL (and _GEMINI_, _ANTHROPIC_, _GROQ_, _OPENAI_COMPATIBLE_) put "
                                "another server in the provider's place, with or without the version: "
                                "http://127.0.0.1:1234/v1 and http://127.0.0.1:1234 are the same.")
                     .arg(aiProviderNames()),
                 QStringLiteral("NAME"))
    , m_model(QStringLiteral("model"),
              QStringLiteral("The model: at the provider on the cloud route, the Ollama model on the local one."),
              QStringLiteral("NAME"))
{
    parser.addOptions({ m_mode, m_provider, m_model });
}

std::optional<AnalyzeBatchOptions> RouteOptions::read(const QCommandLineParser &parser,
                                                      const Settings &settings,
                                                      const EffectiveAnalysisSettings &effective,
                                                      QString *error) const
{
    AnalyzeBatchOptions options = batchOptionsFor(settings, effective);
    if (parser.isSet(m_mode)) {
        const QString mode = parser.value(m_mode).toLower();
        if (mode != u"cloud" && mode != u"local") {
            *error = QStringLiteral("--mode takes cloud or local, not '%1'").arg(parser.value(m_mode));
            return std::nullopt;
        }
        options.aiProcessingMode = mode == u"local" ? AIProcessingMode::Local : AIProcessingMode::Cloud;
    }
    if (options.aiProcessingMode == AIProcessingMode::Off) {
        *error = QStringLiteral("AI processing is off; choose a route with --mode, or turn it on with 'nomly config "
                                "set aiProcessingMode cloud'");
        return std::nullopt;
    }

    std::optional<AIProvider> provider = settings.aiProvider;
    if (parser.isSet(m_provider)) {
        provider = aiProviderNamed(parser.value(m_provider));
        if (!provider) {
            *error = QStringLiteral("unknown provider '%1'; use one of: %2")
                         .arg(parser.value(m_provider), aiProviderNames());
            return std::nullopt;
        }
        options.byokEnabled = true;
    }
    if (options.byokEnabled || provider == AIProvider::OpenAICompatible) {
        options.byokEnabled = true;
        options.aiProvider = provider;
        options.byokModel = settings.byokModel(*provider);
    }
    if (options.aiProvider == AIProvider::OpenAICompatible && !options.usesLocalAI()) {
        options.providerBaseUrl = cloudProviderBaseUrl(*options.aiProvider, settings.openaiCompatibleBaseUrl);
        if (options.providerBaseUrl->isEmpty()) {
            *error = QStringLiteral("no address is set for the OpenAI-compatible server; set it with 'nomly config set "
                                    "openaiCompatibleBaseUrl http://127.0.0.1:1234/v1'");
            return std::nullopt;
        }
    }
    if (parser.isSet(m_model)) {
        if (options.usesLocalAI())
            options.localAIModel = parser.value(m_model);
        else
            options.byokModel = parser.value(m_model);
    }

    return options;
}

AIService *LazyAIRoute::service(CliProfile &profile, bool hosted, QString *error)
{
    if (!m_route) {
        Result<std::unique_ptr<AIRoute>> opened = AIRoute::open(profile.userDefaults(), hosted);
        if (!opened) {
            *error = opened.error();
            return nullptr;
        }
        m_route = std::move(opened).value();
        if (const SecretStores *stores = m_route->secretStores())
            profile.tellWhereKeysAreKept(*stores);
    }
    return &m_route->service();
}

std::optional<AnalyzeFilesResult> runAnalysis(CliProfile &profile,
                                              const QStringList &paths,
                                              const AnalyzeBatchOptions &options,
                                              ExitStatus *status)
{
    if (!profile.state().consent().aiDataConsentGranted()) {
        CliOutput::error(consentMissingText());
        *status = ExitStatus::UsageError;
        return std::nullopt;
    }
    QStringList absolutePaths;
    for (const QString &path : paths)
        absolutePaths.append(QFileInfo(path).absoluteFilePath());

    LazyAIRoute route;
    QString error;
    AIService *service = route.service(profile, !options.usesLocalAI(), &error);
    if (!service) {
        CliOutput::error(error);
        *status = ExitStatus::ItemFailed;
        return std::nullopt;
    }
    const RemoteConfig remote = RemoteConfigService::cachedConfig(profile.userDefaults());
    AnalyzeFilesUseCase useCase(*service, extractionOptionsFor(remote, profile.settings()));
    // Each file's failure is printed with its file by the command.
    CoreLog::Held held;
    AnalyzeFilesResult result = QCoro::waitFor(useCase.analyze(absolutePaths, options));
    for (const FileAnalysisOutcome &outcome : std::as_const(result.files)) {
        if (outcome.succeeded())
            continue;
        held.failureReported();
        const QString fallback
            = outcome.preparationFailed ? QStringLiteral("unreadable") : QStringLiteral("analysis_failed");
        profile.diagnostics().reportFailure(QStringLiteral("cli_analysis"),
                                            BatchAnalysisIssues::failureReason(outcome.error, fallback));
    }
    return result;
}

QString routeDescription(const AnalyzeBatchOptions &options, const std::optional<QString> &effectiveProvider)
{
    const QString route = options.usesLocalAI() ? QStringLiteral("local") : QStringLiteral("hosted");
    if (!effectiveProvider || effectiveProvider->isEmpty())
        return route;
    return QStringLiteral("%1 (%2)").arg(route, *effectiveProvider);
}

} // namespace Nomly
