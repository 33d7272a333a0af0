#pragma once

#include <QString>
#include <optional>

#include "naming/rawvalue.h"

namespace Nomly {

// The hosted or own-key service that answers analysis requests.
enum class AIProvider
{
    Gemini,
    OpenAI,
    Claude,
    Groq,
    // A server of the user's own (LM Studio, vLLM, llama.cpp's server,
    // LocalAI) speaking OpenAI's chat protocol at an address they give; a
    // key is optional.
    OpenAICompatible,
};

inline constexpr RawValueTable<AIProvider, 5> AIProviderRawValues { {
    { AIProvider::Gemini, u"gemini" },
    { AIProvider::OpenAI, u"openai" },
    { AIProvider::Claude, u"claude" },
    { AIProvider::Groq, u"groq" },
    { AIProvider::OpenAICompatible, u"openaiCompatible" },
} };

// The names users know the services by, in messages about them.
inline constexpr RawValueTable<AIProvider, 5> AIProviderDisplayNames { {
    { AIProvider::Gemini, u"Google AI" },
    { AIProvider::OpenAI, u"OpenAI" },
    { AIProvider::Claude, u"Anthropic" },
    { AIProvider::Groq, u"Groq" },
    { AIProvider::OpenAICompatible, u"OpenAI-compatible server" },
} };

inline QString displayName(AIProvider value)
{
    return rawValueIn(AIProviderDisplayNames, value);
}

inline QString rawValue(AIProvider value)
{
    return rawValueIn(AIProviderRawValues, value);
}

inline std::optional<AIProvider> aiProviderFromRaw(QStringView raw)
{
    return fromRawValueIn(AIProviderRawValues, raw);
}

} // namespace Nomly
