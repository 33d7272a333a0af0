#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runConfigCommand(const QStringList &arguments);

} // namespace Nomly
