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
};

inline constexpr RawValueTable<AIProvider, 4> AIProviderRawValues { {
    { AIProvider::Gemini, u"gemini" },
    { AIProvider::OpenAI, u"openai" },
    { AIProvider::Claude, u"claude" },
    { AIProvider::Groq, u"groq" },
} };

// The names users know the services by, in messages about them.
inline constexpr RawValueTable<AIProvider, 4> AIProviderDisplayNames { {
    { AIProvider::Gemini, u"Google AI" },
    { AIProvider::OpenAI, u"OpenAI" },
    { AIProvider::Claude, u"Anthropic" },
    { AIProvider::Groq, u"Groq" },
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
