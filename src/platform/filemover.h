#pragma once

#include <QString>

#include "platform/result.h"

namespace Nomly {

// Moves a file or folder to a path where nothing exists, never replacing what
// is there and never losing the source. Within one file system the move is
// one atomic rename that refuses an existing destination. Across file systems
// a regular file is copied with its attributes, synced, checked for size and
// only then removed from its old place; any failure removes the partial copy
// and leaves the source as it was.
class FileMover final
{
public:
    FileMover() = delete;

    // Fails with errno's code and a message that names both paths.
    static Result<> move(const QString &source, const QString &destination);
};

} // namespace Nomly
