#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

#include "ai/analyzebatchoptions.h"
#include "cli/clicommand.h"
#include "settings/effectiveanalysissettings.h"
#include "workflows/analyzefilesusecase.h"

namespace Nomly {

class AIRoute;
class AIService;
class CliProfile;

// The route options `analyze` and `rename` share: --mode, --provider, --model.
class RouteOptions final
{
public:
    explicit RouteOptions(QCommandLineParser &parser);

    // The batch options for `effective` under the stored settings, with the
    // command line over them; none, with `error`, for a bad value or an AI
    // mode that is off.
    std::optional<AnalyzeBatchOptions> read(const QCommandLineParser &parser,
                                            const Settings &settings,
                                            const EffectiveAnalysisSettings &effective,
                                            QString *error) const;

private:
    QCommandLineOption m_mode;
    QCommandLineOption m_provider;
    QCommandLineOption m_model;
};

// The AI route a command opens on its first use and keeps; where keys live
// is said once when it opens.
class LazyAIRoute final
{
public:
    // Null, with the reason, when the route cannot be opened.
    AIService *service(CliProfile &profile, bool hosted, QString *error);

private:
    std::unique_ptr<AIRoute> m_route;
};

// Checks consent, opens the route and analyses `paths`. None when the
// command must stop; the reason has been printed and `status` set.
std::optional<AnalyzeFilesResult> runAnalysis(CliProfile &profile,
                                              const QStringList &paths,
                                              const AnalyzeBatchOptions &options,
                                              ExitStatus *status);

// How the answer was reached, for the user: "hosted (openai:gpt-4o-mini)",
// "local (ollama:gemma3)".
QString routeDescription(const AnalyzeBatchOptions &options, const std::optional<QString> &effectiveProvider);

} // namespace Nomly
