#pragma once

#include "cli/clicommand.h"

namespace Nomly {

// nomly preview [options] FILE...: the names files would get; touches nothing.
ExitStatus runPreviewCommand(const QStringList &arguments);

} // namespace Nomly
