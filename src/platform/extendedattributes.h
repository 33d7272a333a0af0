#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

#include "platform/result.h"

namespace Nomly {

// The extended attributes of the entry a path names, never of what a
// symbolic link points to: tags and comments are written to the file the
// user gave, not to one elsewhere that a link leads to. Failures carry errno
// as code; ENOTSUP means a file system that keeps no attributes.
class ExtendedAttributes final
{
public:
    ExtendedAttributes() = delete;

    // None when the file does not carry the attribute.
    static Result<std::optional<QByteArray>> read(const QString &path, const QByteArray &name);
    static Result<> write(const QString &path, const QByteArray &name, const QByteArray &value);
    // Removing an attribute the file does not carry succeeds: the goal is met.
    static Result<> remove(const QString &path, const QByteArray &name);
    static Result<QList<QByteArray>> names(const QString &path);
};

} // namespace Nomly
