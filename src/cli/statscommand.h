#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runStatsCommand(const QStringList &arguments);

} // namespace Nomly
