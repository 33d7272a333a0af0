#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runFoldersCommand(const QStringList &arguments);

} // namespace Nomly
