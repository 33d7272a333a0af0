#pragma once

#include <QString>
#include <QStringList>

namespace Nomly {

// The extensions the program handles without remote configuration: lowercased,
// without dots. Remote configuration may extend these later; the naming engine
// always classifies by the built-in lists so that a name never depends on the
// network.
struct BuiltInExtensions
{
    static const QStringList &image();
    static const QStringList &design();
    static const QStringList &document();
    static const QStringList &video();
    static const QStringList &audio();

    // "design", "image", "video", "audio", "document" or "file", tested in
    // that order against the lowercased extension.
    static QString kindForExtension(const QString &extension);
};

} // namespace Nomly
