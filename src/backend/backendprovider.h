#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// The services nomly-backend can hand an analysis to. OpenAI and Groq speak the
// same chat completions dialect as the user's own OpenAI-compatible
// server; Ollama needs no key.
enum class BackendProvider
{
    OpenAI,
    Gemini,
    Claude,
    Groq,
    Ollama,
    // The user's own server speaking OpenAI's chat protocol at an address
    // the request names; its key is optional and never kept here.
    OpenAICompatible,
};

// The lower-case name used on the wire and in the configuration ("claude").
QString providerName(BackendProvider provider);
// The name users know the service by, in messages ("Anthropic").
QString providerDisplayName(BackendProvider provider);
// A cheap model that reads images, used when nobody chose one. Empty for
// Ollama, whose models are whatever the operator pulled.
QString providerDefaultModel(BackendProvider provider);
QString providerDefaultBaseUrl(BackendProvider provider);
// Trimmed and case-insensitive; none for a name no provider has.
std::optional<BackendProvider> providerFromName(const QString &name);

} // namespace Nomly
