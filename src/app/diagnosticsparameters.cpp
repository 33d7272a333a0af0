#include "app/diagnosticsparameters.h"

#include <array>

#include "history/filetypegroup.h"
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

DiagnosticsParameters fileTypeBreakdown(const QStringList &fileNames)
{
    std::array<int, FileTypeGroupRawValues.size()> counts {};
    for (const QString &name : fileNames) {
        const qsizetype dot = name.lastIndexOf(u'.');
        if (dot < 0)
            continue;
        if (const std::optional<FileTypeGroup> group = fileTypeGroupOf(name.mid(dot + 1).toLower()))
            ++counts[std::size_t(*group)];
    }
    DiagnosticsParameters breakdown;
    QStringList present;
    std::optional<FileTypeGroup> primary;
    for (const auto &[group, raw] : FileTypeGroupRawValues) {
        const int count = counts[std::size_t(group)];
        breakdown.insert(QString::fromUtf16(raw) + QStringLiteral("_count"), QString::number(count));
        if (count == 0)
            continue;
        present.append(QString::fromUtf16(raw));
        if (!primary || count > counts[std::size_t(*primary)])
            primary = group;
    }
    if (primary) {
        breakdown.insert(QStringLiteral("file_type_groups"), present.join(u','));
        breakdown.insert(QStringLiteral("primary_file_type_group"), rawValue(*primary));
    }
    return breakdown;
}

} // namespace Nomly
