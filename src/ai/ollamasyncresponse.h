#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// The backend's answer to a mode sync; every field may be missing.
struct OllamaSyncResponse
{
    std::optional<bool> success;
    std::optional<QString> message;
    std::optional<QString> error;
    std::optional<bool> ollamaEnabled;

    bool operator==(const OllamaSyncResponse &) const = default;
};

} // namespace Nomly
