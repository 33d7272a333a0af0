#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace Nomly {

// The subtitles or transcript kept beside a media file under the same base
// name (compared without case): an .srt or .vtt file, or one of the
// plain-text extensions given. Hidden files are passed over. The text is
// cleaned, must be readable, and is cut to the sidecar limit.
std::optional<QString> sidecarText(const QString &mediaPath, const QStringList &plainTextExtensions);

} // namespace Nomly
