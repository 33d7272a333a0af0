#pragma once

#include <QString>

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
};

} // namespace Nomly
