#pragma once

#include <QString>
#include <optional>

#include "settings/aiprovider.h"

namespace Nomly {

// The model id to store for a provider reached with the user's own key, or
// none for "use the provider's default". Groq accepts one model only, so any
// other Groq id falls back to the default.
std::optional<QString> normalizedModelId(const std::optional<QString> &model, AIProvider provider);

} // namespace Nomly
