#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runInspectCommand(const QStringList &arguments);

} // namespace Nomly
