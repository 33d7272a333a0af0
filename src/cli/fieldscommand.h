#pragma once

#include "cli/clicommand.h"

namespace Nomly {

// nomly fields [--json]: the field catalogue, one field a line.
ExitStatus runFieldsCommand(const QStringList &arguments);

} // namespace Nomly
