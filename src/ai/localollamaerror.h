#pragma once

#include <QString>

namespace Nomly {

// Where a local Ollama stands, as far as this machine can tell.
enum class OllamaAvailability
{
    Reachable,
    NotInstalled,
    NotRunning,
    Unavailable,
};

// Why Ollama's models could not be listed.
struct LocalOllamaError
{
    OllamaAvailability availability = OllamaAvailability::Unavailable;
    QString message;

    // What the user reads.
    QString text() const
    {
        switch (availability) {
        case OllamaAvailability::NotInstalled:
            return QStringLiteral("Ollama is not installed");
        case OllamaAvailability::NotRunning:
            return QStringLiteral("Ollama is not running");
        case OllamaAvailability::Reachable:
        case OllamaAvailability::Unavailable:
            break;
        }
        return message.isEmpty() ? QStringLiteral("Ollama is unavailable") : message;
    }

    bool operator==(const LocalOllamaError &) const = default;
};

// The word analytics records for an availability.
inline QString telemetryWord(OllamaAvailability availability)
{
    static constexpr const char16_t *Words[] = { u"reachable", u"not_installed", u"not_running", u"unavailable" };
    return QString::fromUtf16(Words[static_cast<int>(availability)]);
}

} // namespace Nomly
