#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runQuickCommand(const QStringList &arguments);

} // namespace Nomly
