#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

#include "naming/namingcasestyle.h"
#include "naming/namingpatternblock.h"
#include "naming/namingpatternseparator.h"
#include "settings/aiprocessingmode.h"
#include "settings/aiprovider.h"
#include "settings/appearancemode.h"
#include "settings/interfacelanguage.h"
#include "settings/keyboardshortcut.h"
#include "settings/localaibackend.h"

namespace Nomly {

// The one global configuration record. Field order is the order of the stored
// JSON. API keys never live here; the has…ApiKey flags only say that the
// secret store holds one.
struct Settings
{
    QStringList watchedFolders;
    QString namingPattern = QStringLiteral("{title}");
    std::optional<QList<NamingPatternBlock>> namingPatternBlocks;
    NamingCaseStyle namingCaseStyle = NamingCaseStyle::Title;
    NamingPatternSeparator namingWordSeparator = NamingPatternSeparator::Space;
    NamingPatternSeparator namingBlockSeparator = NamingPatternSeparator::Space;
    bool autoStart = false;
    bool isCustomPatternEnabled = false;
    bool addFinderTags = false;
    bool addSpotlightMetadata = false;
    bool monitorSubfolders = true;
    bool monitoringPaused = false;
    bool showDockIcon = true;
    bool appSoundsEnabled = true;
    AppearanceMode appearance = AppearanceMode::Auto;
    InterfaceLanguage interfaceLanguage = InterfaceLanguage::Auto;
    QString outputLanguage = QStringLiteral("auto");
    QString dateFormat = QStringLiteral("yyyy-MM-dd");
    QString monitorFilePrefix;
    // Absent means every supported extension, including ones added later.
    std::optional<QStringList> monitorFileExtensions;
    bool hotkeyEnabled = false;
    std::optional<KeyboardShortcut> hotkeyShortcut = KeyboardShortcut {};
    AIProvider aiProvider = AIProvider::Gemini;
    bool hasGeminiApiKey = false;
    bool hasGroqApiKey = false;
    bool hasOpenaiApiKey = false;
    bool hasClaudeApiKey = false;
    bool hasOpenaiCompatibleApiKey = false;
    bool byokEnabled = false;
    std::optional<QString> byokGeminiModel;
    std::optional<QString> byokGroqModel;
    std::optional<QString> byokOpenaiModel;
    std::optional<QString> byokClaudeModel;
    std::optional<QString> byokOpenaiCompatibleModel;
    // Where the OpenAI-compatible server answers ("http://127.0.0.1:1234/v1").
    QString openaiCompatibleBaseUrl;
    AIProcessingMode aiProcessingMode = AIProcessingMode::Cloud;
    LocalAIBackend localAIBackend = LocalAIBackend::Ollama;
    QString localAIEndpoint = QStringLiteral("http://127.0.0.1:11434");
    QString localAIModel = QStringLiteral("gemma3");
    std::optional<QString> renamePromptOverride;
    std::optional<QString> tagPromptOverride;
    bool iWorkOnlinePreviewsEnabled = true;

    // The model chosen for a provider's own key.
    std::optional<QString> &byokModel(AIProvider provider)
    {
        switch (provider) {
        case AIProvider::Gemini:
            return byokGeminiModel;
        case AIProvider::OpenAI:
            return byokOpenaiModel;
        case AIProvider::Claude:
            return byokClaudeModel;
        case AIProvider::Groq:
            return byokGroqModel;
        case AIProvider::OpenAICompatible:
            return byokOpenaiCompatibleModel;
        }
        Q_UNREACHABLE();
    }

    const std::optional<QString> &byokModel(AIProvider provider) const
    {
        return const_cast<Settings *>(this)->byokModel(provider);
    }

    // Whether the user saved a key of their own for a provider.
    bool &hasApiKey(AIProvider provider)
    {
        switch (provider) {
        case AIProvider::Gemini:
            return hasGeminiApiKey;
        case AIProvider::OpenAI:
            return hasOpenaiApiKey;
        case AIProvider::Claude:
            return hasClaudeApiKey;
        case AIProvider::Groq:
            return hasGroqApiKey;
        case AIProvider::OpenAICompatible:
            return hasOpenaiCompatibleApiKey;
        }
        Q_UNREACHABLE();
    }

    bool hasApiKey(AIProvider provider) const { return const_cast<Settings *>(this)->hasApiKey(provider); }

    // The provider that answers instead of the hosted service, if any: one
    // with the user's saved key while their own keys are on, or the user's
    // own server once it has an address, which needs no key and has no
    // hosted stand-in.
    std::optional<AIProvider> ownProvider() const
    {
        if (aiProvider == AIProvider::OpenAICompatible)
            return openaiCompatibleBaseUrl.trimmed().isEmpty() ? std::nullopt : std::optional(aiProvider);
        return byokEnabled && hasApiKey(aiProvider) ? std::optional(aiProvider) : std::nullopt;
    }

    bool operator==(const Settings &) const = default;
};

} // namespace Nomly
