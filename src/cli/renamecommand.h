#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runRenameCommand(const QStringList &arguments);

} // namespace Nomly
