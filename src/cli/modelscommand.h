#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runModelsCommand(const QStringList &arguments);

} // namespace Nomly
