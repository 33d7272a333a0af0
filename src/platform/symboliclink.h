#pragma once

#include <QString>

#include "platform/result.h"

namespace Nomly {

// Symbolic links the user handed in alongside the files they lead to.
class SymbolicLink final
{
public:
    SymbolicLink() = delete;

    // Points the link at `target`, keeping its form: a relative link stays
    // relative to its own folder, an absolute one absolute. The new link
    // replaces the old one in a single rename, so the name never dangles
    // or goes missing in between. Fails, and changes nothing, when `link`
    // is not a symbolic link.
    static Result<> retarget(const QString &link, const QString &target);
};

} // namespace Nomly
