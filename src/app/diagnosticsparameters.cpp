#include "app/diagnosticsparameters.h"

#include "settings/settings.h"

namespace Nomly {

namespace {

// Diagnostics words are lower case: "openaiCompatible" is recorded as
// "openai_compatible".
QString providerWord(AIProvider provider)
{
    QString word;
    for (const QChar c : rawValue(provider)) {
        if (c.isUpper())
            word += QLatin1Char('_') + c.toLower();
        else
            word += c;
    }
    return word;
}

} // namespace

QString effectiveAIProviderWord(const Settings &settings)
{
    switch (settings.aiProcessingMode) {
    case AIProcessingMode::Off:
        return QStringLiteral("off");
    case AIProcessingMode::Local:
        return QStringLiteral("ollama");
    case AIProcessingMode::Cloud:
        break;
    }
    const std::optional<AIProvider> own = settings.ownProvider();
    return own ? providerWord(*own) : providerWord(AIProvider::Gemini);
}

DiagnosticsParameters diagnosticsCommonParameters(const Settings &settings,
                                                  bool onboardingComplete,
                                                  bool consentGranted)
{
    bool hasKey = false;
    for (const AIProvider provider :
         { AIProvider::Gemini, AIProvider::OpenAI, AIProvider::Claude, AIProvider::Groq, AIProvider::OpenAICompatible })
        hasKey = hasKey || settings.hasApiKey(provider);
    return {
        { QStringLiteral("app_version"), QStringLiteral(NOMLY_VERSION) },
        { QStringLiteral("build_target"), QStringLiteral("linux") },
        { QStringLiteral("has_byok"), DiagnosticsVocabulary::flag(hasKey) },
        { QStringLiteral("byok_enabled"), DiagnosticsVocabulary::flag(settings.byokEnabled) },
        { QStringLiteral("ollama_enabled"),
          DiagnosticsVocabulary::flag(settings.aiProcessingMode == AIProcessingMode::Local) },
        { QStringLiteral("ai_provider"), providerWord(settings.aiProvider) },
        { QStringLiteral("ai_processing_mode"), rawValue(settings.aiProcessingMode) },
        { QStringLiteral("effective_ai_provider"), effectiveAIProviderWord(settings) },
        { QStringLiteral("onboarding_complete"), DiagnosticsVocabulary::flag(onboardingComplete) },
        { QStringLiteral("consent_granted"), DiagnosticsVocabulary::flag(consentGranted) },
    };
}

DiagnosticsParameters diagnosticsContext(const Settings &settings)
{
    DiagnosticsParameters context = diagnosticsCommonParameters(settings, true, true);
    for (const QString &key : { QStringLiteral("onboarding_complete"), QStringLiteral("consent_granted") })
        context.remove(key);
    context.insert(QStringLiteral("local_ai_backend"), QStringLiteral("ollama"));
    context.insert(QStringLiteral("has_local_ai_model"),
                   DiagnosticsVocabulary::flag(!settings.localAIModel.trimmed().isEmpty()));
    context.insert(QStringLiteral("monitor_extension_filter"),
                   settings.monitorFileExtensions ? QStringLiteral("custom") : QStringLiteral("all"));
    return context;
}

} // namespace Nomly
