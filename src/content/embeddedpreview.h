#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace Nomly {

// The largest preview picture a file carries in its metadata, as camera raw
// files and many image formats do; read without decoding the image itself.
std::optional<QByteArray> largestEmbeddedPreview(const QString &path);

} // namespace Nomly
