#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runHistoryCommand(const QStringList &arguments);

} // namespace Nomly
