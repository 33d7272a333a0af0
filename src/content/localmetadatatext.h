#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// What a picture's own metadata says, as short "Label: value" lines for the
// AI: its type, dates and size, its pixel size, and the camera's capture
// date, make, model, lens, focal length and ISO. Duplicates and empty values
// are left out; at most 1,600 characters. None for a missing file.
std::optional<QString> localMetadataText(const QString &path);

// Text recognised in the pictures an Office or OpenDocument file carries:
// the first five of its media folder by name, each read up to 8,000,000
// bytes. None for other files or when nothing legible is found.
std::optional<QString> embeddedImagesText(const QString &path);

} // namespace Nomly
