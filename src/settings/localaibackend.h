#pragma once

#include <QString>
#include <optional>

#include "naming/rawvalue.h"

namespace Nomly {

// The kind of local model server analysis talks to.
enum class LocalAIBackend
{
    Ollama,
};

inline constexpr RawValueTable<LocalAIBackend, 1> LocalAIBackendRawValues { {
    { LocalAIBackend::Ollama, u"ollama" },
} };

inline QString rawValue(LocalAIBackend value)
{
    return rawValueIn(LocalAIBackendRawValues, value);
}

inline std::optional<LocalAIBackend> localAIBackendFromRaw(QStringView raw)
{
    return fromRawValueIn(LocalAIBackendRawValues, raw);
}

} // namespace Nomly
