#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runApplyCommand(const QStringList &arguments);

} // namespace Nomly
