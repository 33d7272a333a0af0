#pragma once

#include <QString>

namespace Nomly {

enum class FolderEventKind
{
    // A file was created, written, closed after writing or had its
    // attributes changed.
    Written,
    // A file was renamed into a watched folder, from inside or outside it.
    MovedIn,
    // A watched root was deleted, moved away or unmounted; it is no longer
    // watched.
    RootChanged,
    // The kernel's queue ran full and dropped events; `path` is empty.
    Overflowed,
};

// One change the kernel reported under a watched folder. The path is built
// from the root as it was handed to the stream, not resolved.
struct FolderEvent
{
    FolderEventKind kind = FolderEventKind::Written;
    QString path;

    bool operator==(const FolderEvent &) const = default;
};

} // namespace Nomly
