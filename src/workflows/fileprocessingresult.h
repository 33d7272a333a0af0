#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// How one analysed file fared: on success its new name and place, otherwise
// the text that tells the user, or a retry decision, why not.
struct FileProcessingResult
{
    bool success = false;
    std::optional<QString> newName;
    std::optional<QString> newPath;
    std::optional<QString> error;

    static FileProcessingResult failure(const QString &error) { return { false, std::nullopt, std::nullopt, error }; }

    bool operator==(const FileProcessingResult &) const = default;
};

} // namespace Nomly
