#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// The tags a sound file carries about itself (title, artist, album artist,
// album, genre, release date, composer), as the text that lets a model name
// it: a song's own tags name it better than anything heard in it, and with
// them no sound needs to leave the machine. None when the file has no such
// tag or cannot be read.
std::optional<QString> embeddedAudioMetadataText(const QString &path);

} // namespace Nomly
