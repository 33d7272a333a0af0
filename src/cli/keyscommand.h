#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runKeysCommand(const QStringList &arguments);

} // namespace Nomly
