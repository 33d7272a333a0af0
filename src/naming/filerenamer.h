#pragma once

#include <QString>
#include <functional>

#include "naming/patternrenderinput.h"

namespace Nomly {

// Turns an analysis and a file into a new name. Stateless: the same code
// renders the live preview of a template and the name of a real file. It
// never moves anything; the caller does the move.
class FileRenamer final
{
public:
    FileRenamer() = delete;

    // The file name without extension. Never empty: an empty render falls back
    // on the title, then the original name, then "Untitled".
    static QString applyPattern(const PatternRenderInput &input);

    // A free path for the file in its own folder: the rendered name with the
    // source's extension, or with "_1" ... "_1000" before it, or with eight
    // random characters when all of those are taken. A file that would keep
    // its own name gets its own path. A file without an extension keeps none.
    // `input.originalName`, `kind` and the extension fields are filled from the
    // source path.
    static QString destination(const QString &sourcePath, PatternRenderInput input);

    // A free path in `folder` for `base` and `extension` (none when empty),
    // by the same rules: the plain name, "_1" to "_1000", then eight random
    // characters; the base shortened to what the file system allows. The
    // file's own path counts as free; a candidate `isReserved` claims does
    // not, for files of one run that must not take each other's names.
    static QString freeDestination(const QString &folder,
                                   const QString &base,
                                   const QString &extension,
                                   const QString &ownPath,
                                   const std::function<bool(const QString &candidate)> &isReserved = {});

    // The extension a file keeps on renaming: none for a dot file such as
    // ".bashrc".
    static QString extensionOf(const QString &path);
};

} // namespace Nomly
